#include "platform/host_path.h"

#include "platform/windows/windows_headers.h"

namespace platform {

std::string HostPath()
{
    char path[MAX_PATH] = {}; // 260, the terminator included
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    path[MAX_PATH - 1] = '\0';
    return path;
}

std::string LongHostPath()
{
    const std::string path = HostPath();
    std::string longPath(GetLongPathNameA(path.c_str(), nullptr, 0), '\0'); // room for the terminator too
    const DWORD length = GetLongPathNameA(path.c_str(), longPath.data(), static_cast<DWORD>(longPath.size()));
    if (length == 0 || length >= longPath.size())
        return path;
    longPath.resize(length);
    return longPath;
}

} // namespace platform
