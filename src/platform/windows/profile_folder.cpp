#include "platform/profile_folder.h"

#include "platform/windows/windows_headers.h"

#include <shlobj.h>

namespace platform {

std::optional<Path> ProfileFolder()
{
    wchar_t folder[MAX_PATH] = {};
    if (FAILED(SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, SHGFP_TYPE_CURRENT, folder)))
        return std::nullopt;
    return Path(folder);
}

} // namespace platform
