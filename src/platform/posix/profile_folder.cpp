#include "platform/profile_folder.h"

#include "platform/environment.h"

namespace platform {

std::optional<Path> ProfileFolder()
{
    return PathFromEnvironment("HOME");
}

} // namespace platform
