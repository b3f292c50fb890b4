#pragma once

#include "platform/files.h"

#include <optional>

namespace platform {

/// The user's own folder, without a separator at its end; nothing when the system does not tell.
std::optional<Path> ProfileFolder();

} // namespace platform
