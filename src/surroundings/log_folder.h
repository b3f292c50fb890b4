// Where the logs lie: the folder "orvane" in the user's profile, and for those of the host plug-ins the
// folder "adobe" in it.
#pragma once

#include "platform/files.h"

#include <optional>

namespace surroundings {

/// The folders, made where they are missing; the profile folder itself never is. Nothing when the system
/// knows no profile folder.
std::optional<platform::Path> MakeLogFolder();
std::optional<platform::Path> MakeAdobeLogFolder();

} // namespace surroundings
