#include "surroundings/config_model.h"

#include "driver/settings/settings_io.h"
#include "surroundings/dialog_parts.h"
#include "surroundings/resource_ids.h"

namespace surroundings {

namespace {

constexpr ToolRow kTools[] = {
    {CONTROL_ENABLE_LOG,
     "Create logfiles for every compression/decompression session.\n\n"
     "The logs contain detailed information about codec communication with the application using it.\n"
     "This can be very useful to troubleshoot format conversion issues, among others.\n\n"
     "The logs also contain timing information, measuring the time the codec spends processing frames.\n"
     "This is raw codec-only processing time, excluding disk I/O etc., and can be very useful to measure "
     "codec performance while in use and to see whether the codec is the bottleneck if there is a "
     "performance problem."},
    {CONTROL_IGNORE_CLIENT,
     "Ignore codec configuration set from inside applications and use only global codec "
     "settings instead."},
};

/// The box of each notification bit.
struct NotificationBox {
    int id;
    uint32_t bit;
};

constexpr NotificationBox kNotificationBoxes[] = {
    {CONTROL_COMPRESS_TRAY, kTrayWhileCompressing},
    {CONTROL_COMPRESS_BALLOON, kBalloonWhileCompressing},
    {CONTROL_DECOMPRESS_TRAY, kTrayWhileDecompressing},
    {CONTROL_DECOMPRESS_BALLOON, kBalloonWhileDecompressing},
};

/// A balloon comes out of an icon, so that its box needs the icon's.
struct BalloonRule {
    int trayBox;
    NotificationBox balloon;
};

constexpr BalloonRule kBalloonRules[] = {
    {CONTROL_COMPRESS_TRAY, {CONTROL_COMPRESS_BALLOON, kBalloonWhileCompressing}},
    {CONTROL_DECOMPRESS_TRAY, {CONTROL_DECOMPRESS_BALLOON, kBalloonWhileDecompressing}},
};

} // namespace

ConfigModel ConfigModel::Load()
{
    DecodeSettings decode;
    settings::LoadGlobalSettings(decode);
    std::vector<settings::CodecVariant> rows = settings::BuildVariantTable();
    for (settings::CodecVariant& row : rows)
        if (!settings::IsGeneric(row))
            settings::LoadVariantSettings(row);
    return {decode, std::move(rows)};
}

void ConfigModel::Save() const
{
    settings::SaveGlobalSettings(Decode);
    for (const settings::CodecVariant& row : Rows)
        if (!settings::IsGeneric(row))
            settings::SaveVariantSettings(row);
}

ConfigModel::ConfigModel(const DecodeSettings& decode, std::vector<settings::CodecVariant> rows)
    : Decode(decode), Rows(std::move(rows))
{}

void ConfigModel::Init(ControlPort& controls)
{
    ShowVersion(controls);
    AddTools(controls, kTools);
    for (const NotificationBox& box : kNotificationBoxes)
        controls.SetCheck(box.id, (Decode.NotificationSettings & box.bit) != 0);
    controls.SetCheck(CONTROL_ENABLE_LOG, Decode.EnableCodecLog != 0);
    controls.SetCheck(CONTROL_IGNORE_CLIENT, Decode.IgnoreClientConfig != 0);
    LockBalloons(controls);
}

DialogEnd ConfigModel::Command(ControlPort& controls, int id, DialogActions& actions)
{
    switch (id) {
    case CONTROL_OK:
        Collect(controls);
        return DialogEnd::Ok;
    case CONTROL_CANCEL:
        return DialogEnd::Cancel;
    case CONTROL_COMPRESS_TRAY:
    case CONTROL_DECOMPRESS_TRAY:
        LockBalloons(controls);
        break;
    case CONTROL_DECOMPRESSION:
        actions.EditDecompression(Decode);
        break;
    case CONTROL_COMPRESSION:
        actions.EditCompression(Rows);
        break;
    case CONTROL_OPEN_LOGS:
        if (const auto folder = MakeLogFolder())
            actions.OpenFolder(*folder);
        break;
    default:
        break;
    }
    return DialogEnd::Stay;
}

void ConfigModel::Collect(const ControlPort& controls)
{
    for (const NotificationBox& box : kNotificationBoxes) {
        Decode.NotificationSettings &= ~box.bit;
        if (controls.GetCheck(box.id))
            Decode.NotificationSettings |= box.bit;
    }
    Decode.EnableCodecLog = CheckedWord(controls, CONTROL_ENABLE_LOG);
    Decode.IgnoreClientConfig = CheckedWord(controls, CONTROL_IGNORE_CLIENT);
}

void ConfigModel::LockBalloons(ControlPort& controls)
{
    for (const BalloonRule& rule : kBalloonRules) {
        const bool tray = controls.GetCheck(rule.trayBox);
        controls.Enable(rule.balloon.id, tray);
        if (!tray) {
            controls.SetCheck(rule.balloon.id, false);
            Decode.NotificationSettings &= ~rule.balloon.bit;
        }
    }
}

} // namespace surroundings
