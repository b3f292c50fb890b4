#include "platform/process.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace platform {

std::vector<std::string> ProgramArguments(int argc, const char* const* argv)
{
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

void PrepareStandardStreams()
{
    // The lowest free descriptor is the one that is closed. Results that go nowhere are an error: standard
    // output is opened for reading.
    for (const auto& [stream, flags] : {std::pair(STDIN_FILENO, O_RDONLY), std::pair(STDOUT_FILENO, O_RDONLY),
                                        std::pair(STDERR_FILENO, O_WRONLY)})
        if (fcntl(stream, F_GETFD) == -1 && errno == EBADF) [[maybe_unused]]
            const int opened = open("/dev/null", flags);
}

bool IsTerminal(StandardStream stream)
{
    return isatty(static_cast<int>(stream)) == 1; // 0, 1, 2
}

void SetPathInEnvironment(const char* name, const std::optional<Path>& path)
{
    if (path)
        setenv(name, path->c_str(), 1);
    else
        unsetenv(name);
}

} // namespace platform
