#include "surroundings/decompression_settings_model.h"

#include "driver/settings/accepted_input.h"
#include "surroundings/dialog_parts.h"
#include "surroundings/resource_ids.h"

namespace surroundings {

namespace {

constexpr ToolRow kTools[] = {
    {CONTROL_SET_DEFAULTS,
     "Set up conversion settings (the checkboxes above) to be most compatible with Avisynth, avoiding "
     "unnecessary upscaling.\n\n"
     "Avisynth doesn't ask the codec for the preferred output format, instead it tries formats in a "
     "hard-coded order and picks the first supported by the decoder.\n"
     "This order is:\n"
     "YV24, YV16, YV12, YV411, YUY2, RGB32, RGB24 and Y8\n"
     "This would result in unnecessary upscaling to YV24 from YV12 and YUY2 for example.\n"
     "To avoid this from happening, this sets up allowed output conversions accordingly.\n\n"
     "NOTE: Y8 is not easy to set up this way, as Avisynth tries that last, and that would require all "
     "conversions to be disabled for it, and preventing decoding Y8 to RGB would make it impossible to view "
     "it in media players."},
    {CONTROL_SUGGEST_RGB,
     "Instead of the native output of the compressed format, always suggest RGB for output first if "
     "conversion "
     "is allowed.\n\n"
     "This is not normally needed, only in special cases when you always need RGB output explicitly.\n\n"
     "NOTE:\n"
     "This does not prevent the codec from outputting the native or other convertible formats if explicitly "
     "asked to do so.\n"
     "Also, this setting only applies to formats which have conversion to RGB enabled."},
};

/// The box that stands for one bit of one mask.
struct ConversionBox {
    int id;
    uint32_t bit;
    uint32_t DecodeSettings::*mask;
};

constexpr uint32_t kToRgb = settings::CategoryBit(kCodeRgb);
constexpr uint32_t kTo444 = settings::CategoryBit(kCodeYuv444);
constexpr uint32_t kTo422 = settings::CategoryBit(kCodeYuv422);
constexpr uint32_t kTo420 = settings::CategoryBit(kCodeYuv420);

constexpr ConversionBox kConversionBoxes[] = {
    {CONTROL_400_TO_420, kTo420, &DecodeSettings::DecompSettings_YUV400},
    {CONTROL_400_TO_422, kTo422, &DecodeSettings::DecompSettings_YUV400},
    {CONTROL_400_TO_444, kTo444, &DecodeSettings::DecompSettings_YUV400},
    {CONTROL_400_TO_RGB, kToRgb, &DecodeSettings::DecompSettings_YUV400},
    {CONTROL_420_TO_422, kTo422, &DecodeSettings::DecompSettings_YUV420},
    {CONTROL_420_TO_444, kTo444, &DecodeSettings::DecompSettings_YUV420},
    {CONTROL_420_TO_RGB, kToRgb, &DecodeSettings::DecompSettings_YUV420},
    {CONTROL_422_TO_444, kTo444, &DecodeSettings::DecompSettings_YUV422},
    {CONTROL_422_TO_RGB, kToRgb, &DecodeSettings::DecompSettings_YUV422},
    {CONTROL_444_TO_RGB, kToRgb, &DecodeSettings::DecompSettings_YUV444},
};

/// Shows the conversion settings of a record.
void FillConversions(ControlPort& controls, const DecodeSettings& decode)
{
    for (const ConversionBox& box : kConversionBoxes)
        controls.SetCheck(box.id, (decode.*box.mask & box.bit) != 0);
    controls.SetCheck(CONTROL_SUGGEST_RGB, decode.SuggestRGB != 0);
}

} // namespace

void DecompressionSettingsModel::Init(ControlPort& controls) const
{
    InitThreads(controls);
    AddTools(controls, kTools);
    FillThreads(controls, Decode.NumDecodeThreads, Decode.AutoDecodeThreads);
    FillConversions(controls, Decode);
}

DialogEnd DecompressionSettingsModel::Command(ControlPort& controls, int id)
{
    switch (id) {
    case CONTROL_OK:
        Collect(controls);
        return DialogEnd::Ok;
    case CONTROL_CANCEL:
        return DialogEnd::Cancel;
    case CONTROL_AUTO_THREADS:
        LockThreads(controls);
        break;
    case CONTROL_SET_DEFAULTS:
        FillConversions(controls, DecodeSettings{});
        break;
    default:
        break;
    }
    return DialogEnd::Stay;
}

void DecompressionSettingsModel::Collect(const ControlPort& controls)
{
    CollectThreads(controls, Decode.NumDecodeThreads, Decode.AutoDecodeThreads);
    // Bits that have no box are lost here.
    for (const ConversionBox& box : kConversionBoxes)
        Decode.*box.mask = 0;
    for (const ConversionBox& box : kConversionBoxes)
        if (controls.GetCheck(box.id))
            Decode.*box.mask |= box.bit;
    Decode.SuggestRGB = CheckedWord(controls, CONTROL_SUGGEST_RGB);
}

} // namespace surroundings
