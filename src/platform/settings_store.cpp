#include "platform/settings_store.h"

#include "platform/environment.h"
#include "platform/settings_file.h"
#include "platform/system_settings.h"

namespace platform {

std::unique_ptr<SettingsStore> OpenSettingsStore()
{
    if (const std::optional<Path> file = PathFromEnvironment("ORVANE_STORE"))
        return OpenSettingsFile(*file);
    return OpenSystemSettings();
}

std::unique_ptr<SettingsKey> OpenSettingsKey(std::string_view path, SettingsAccess access)
{
    return OpenSettingsStore()->Open(path, access);
}

} // namespace platform
