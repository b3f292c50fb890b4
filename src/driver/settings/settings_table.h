// Every stored setting in one place. Load, save and the list of settings that users see all follow these
// rows.
#pragma once

#include "common/settings_records.h"
#include "common/thread_limit.h"

#include <cstdint>

namespace settings {

inline constexpr char kGlobalKey[] = "Software\\Orvane";
/// A variant's key is this path followed by its FourCC.
inline constexpr char kVariantKeyPrefix[] = "Software\\Orvane\\";
/// Global, a flag for the host plug-ins alone: no record has it.
inline constexpr char kAdobeLogName[] = "EnableAdobeLog";

/// What a user may store. The driver itself takes what it finds.
struct ValueRule {
    enum class Kind {
        Range,    ///< low to high
        Bits,     ///< any of the bits of `high`
        BitsOrAll ///< at least one of the bits of `high`, or all 32 bits
    };
    Kind kind;
    uint32_t low;
    uint32_t high;

    constexpr bool Allows(uint32_t value) const
    {
        switch (kind) {
        case Kind::Range:
            return value >= low && value <= high;
        case Kind::Bits:
            return (value & ~high) == 0;
        case Kind::BitsOrAll:
            return value == 0xFFFFFFFF || (value != 0 && (value & ~high) == 0);
        }
        return false;
    }
};

constexpr ValueRule RangeRule(uint32_t low, uint32_t high)
{
    return {ValueRule::Kind::Range, low, high};
}

constexpr ValueRule BitsRule(uint32_t bits)
{
    return {ValueRule::Kind::Bits, 0, bits};
}

inline constexpr ValueRule kFlagRule = RangeRule(0, 1);
inline constexpr ValueRule kThreadsRule = RangeRule(1, kMaxThreads);

/// How a value gets from the store into its field.
enum class Reading {
    Never,           ///< written only
    OrKeep,          ///< a missing value leaves the field
    OrProcessorCount ///< a missing value becomes the processor count
};

/// One value of a record. The name in the store is the name of the field.
template <class Record>
struct SettingRow {
    const char* name;
    uint32_t Record::*field;
    Reading reading;
    ValueRule rule;
    const char* oldName; ///< global value of the earlier layout that stands in for a missing one, or null
    const char* summary; ///< for users
};

// Rows stand in the order in which they are written.

inline constexpr SettingRow<DecodeSettings> kGlobalSettings[] = {
    {"Version", &DecodeSettings::Version, Reading::Never, {}, nullptr, ""},
    {"NumDecodeThreads", &DecodeSettings::NumDecodeThreads, Reading::OrProcessorCount, kThreadsRule, nullptr,
     "decompression threads when not automatic"},
    {"AutoDecodeThreads", &DecodeSettings::AutoDecodeThreads, Reading::OrKeep, kFlagRule, nullptr,
     "one decompression thread for each processor"},
    {"DecompSettings_YUV400", &DecodeSettings::DecompSettings_YUV400, Reading::OrKeep,
     BitsRule(1 | 4 | 8 | 16), nullptr,
     "outputs of YUV 4:0:0: 1 RGB, 4 YUV 4:4:4, 8 YUV 4:2:2, 16 YUV 4:2:0"},
    {"DecompSettings_YUV420", &DecodeSettings::DecompSettings_YUV420, Reading::OrKeep, BitsRule(1 | 4 | 8),
     nullptr, "outputs of YUV 4:2:0: 1 RGB, 4 YUV 4:4:4, 8 YUV 4:2:2"},
    {"DecompSettings_YUV422", &DecodeSettings::DecompSettings_YUV422, Reading::OrKeep, BitsRule(1 | 4),
     nullptr, "outputs of YUV 4:2:2: 1 RGB, 4 YUV 4:4:4"},
    {"DecompSettings_YUV444", &DecodeSettings::DecompSettings_YUV444, Reading::OrKeep, BitsRule(1), nullptr,
     "outputs of YUV 4:4:4: 1 RGB"},
    {"SuggestRGB", &DecodeSettings::SuggestRGB, Reading::OrKeep, kFlagRule, nullptr,
     "suggest RGB as output first"},
    {"NotificationSettings", &DecodeSettings::NotificationSettings, Reading::OrKeep, BitsRule(15), nullptr,
     "1 icon and 2 balloon while compressing, 4 icon and 8 balloon while decompressing"},
    {"EnableCodecLog", &DecodeSettings::EnableCodecLog, Reading::OrKeep, kFlagRule, nullptr,
     "write log files"},
    {"IgnoreClientConfig", &DecodeSettings::IgnoreClientConfig, Reading::OrKeep, kFlagRule, nullptr,
     "applications cannot change settings"},
};

inline constexpr SettingRow<EncodeSettings> kVariantSettings[] = {
    {"Version", &EncodeSettings::Version, Reading::Never, {}, nullptr, ""},
    // The old count never stands in: a missing count becomes the processor count.
    {"NumEncodeThreads", &EncodeSettings::NumEncodeThreads, Reading::OrProcessorCount, kThreadsRule, nullptr,
     "compression threads when not automatic"},
    {"AutoEncodeThreads", &EncodeSettings::AutoEncodeThreads, Reading::OrKeep, kFlagRule, "AutoThreads",
     "one compression thread for each processor"},
    {"CompMethod", &EncodeSettings::CompMethod, Reading::OrKeep, RangeRule(1, 4), "CompMethod",
     "2 Gradient, 3 Median, 4 Dynamic (1, Left, becomes Dynamic)"},
    {"InputColorSpace", &EncodeSettings::InputColorSpace, Reading::OrKeep, BitsRule(0xFFFFFFFF),
     "InputColorSpace", "accepted inputs by category; 0xFFFFFFFF all"},
    {"Interlaced", &EncodeSettings::Interlaced, Reading::OrKeep, kFlagRule, "Interlaced",
     "assume interlaced input"},
    {"ColorMatrix", &EncodeSettings::ColorMatrix, Reading::OrKeep, RangeRule(1, 2), "ColorMatrix",
     "1 Rec.601, 2 Rec.709"},
    {"FullRangeYUV", &EncodeSettings::FullRangeYUV, Reading::OrKeep, kFlagRule, "FullRangeYUV",
     "full range YUV"},
    {"InterpolateDownscale", &EncodeSettings::InterpolateDownscale, Reading::OrKeep, kFlagRule,
     "InterpolateDownscale", "interpolate chroma when subsampling"},
};

/// Names of earlier layouts, removed from the global key whenever the global record is saved.
inline constexpr const char* kRetiredGlobalNames[] = {
    "AdaptiveCoding", "NumThreads",  "AutoThreads",  "CompressMode",
    "EnableRGBA",     "CompMethod",  "CoderType",    "InputColorSpace",
    "Interlaced",     "ColorMatrix", "FullRangeYUV", "InterpolateDownscale",
};

} // namespace settings
