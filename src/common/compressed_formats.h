// The compressed formats that bitmap headers name, one descriptor each. The driver's format table, texts and
// suggestions, the settings' labels and the tool's options follow from it. Formats of more than 8 bits per
// sample have no route; their descriptors name a stream in the log.
#pragma once

#include "common/format_id.h"
#include "common/four_cc.h"

#include <cstdint>

struct FormatDescriptor {
    FormatId code;
    const char* fourCC;
    uint16_t bitCount; ///< biBitCount of its bitmap headers
    const char* name;
    uint8_t planes;     ///< 4: with alpha
    uint8_t horizontal; ///< subsampling of planes 1 and 2
    uint8_t vertical;
    FormatId nativeOutput;    ///< the layout that it decodes to without conversion
    FormatId suggestedOutput; ///< the layout that decompression suggests first

    constexpr bool HasAlpha() const { return planes == 4; }
    constexpr uint32_t FourCC() const { return PaddedFourCC(fourCC); }
};

/// In the order of the driver's format table.
inline constexpr FormatDescriptor kCompressedFormats[] = {
    {kCodeRgba, "O8RA", 32, "RGBA", 4, 1, 1, kHostBgra, kHostBgra},
    {kCodeRgb, "O8RG", 24, "RGB", 3, 1, 1, kHostBgrx, kHostBgr},
    {kCodeYuva, "O8YA", 32, "YUVA 4:4:4:4", 4, 1, 1, kHostAyuvOrderAyuv, kHostAyuvOrderAyuv},
    {kCodeYuv444, "O8Y4", 24, "YUV 4:4:4", 3, 1, 1, kHostYv24, kHostYv24},
    {kCodeYuv422, "O8Y2", 24, "YUV 4:2:2", 3, 2, 1, kHostYuy2, kHostYuy2},
    {kCodeYuv420, "O8Y0", 24, "YUV 4:2:0", 3, 2, 2, kHostYv12, kHostYv12},
    {kCodeGray, "O8G0", 24, "YUV 4:0:0", 1, 1, 1, kHostY8, kHostY8},
    {118, "O0Y4", 30, "YUV 4:4:4 10-bit", 3, 1, 1, 47, 47},
    {108, "O0Y2", 20, "YUV 4:2:2 10-bit", 3, 2, 1, 11, 11},
    {123, "O0Y0", 15, "YUV 4:2:0 10-bit", 3, 2, 2, 57, 11},
    {115, "O0G0", 10, "YUV 4:0:0 10-bit", 1, 1, 1, 30, 11},
    {109, "O0RG", 30, "RGB 10-bit", 3, 1, 1, 25, 33},
    {110, "O0RA", 40, "RGBA 10-bit", 4, 1, 1, 23, 31},
    {111, "O2RG", 36, "RGB 12-bit", 3, 1, 1, 25, 33},
    {112, "O2RA", 48, "RGBA 12-bit", 4, 1, 1, 23, 31},
    {113, "O4RG", 42, "RGB 14-bit", 3, 1, 1, 25, 33},
    {114, "O4RA", 56, "RGBA 14-bit", 4, 1, 1, 23, 31},
};

/// Null for a code without a descriptor.
constexpr const FormatDescriptor* FindFormatDescriptor(FormatId code)
{
    for (const FormatDescriptor& format : kCompressedFormats)
        if (format.code == code)
            return &format;
    return nullptr;
}
