// The four RGB to YUV matrices, in fixed point with 13 fractional bits.
#pragma once

#include <cstdint>

namespace imgproc {

/// Forward, with R, G, B from 0 to 255:
///     Y = ((y . RGB + 4096) >> 13) + offsetY, U and V the same with 128 for offsetY.
/// Every sum falls in 0 to 255 by itself. The rows of U and V sum to 2 or 3 instead of 0; grey still gives
/// 128, since the rounding swallows the excess. Inverse, with u = U - 128, v = V - 128, l = (Y - offsetY) *
/// scaleY, each clipped to 0 to 255:
///     R = (l + rv * v + 4096) >> 13,  G = (l + gu * u + gv * v + 4096) >> 13,  B = (l + bu * u + 4096) >> 13
/// The two are not exact inverses of each other.
struct ColorMatrix {
    struct Row {
        int16_t r, g, b;
    };
    Row y, u, v;
    int16_t offsetY;
    int16_t scaleY;
    int16_t rv, gu, gv, bu;
};

/// Which matrix a run uses. The values index tables.
enum class ColorStandard : uint8_t { Rec601_Full, Rec709_Full, Rec601_Limited, Rec709_Limited };
inline constexpr int kColorStandards = 4;

/// The standard of a record's or a setting's matrix (1: Rec.601, anything else: Rec.709) and range.
constexpr ColorStandard StandardOf(uint32_t colorMatrix, bool fullRange)
{
    if (colorMatrix == 1)
        return fullRange ? ColorStandard::Rec601_Full : ColorStandard::Rec601_Limited;
    return fullRange ? ColorStandard::Rec709_Full : ColorStandard::Rec709_Limited;
}

// Tags. Full: Y, U, V use 0 to 255. Limited: Y has an offset of 16 and a scale of 219 / 255, chroma 224 /
// 255.

struct Rec601_Full {
    static constexpr auto kStandard = ColorStandard::Rec601_Full;
    static constexpr ColorMatrix kMatrix{.y = {2449, 4809, 934},
                                         .u = {-1376, -2702, 4080},
                                         .v = {4080, -3415, -662},
                                         .offsetY = 0,
                                         .scaleY = 8192,
                                         .rv = 11530,
                                         .gu = -2829,
                                         .gv = -5872,
                                         .bu = 14573};
};

struct Rec709_Full {
    static constexpr auto kStandard = ColorStandard::Rec709_Full;
    static constexpr ColorMatrix kMatrix{.y = {1742, 5859, 591},
                                         .u = {-934, -3144, 4080},
                                         .v = {4080, -3705, -373},
                                         .offsetY = 0,
                                         .scaleY = 8192,
                                         .rv = 12952,
                                         .gu = -1540,
                                         .gv = -3849,
                                         .bu = 15261};
};

struct Rec601_Limited {
    static constexpr auto kStandard = ColorStandard::Rec601_Limited;
    static constexpr ColorMatrix kMatrix{.y = {2104, 4130, 802},
                                         .u = {-1213, -2383, 3598},
                                         .v = {3598, -3012, -584},
                                         .offsetY = 16,
                                         .scaleY = 9539,
                                         .rv = 13075,
                                         .gu = -3208,
                                         .gv = -6659,
                                         .bu = 16525};
};

struct Rec709_Limited {
    static constexpr auto kStandard = ColorStandard::Rec709_Limited;
    static constexpr ColorMatrix kMatrix{.y = {1496, 5032, 508},
                                         .u = {-823, -2773, 3598},
                                         .v = {3598, -3267, -329},
                                         .offsetY = 16,
                                         .scaleY = 9539,
                                         .rv = 14686,
                                         .gu = -1746,
                                         .gv = -4365,
                                         .bu = 17305};
};

} // namespace imgproc
