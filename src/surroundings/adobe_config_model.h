#pragma once

#include "surroundings/config_model.h"

namespace surroundings {

/// The decisions of the dialog for the host plug-ins. It reads and stores its one flag itself.
class AdobeConfigModel
{
  public:
    static void Init(ControlPort& controls);
    static DialogEnd Command(ControlPort& controls, int id, DialogActions& actions);
};

} // namespace surroundings
