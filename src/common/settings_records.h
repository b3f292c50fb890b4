// The two settings records that driver, core and dialogs share. Fields are 32-bit words with the names under
// which they are stored; booleans are non-zero words.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

/// How a block is predicted. Dynamic is a setting only: a block stores what was applied to it. Readers treat
/// every value other than Left and Gradient as Median.
enum class PredictMethod : uint32_t { Left = 1, Gradient = 2, Median = 3, Dynamic = 4 };

/// Decompression and general settings, global to the user.
struct DecodeSettings {
    uint32_t Version = 101;
    uint32_t NumDecodeThreads = 1;
    uint32_t AutoDecodeThreads = 1;
    uint32_t DecompSettings_YUV400 = 25; ///< allowed outputs by category, bit (category - 101)
    uint32_t DecompSettings_YUV420 = 9;
    uint32_t DecompSettings_YUV422 = 1;
    uint32_t DecompSettings_YUV444 = 1;
    uint32_t SuggestRGB = 0;
    uint32_t NotificationSettings = 5; ///< NotificationBit
    uint32_t EnableCodecLog = 0;
    uint32_t IgnoreClientConfig = 0;

    bool operator==(const DecodeSettings&) const = default;
};

/// Bits of DecodeSettings::NotificationSettings.
enum NotificationBit : uint32_t {
    kTrayWhileCompressing = 1,
    kBalloonWhileCompressing = 2,
    kTrayWhileDecompressing = 4,
    kBalloonWhileDecompressing = 8,
};

inline constexpr uint32_t kEncodeSettingsVersion = 202;

/// Compression settings of one codec variant. The record is also the state blob that hosts keep: 44 bytes,
/// little-endian.
struct EncodeSettings {
    uint32_t Version = kEncodeSettingsVersion;
    uint32_t NumEncodeThreads = 1;
    uint32_t AutoEncodeThreads = 1;
    uint32_t CompMethod = 4;               ///< PredictMethod
    uint32_t CoderType = 2;                ///< 2: code tables in each frame
    uint32_t InputColorSpace = 0xFFFFFFFF; ///< accepted input categories, bit (category - 101)
    uint32_t Interlaced = 0;
    uint32_t ColorMatrix = 2; ///< 1 Rec.601, 2 Rec.709
    uint32_t FullRangeYUV = 0;
    uint32_t InterpolateDownscale = 1;
    uint32_t Reserved = 0; ///< passed through, read by nothing

    bool operator==(const EncodeSettings&) const = default;
};
static_assert(sizeof(EncodeSettings) == 44 && std::is_trivially_copyable_v<EncodeSettings>);
static_assert(offsetof(EncodeSettings, CompMethod) == 12 && offsetof(EncodeSettings, Reserved) == 40);
static_assert(sizeof(DecodeSettings) == 44 && std::is_trivially_copyable_v<DecodeSettings>);
