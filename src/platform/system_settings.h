#pragma once

#include "platform/settings_store.h"

namespace platform {

/// OpenSettingsKey in the store that this system has for settings.
std::unique_ptr<SettingsKey> OpenSystemSettingsKey(std::string_view path, SettingsAccess access);

} // namespace platform
