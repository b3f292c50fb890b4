#pragma once

#include "surroundings/decompression_settings_model.h"
#include "surroundings/windows/dialog_base.h"

namespace surroundings {

class DecompressionSettingsDialog final : public DialogBase
{
  public:
    explicit DecompressionSettingsDialog(const DecodeSettings& decode) : model(decode) {}

    const DecodeSettings& Decode() const { return model.Decode; }

  private:
    void Init(ControlPort& controls) override { model.Init(controls); }
    DialogEnd Command(ControlPort& controls, int id, int) override { return model.Command(controls, id); }

    DecompressionSettingsModel model;
};

} // namespace surroundings
