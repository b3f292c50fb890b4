#include "platform/files.h"

#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <random>
#include <share.h>
#include <string>
#include <sys/stat.h>
#include <wchar.h>

namespace platform {

bool MakeFolder(const Path& folder) noexcept
{
    return _wmkdir(folder.c_str()) == 0;
}

std::optional<Path> MakePrivateFolder(const Path& parent, const char* prefix)
{
    // The folder for temporary files is the user's own, and what is made in it takes its permissions.
    std::random_device random;
    for (int attempt = 0; attempt < 100; ++attempt) {
        const Path folder = parent / (prefix + std::to_string(random()) + std::to_string(random()));
        if (MakeFolder(folder))
            return folder;
    }
    return std::nullopt;
}

std::FILE* CreateText(const Path& file) noexcept
{
    int fd = -1;
    if (_wsopen_s(&fd, file.c_str(), _O_WRONLY | _O_CREAT | _O_EXCL | _O_TEXT | _O_NOINHERIT, _SH_DENYNO,
                  _S_IREAD | _S_IWRITE) != 0)
        return nullptr;
    std::FILE* const stream = _fdopen(fd, "wt");
    if (!stream)
        _close(fd);
    return stream;
}

} // namespace platform
