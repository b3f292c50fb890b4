#include "hosts/tool_runs.h"

#include "platform/host_path.h"
#include "platform/vfw.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

constexpr DWORD kPatience = 120000; // milliseconds; a run takes less than one second on an idle machine

using UnixName = char*(CDECL*)(const wchar_t*);

/// Wine's translation of a path; null on Windows.
UnixName FindUnixName()
{
    return reinterpret_cast<UnixName>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name")));
}

std::string UnixPath(const fs::path& path)
{
    char* const name = FindUnixName()(path.c_str());
    const std::string copy = name;
    HeapFree(GetProcessHeap(), 0, name);
    return copy;
}

std::string ReadText(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A file that a child process writes to.
HANDLE CreateForChild(const fs::path& file)
{
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    return CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, 0, nullptr);
}

PROCESS_INFORMATION Start(const fs::path& program, const std::vector<std::string>& arguments,
                          const fs::path& folder, STARTUPINFOW startup)
{
    std::wstring line = L"\"" + program.wstring() + L"\"";
    for (const std::string& argument : arguments)
        line += L" \"" + fs::path(argument).wstring() + L"\"";
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, folder.c_str(),
                        &startup, &process))
        throw std::runtime_error("cannot start " + program.string());
    return process;
}

/// In single quotes, as a shell takes it.
std::string Quoted(const std::string& text)
{
    std::string quoted = "'";
    for (const char c : text)
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

} // namespace

bool HasNativeTool()
{
    return FindUnixName() != nullptr;
}

ToolRun RunWindowsTool(const TestFolder& folder, const std::vector<std::string>& arguments)
{
    const fs::path tool = fs::path(platform::HostPath()).parent_path().parent_path() / "orvane.exe";
    const fs::path out = folder.Path() / "run.out";
    const fs::path err = folder.Path() / "run.err";
    STARTUPINFOW startup{};
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = CreateForChild(out);
    startup.hStdError = CreateForChild(err);
    const PROCESS_INFORMATION process = Start(tool, arguments, folder.Path(), startup);
    const DWORD waited = WaitForSingleObject(process.hProcess, kPatience);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    for (const HANDLE handle : {process.hProcess, process.hThread, startup.hStdOutput, startup.hStdError})
        CloseHandle(handle);
    if (waited != WAIT_OBJECT_0)
        throw std::runtime_error("the tool does not end: " + arguments.front());
    return {static_cast<int>(code), ReadText(out), ReadText(err)};
}

ToolRun RunNativeTool(const TestFolder& folder, const std::vector<std::string>& arguments)
{
    // There is no handle to wait for: the shell leaves the exit code in a file that appears whole.
    const fs::path done = folder.Path() / "run.code";
    fs::remove(done);
    std::string script = "cd " + Quoted(UnixPath(folder.Path())) + "\nORVANE_STORE=$PWD/settings.reg " +
                         Quoted(ORVANE_NATIVE_TOOL);
    for (const std::string& argument : arguments)
        script += " " + Quoted(argument);
    script += " >run.out 2>run.err </dev/null\necho $? >run.part\nmv run.part run.code\n";
    std::ofstream(folder.Path() / "run.sh", std::ios::binary) << script;

    Start("Z:\\bin\\sh", {UnixPath(folder.Path() / "run.sh")}, folder.Path(), {});
    for (DWORD waited = 0; !fs::exists(done); waited += 5) {
        if (waited > kPatience)
            throw std::runtime_error("the tool does not end: " + arguments.front());
        Sleep(5);
    }
    return {std::stoi(ReadText(done)), ReadText(folder.Path() / "run.out"),
            ReadText(folder.Path() / "run.err")};
}
