#include "platform/host_path.h"

#include <unistd.h>

namespace platform {

std::string HostPath()
{
    char path[259];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    return {path, static_cast<size_t>(length > 0 ? length : 0)};
}

std::string LongHostPath()
{
    return HostPath();
}

} // namespace platform
