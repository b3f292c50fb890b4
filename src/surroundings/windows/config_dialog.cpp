#include "surroundings/windows/config_dialog.h"

#include "surroundings/resource_ids.h"
#include "surroundings/windows/compression_settings_dialog.h"
#include "surroundings/windows/decompression_settings_dialog.h"

namespace surroundings {

void WindowActions::EditDecompression(DecodeSettings& decode)
{
    DecompressionSettingsDialog dialog(decode);
    if (dialog.Run(DIALOG_DECOMPRESSION, parent))
        decode = dialog.Decode();
}

void WindowActions::EditCompression(std::vector<settings::CodecVariant>& rows)
{
    CompressionSettingsDialog dialog(rows, CompressionScope::Global);
    if (dialog.Run(DIALOG_COMPRESSION, parent))
        rows = dialog.Rows();
}

} // namespace surroundings
