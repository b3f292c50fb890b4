#include "surroundings/dialogs.h"

#include "surroundings/resource_ids.h"
#include "surroundings/windows/adobe_config_dialog.h"
#include "surroundings/windows/compression_settings_dialog.h"
#include "surroundings/windows/config_dialog.h"

namespace surroundings {

// What is caught here is std::bad_alloc: a dialog for which memory runs out is one that nobody confirms.

void RunConfigDialog(void* parent) noexcept
try {
    ConfigDialog dialog(ConfigModel::Load());
    if (dialog.Run(DIALOG_CONFIG, static_cast<HWND>(parent)))
        dialog.Model().Save();
} catch (...) { // out of memory: nothing is stored
}

void RunAdobeConfigDialog(void* parent) noexcept
try {
    AdobeConfigDialog().Run(DIALOG_ADOBE, static_cast<HWND>(parent));
} catch (...) { // out of memory
}

bool RunClientDialog(void* parent, settings::CodecVariant& variant) noexcept
try {
    CompressionSettingsDialog dialog({variant}, CompressionScope::Client);
    if (!dialog.Run(DIALOG_COMPRESSION, static_cast<HWND>(parent)))
        return false;
    variant = dialog.Rows().front();
    return true;
} catch (...) { // out of memory: `variant` is unchanged
    return false;
}

} // namespace surroundings
