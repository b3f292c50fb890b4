#include "surroundings/adobe_config_model.h"

#include "driver/settings/settings_io.h"
#include "surroundings/dialog_parts.h"
#include "surroundings/resource_ids.h"

namespace surroundings {

namespace {

constexpr ToolRow kTools[] = {
    {CONTROL_ENABLE_LOG, "Create logfiles while using the Orvane for Adobe plugins.\n\n"
                         "These logs are huge, so only enable them for debugging purposes."},
};

} // namespace

void AdobeConfigModel::Init(ControlPort& controls)
{
    controls.SetCheck(CONTROL_ENABLE_LOG, settings::LoadAdobeLog().value_or(0) != 0);
    AddTools(controls, kTools);
}

DialogEnd AdobeConfigModel::Command(ControlPort& controls, int id, DialogActions& actions)
{
    switch (id) {
    case CONTROL_OK:
        settings::SaveAdobeLog(controls.GetCheck(CONTROL_ENABLE_LOG));
        return DialogEnd::Ok;
    case CONTROL_CANCEL:
        return DialogEnd::Cancel;
    case CONTROL_OPEN_LOGS:
        if (const auto folder = MakeAdobeLogFolder())
            actions.OpenFolder(*folder);
        break;
    default:
        break;
    }
    return DialogEnd::Stay;
}

} // namespace surroundings
