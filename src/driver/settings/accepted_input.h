// What the variants can take as input: the categories of host layouts, and for each compressed format those
// from which it can be made. A mask of categories has bit (category - 101), as
// EncodeSettings::InputColorSpace.
#pragma once

#include "common/format_id.h"

#include <cassert>
#include <cstdint>
#include <initializer_list>
#include <string>

namespace settings {

/// InputColorSpace: every input that the variant can take.
inline constexpr uint32_t kAllInputs = 0xFFFFFFFF;

/// category  101 to 132
constexpr uint32_t CategoryBit(FormatId category)
{
    assert(category >= 101 && category <= 132);
    return 1U << (category - 101);
}

struct InputCategory {
    FormatId category;
    /// For more than 8 bits per sample: the text under which users choose it. Other texts follow from the
    /// layouts.
    const char* deepLabel = "";
};

/// In the order in which they are offered.
inline constexpr InputCategory kInputCategories[] = {
    {101},
    {103},
    {104},
    {105},
    {107},
    {102},
    {106},
    {118, "YUV 10-bit 4:4:4 - (v410,I4AL,Y3[0][10])"},
    {108, "YUV 10-bit 4:2:2 - (v210,P210,I2AL,Y3[10][10])"},
    {123, "YUV 10-bit 4:2:0 - (P010,I0AL,Y3[11][10])"},
    {115},
    {109, "RGB 10-bit - (r210,R10k,G3[0][10],GBAL)"},
    {110, "RGBA 10-bit - (G4[0][10])"},
    {111, "RGB 12-bit - (G3[0][12])"},
    {112, "RGBA 12-bit - (G4[0][12])"},
    {113, "RGB 14-bit - (G3[0][14])"},
    {114, "RGBA 14-bit - (G4[0][14])"},
    {116, "RGB 16-bit - (b48r,b64a,BGR[48],BRA[64],G3[0][16],GBFL)"},
    {117, "RGBA 16-bit - (b64a,G4[0][16])"},
};

/// The text under which users choose a category: its format, and the names of the layouts in it, planar ones
/// first.
std::string InputLabel(const InputCategory& category);

/// Which settings mean something to a variant.
struct VariantTraits {
    FormatId id;
    uint32_t acceptedInput; ///< mask of categories
    bool hasColorControls;  ///< matrix and range are stored with the stream
    bool hasInterpolate;    ///< chroma may be subsampled from a richer input
};

constexpr uint32_t CategoryMask(std::initializer_list<FormatId> categories)
{
    uint32_t mask = 0;
    for (const FormatId category : categories)
        mask |= CategoryBit(category);
    return mask;
}

/// Formats above 107 have no variant; their rows stand ready.
inline constexpr VariantTraits kVariantTraits[] = {
    {101, CategoryMask({101}), false, false},
    {102, CategoryMask({102}), false, false},
    {103, CategoryMask({101, 103}), true, false},
    {104, CategoryMask({101, 103, 104}), true, true},
    {105, CategoryMask({101, 103, 104, 105}), true, true},
    {106, CategoryMask({102, 106}), true, false},
    {107, CategoryMask({101, 103, 104, 105, 107}), true, false},
    {108, CategoryMask({108}), true, false},
    {109, CategoryMask({116, 113, 111, 109}), false, false},
    {110, CategoryMask({117, 114, 112, 110}), false, false},
    {111, CategoryMask({116, 113, 111}), false, false},
    {112, CategoryMask({117, 114, 112}), false, false},
    {113, CategoryMask({116, 113}), false, false},
    {114, CategoryMask({117, 114}), false, false},
    {115, CategoryMask({118, 108, 115}), true, false},
    {118, CategoryMask({118}), true, false},
    {123, CategoryMask({108, 123}), true, false},
};

/// The row of a variant, null for an id that has none.
constexpr const VariantTraits* FindVariantTraits(FormatId id)
{
    for (const VariantTraits& traits : kVariantTraits)
        if (traits.id == id)
            return &traits;
    return nullptr;
}

} // namespace settings
