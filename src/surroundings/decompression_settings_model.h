#pragma once

#include "common/settings_records.h"
#include "surroundings/control_port.h"

namespace surroundings {

/// The decisions of the decompression dialog, on a copy of the global settings.
class DecompressionSettingsModel
{
  public:
    explicit DecompressionSettingsModel(const DecodeSettings& decode) : Decode(decode) {}

    void Init(ControlPort& controls) const;
    DialogEnd Command(ControlPort& controls, int id);

    DecodeSettings Decode;

  private:
    void Collect(const ControlPort& controls);
};

} // namespace surroundings
