#pragma once

#include "driver/settings/codec_variant.h"
#include "surroundings/control_port.h"
#include "surroundings/log_folder.h"

namespace surroundings {

/// What a dialog's buttons open.
class DialogActions
{
  public:
    virtual ~DialogActions() = default;

    /// Let the user edit a copy in a dialog of its own; the record changes only when that one is confirmed.
    virtual void EditDecompression(DecodeSettings& decode) = 0;
    virtual void EditCompression(std::vector<settings::CodecVariant>& rows) = 0;

    /// Shows the folder in the system's shell. A failure is not shown.
    virtual void OpenFolder(const std::filesystem::path& folder) = 0;
};

/// The decisions of the global settings dialog, on copies of the settings.
class ConfigModel
{
  public:
    /// With what is stored.
    static ConfigModel Load();
    /// Stores all of it, changed or not.
    void Save() const;

    ConfigModel(const DecodeSettings& decode, std::vector<settings::CodecVariant> rows);

    void Init(ControlPort& controls);
    DialogEnd Command(ControlPort& controls, int id, DialogActions& actions);

    DecodeSettings Decode;
    std::vector<settings::CodecVariant> Rows;

  private:
    void Collect(const ControlPort& controls);
    void LockBalloons(ControlPort& controls);
};

} // namespace surroundings
