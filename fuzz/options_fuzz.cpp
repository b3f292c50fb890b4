// Any command line: it ends with an exit code of the tool, and an error is one line. The tool runs in a
// folder of its own, empty before each, with a driver that opens nothing, and no name leads out of that
// folder.

#include "platform/files.h"
#include "platform/process.h"
#include "run_tool.h"
#include "support/fuzz_input.h"
#include "support/history.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr size_t kMaxInput = 4096;

LRESULT CALLBACK RefuseAll(DWORD_PTR, HDRVR, UINT, LPARAM, LPARAM)
{
    return 0;
}

/// The folder that this process works in from now on; it goes with it.
class WorkFolder
{
  public:
    WorkFolder() : path(platform::MakePrivateFolder(fs::temp_directory_path(), "options_fuzz-").value())
    {
        fs::current_path(path);
        platform::SetPathInEnvironment("ORVANE_STORE", path / "settings.reg");
    }
    ~WorkFolder()
    {
        std::error_code ignored;
        fs::current_path("/", ignored);
        fs::remove_all(path, ignored);
    }
    void Empty() const
    {
        for (const auto& entry : fs::directory_iterator(path))
            fs::remove_all(entry.path());
    }
    const fs::path path;
};

/// Arguments end with line ends. Names stay in the folder: they have no separators.
std::vector<std::string> ArgumentsOf(std::span<const uint8_t> bytes)
{
    std::vector<std::string> arguments;
    std::string argument;
    for (const uint8_t byte : bytes) {
        if (byte == '\n')
            arguments.push_back(std::exchange(argument, {}));
        else if (byte != 0) // which ends an argument for the system
            argument += byte == '/' || byte == '\\' ? ':' : static_cast<char>(byte);
    }
    arguments.push_back(argument);
    return arguments;
}

Transcript Run(std::span<const uint8_t> input)
{
    static const WorkFolder folder;
    folder.Empty();
    std::istringstream in;
    std::ostringstream out, err;
    ToolContext context{RefuseAll, in, out, err};
    const std::vector<std::string> arguments = ArgumentsOf(input);
    const int code = RunTool(arguments, context);
    Require(code >= 0 && code <= 3, "the exit code is one of the tool's");
    const std::string error = err.str();
    if (code == 1 || code == 2)
        Require(error.find("error: ") != std::string::npos && error.ends_with('\n'), "an error is told");
    const auto isUnforeseen = [](const std::string& text) {
        return text.find("this should not happen") != std::string::npos;
    };
    // Errors quote arguments.
    Require(!isUnforeseen(error) || std::ranges::any_of(arguments, isUnforeseen), "every error is foreseen");
    Transcript given;
    given.NoteAll(code, out.str(), error);
    return given;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > kMaxInput)
        return -1;
    static History history;
    history.ReadTwice({data, size}, Run);
    return 0;
}
