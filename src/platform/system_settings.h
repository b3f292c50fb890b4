#pragma once

#include "platform/settings_store.h"

namespace platform {

/// The store that this system has for settings. Never null.
std::unique_ptr<SettingsStore> OpenSystemSettings();

} // namespace platform
