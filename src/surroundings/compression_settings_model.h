#pragma once

#include "driver/settings/codec_variant.h"
#include "surroundings/control_port.h"

#include <string_view>

namespace surroundings {

/// Who opened the compression dialog.
enum class CompressionScope {
    Global, ///< the settings dialog: all variants, stored when that dialog is confirmed
    Client  ///< a host: the one variant that it has opened
};

/// True for a host that does not keep its codec settings: a path with both "msi" and "afterburner" in it, in
/// any folder or file name, in letters of either case.
bool IsAfterburnerPath(std::string_view hostPath);

/// The decisions of the compression dialog, on a copy of the variants' settings.
class CompressionSettingsModel
{
  public:
    /// rows  generic ones are left out; at least one other; Client: exactly one
    /// hostPath  long path of the host's executable
    CompressionSettingsModel(std::vector<settings::CodecVariant> rows, CompressionScope scope,
                             std::string_view hostPath);

    void Init(ControlPort& controls);
    /// notification  what the control tells; of the list of variants only kSelectionChanged counts
    DialogEnd Command(ControlPort& controls, int id, int notification);

    std::vector<settings::CodecVariant> Rows;

  private:
    settings::CodecVariant& Row() { return Rows[Selected]; }
    void FillControls(ControlPort& controls);
    void FillInputs(ControlPort& controls, uint32_t accepted);
    void FillMatrix(ControlPort& controls);
    void FillMethods(ControlPort& controls);
    void CollectControls(const ControlPort& controls);

    size_t Selected = 0;
    bool Afterburner;
    bool HasColorControls = false; ///< matrix and range mean something to the selected row
    bool HasInterpolate = false;   ///< the interpolation box does
    bool ClientMode;
};

} // namespace surroundings
