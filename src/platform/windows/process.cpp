#include "platform/process.h"

#include "platform/unicode.h"
#include "platform/windows/windows_headers.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

namespace platform {

std::vector<std::string> ProgramArguments(int argc, const char* const* argv)
{
    int count = 0;
    wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!wide)
        return {argv + (argc > 0 ? 1 : 0), argv + argc};
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        const std::wstring text = wide[i];
        arguments.push_back(Utf8FromUtf16(std::u16string(text.begin(), text.end())));
    }
    LocalFree(wide);
    return arguments;
}

void PrepareStandardStreams()
{
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
}

bool IsTerminal(StandardStream stream)
{
    return _isatty(static_cast<int>(stream)) != 0; // 0, 1, 2
}

void SetPathInEnvironment(const char* name, const std::optional<Path>& path)
{
    // The system's own block, not the copy of a C runtime: the driver's runtime has another.
    const std::string text = name;
    const std::wstring wide(text.begin(), text.end());
    SetEnvironmentVariableW(wide.c_str(), path ? path->c_str() : nullptr);
}

} // namespace platform
