#include "surroundings/dialogs.h"

#include "surroundings/resource_ids.h"
#include "surroundings/windows/adobe_config_dialog.h"
#include "surroundings/windows/compression_settings_dialog.h"
#include "surroundings/windows/config_dialog.h"

// A dialog that cannot be made for want of memory is one that nobody confirms.

void RunConfigDialog(void* parent) noexcept
try {
    ConfigDialog dialog(ConfigModel::Load());
    if (dialog.Run(DIALOG_CONFIG, static_cast<HWND>(parent)))
        dialog.Model().Save();
} catch (...) {
}

void RunAdobeConfigDialog(void* parent) noexcept
try {
    AdobeConfigDialog().Run(DIALOG_ADOBE, static_cast<HWND>(parent));
} catch (...) {
}

bool RunClientDialog(void* parent, CodecVariant& variant) noexcept
try {
    CompressionSettingsDialog dialog({variant}, CompressionScope::Client);
    if (!dialog.Run(DIALOG_COMPRESSION, static_cast<HWND>(parent)))
        return false;
    variant = dialog.Rows().front();
    return true;
} catch (...) {
    return false;
}
