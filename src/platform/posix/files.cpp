#include "platform/files.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

bool MakeFolder(const Path& folder) noexcept
{
    return mkdir(folder.c_str(), 0777) == 0;
}

std::optional<Path> MakePrivateFolder(const Path& parent, const char* prefix)
{
    std::string name = (parent / prefix).string() + "XXXXXX";
    return mkdtemp(name.data()) ? std::optional<Path>(name) : std::nullopt;
}

std::FILE* CreateText(const Path& file) noexcept
{
    const int fd = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (fd == -1)
        return nullptr;
    std::FILE* const stream = fdopen(fd, "w");
    if (!stream)
        close(fd);
    return stream;
}

} // namespace platform
