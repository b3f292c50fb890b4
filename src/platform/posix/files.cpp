#include "platform/files.h"

#include <sys/stat.h>

namespace platform {

bool MakeFolder(const Path& folder) noexcept
{
    return mkdir(folder.c_str(), 0777) == 0;
}

std::FILE* OpenTextForReading(const Path& file) noexcept
{
    return std::fopen(file.c_str(), "re");
}

std::FILE* OpenTextForWriting(const Path& file) noexcept
{
    return std::fopen(file.c_str(), "we");
}

} // namespace platform
