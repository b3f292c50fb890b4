#include "platform/files.h"

#include <direct.h>
#include <wchar.h>

namespace platform {

bool MakeFolder(const Path& folder) noexcept
{
    return _wmkdir(folder.c_str()) == 0;
}

std::FILE* OpenTextForReading(const Path& file) noexcept
{
    return _wfopen(file.c_str(), L"rt");
}

std::FILE* OpenTextForWriting(const Path& file) noexcept
{
    return _wfopen(file.c_str(), L"wt");
}

} // namespace platform
