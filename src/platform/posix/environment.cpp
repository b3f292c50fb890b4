#include "platform/environment.h"

#include <cstdlib>

namespace platform {

std::optional<Path> PathFromEnvironment(const char* name)
{
    const char* value = std::getenv(name);
    return value && *value ? std::optional<Path>(value) : std::nullopt;
}

} // namespace platform
