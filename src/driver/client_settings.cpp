#include "driver/client_settings.h"

#include "common/predict_methods.h"
#include "common/trace.h"
#include "driver/settings/settings_io.h"
#include "platform/processor_count.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>

namespace driver {

namespace {

constexpr uint32_t kBlobSize = sizeof(EncodeSettings);

const char* YesNo(uint32_t flag)
{
    return flag != 0 ? "YES" : "NO";
}

/// The name of a value counted from 1; empty for values without one.
template <size_t count>
const char* NameOf(uint32_t value, const char* const (&names)[count])
{
    return value >= 1 && value <= count ? names[value - 1] : "";
}

constexpr const char* kMatrixNames[] = {"Rec.601", "Rec.709"};

const char* MethodName(uint32_t value)
{
    const PredictMethodInfo* const method = FindPredictMethod(value);
    return method ? method->name : "";
}

struct Target {
    const char* name;
    uint32_t number;
};
constexpr Target kTargets[] = {{"RGB", 101}, {"YUV 4:4:4", 103}, {"YUV 4:2:2", 104}, {"YUV 4:2:0", 105}};

/// The targets that the log names for a conversion mask. The test is the log's own: the mask against the
/// decimal numbers of the formats, not against their bits. The routing table alone says what is allowed.
std::string MaskText(uint32_t mask, size_t targetCount)
{
    std::string text;
    for (size_t i = 0; i < targetCount; ++i)
        if ((mask & kTargets[i].number) != 0)
            text += (text.empty() ? "" : ", ") + std::string(kTargets[i].name);
    return text;
}

void LogThreads(DriverInstance& instance, uint32_t automatic, uint32_t count)
{
    LogLine(instance, "        Auto threads:  %s\n", YesNo(automatic));
    LogLine(instance, "        Threads:       %d\n",
            automatic != 0 ? platform::ProcessorCount() : static_cast<int>(count));
}

void LogSettings(DriverInstance& instance, const char* reason)
{
    const EncodeSettings& encode = instance.Variant.Encode;
    const DecodeSettings& decode = instance.Decode;
    LogLine(instance, "--------------------------\n");
    LogLine(instance, "Setting codec preferences (%s):\n", reason);
    LogLine(instance, "    Encode:\n");
    LogThreads(instance, encode.AutoEncodeThreads, encode.NumEncodeThreads);
    LogLine(instance, "        Color space:               %s\n", NameOf(encode.ColorMatrix, kMatrixNames));
    LogLine(instance, "        Full range YUV:            %s\n", YesNo(encode.FullRangeYUV));
    LogLine(instance, "        Assume interlaced:         %s\n", YesNo(encode.Interlaced));
    LogLine(instance, "        Interpolate downsampling:  %s\n", YesNo(encode.InterpolateDownscale));
    LogLine(instance, "        Compression method:        %s\n", MethodName(encode.CompMethod));
    LogLine(instance, "    Decode:\n");
    LogThreads(instance, decode.AutoDecodeThreads, decode.NumDecodeThreads);
    LogLine(instance, "        Allow YUV 4:4:4 conv. to: %s\n",
            MaskText(decode.DecompSettings_YUV444, 1).c_str());
    LogLine(instance, "        Allow YUV 4:2:2 conv. to: %s\n",
            MaskText(decode.DecompSettings_YUV422, 2).c_str());
    LogLine(instance, "        Allow YUV 4:2:0 conv. to: %s\n",
            MaskText(decode.DecompSettings_YUV420, 3).c_str());
    LogLine(instance, "        Allow YUV 4:0:0 conv. to: %s\n",
            MaskText(decode.DecompSettings_YUV400, 4).c_str());
    LogLine(instance, "        Suggest RGB first:  %s\n", YesNo(decode.SuggestRGB));
    LogLine(instance, "--------------------------\n");
}

} // namespace

void ResetSettings(DriverInstance& instance)
{
    instance.Decode = {};
    settings::LoadGlobalSettings(instance.Decode);
    instance.Variant.Encode = {};
    if (!settings::IsGeneric(instance.Variant))
        settings::LoadVariantSettings(instance.Variant);
}

void ApplySettings(DriverInstance& instance, const char* reason)
{
    instance.Codec.ApplyDecodeSettings(instance.Decode);
    instance.Codec.ApplyEncodeSettings(instance.Variant.Encode);
    LogSettings(instance, reason);
}

LRESULT GetState(DriverInstance& instance, void* buffer, uint32_t size)
{
    Trace("ICM_GETSTATE\n");
    if (!buffer)
        return kBlobSize;
    if (size < kBlobSize)
        return ICERR_BADSIZE;
    std::memcpy(buffer, &instance.Variant.Encode, kBlobSize);
    return ICERR_OK; // not the size: hosts that compare with ICERR_OK are why
}

LRESULT SetState(DriverInstance& instance, const void* buffer, uint32_t size)
{
    Trace("ICM_SETSTATE:\n");
    // The host believes that it was heard, and does not ask again.
    if (instance.Decode.IgnoreClientConfig != 0)
        return buffer ? kBlobSize : 0;
    if (!buffer) {
        ResetSettings(instance);
        ApplySettings(instance, "client app reset-request to global config");
        return 0;
    }
    uint32_t version = 0;
    if (size < sizeof version)
        return 0;
    std::memcpy(&version, buffer, sizeof version);
    if (version != kEncodeSettingsVersion)
        return 0;

    EncodeSettings& encode = instance.Variant.Encode;
    std::memcpy(&encode, buffer, std::min(size, kBlobSize));
    settings::ClampEncodeSettings(encode);
    ApplySettings(instance, "from client app state");
    return kBlobSize;
}

} // namespace driver
