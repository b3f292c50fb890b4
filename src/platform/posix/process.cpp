#include "platform/process.h"

#include <cstdlib>
#include <unistd.h>

namespace platform {

std::vector<std::string> ProgramArguments(int argc, const char* const* argv)
{
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

void MakeStandardStreamsBinary() {} // they always are

bool IsErrorTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

void SetPathInEnvironment(const char* name, const std::optional<Path>& path)
{
    if (path)
        setenv(name, path->c_str(), 1);
    else
        unsetenv(name);
}

} // namespace platform
