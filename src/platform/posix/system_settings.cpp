// The settings file in the user's configuration folder.
#include "platform/system_settings.h"

#include "platform/environment.h"
#include "platform/profile_folder.h"
#include "platform/settings_file.h"

namespace platform {
namespace {

/// $XDG_CONFIG_HOME, which counts only when it is absolute, else ~/.config; nothing without a profile folder.
std::optional<Path> ConfigurationFolder()
{
    if (std::optional<Path> folder = PathFromEnvironment("XDG_CONFIG_HOME"); folder && folder->is_absolute())
        return folder;
    if (const std::optional<Path> profile = ProfileFolder())
        return *profile / ".config";
    return std::nullopt;
}

} // namespace

std::unique_ptr<SettingsStore> OpenSystemSettings()
{
    const std::optional<Path> folder = ConfigurationFolder();
    return OpenSettingsFile(folder ? *folder / "orvane" / "settings.reg" : Path(), MissingFolders::AreMade);
}

} // namespace platform
