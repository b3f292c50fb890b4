#pragma once

#include "platform/files.h"

#include <optional>

namespace platform {

/// The path that an environment variable holds, as it stands now; nothing when it is unset or empty. Changes
/// that a host makes after this library was loaded are seen.
std::optional<Path> PathFromEnvironment(const char* name);

} // namespace platform
