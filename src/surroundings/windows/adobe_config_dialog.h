#pragma once

#include "surroundings/adobe_config_model.h"
#include "surroundings/windows/config_dialog.h"

namespace surroundings {

class AdobeConfigDialog final : public DialogBase
{
  private:
    void Init(ControlPort& controls) override { AdobeConfigModel::Init(controls); }
    DialogEnd Command(ControlPort& controls, int id, int) override
    {
        WindowActions actions(Window);
        return AdobeConfigModel::Command(controls, id, actions);
    }
};

} // namespace surroundings
