// Integer ids of picture formats. Uncompressed host layouts have ids from 1 to 61, compressed formats from
// 101 to 126; a compressed id is the FormatCode byte of a frame header. The FourCCs that stand for them are
// the driver's.
#pragma once

#include <cstdint>

using FormatId = int32_t;

inline constexpr FormatId kUnknownFormat = 0;
/// A null header, or, where a function takes an id, any format: a format's native partner.
inline constexpr FormatId kAnyFormat = 255;

/// Compressed formats with a pixel path.
enum CompressedId : FormatId {
    kCodeRgb = 101,    ///< O8RG
    kCodeRgba = 102,   ///< O8RA
    kCodeYuv444 = 103, ///< O8Y4
    kCodeYuv422 = 104, ///< O8Y2
    kCodeYuv420 = 105, ///< O8Y0
    kCodeYuva = 106,   ///< O8YA
    kCodeGray = 107,   ///< O8G0
};

/// Uncompressed layouts with a pixel path, named by the bytes of a pixel from its lowest address on, or by
/// the FourCC of the layout. Ids 16 to 22, 49 and 50 have routes but no FourCC.
enum HostId : FormatId {
    kHostBgrx = 1,
    kHostBgra = 2,
    kHostBgr = 3,
    kHostYuy2 = 4,
    kHostUyvy = 5,
    kHostYv12 = 6,
    kHostYv24 = 7,
    kHostAyuvOrderAyuv = 8, ///< FourCC AYUV, bytes A Y U V
    kHostY8 = 9,
    kHostI420 = 10,
    kHostXrgb = 16,
    kHostRgbx = 17,
    kHostXbgr = 18,
    kHostArgb = 19,
    kHostRgba = 20,
    kHostAbgr = 21,
    kHostRgb = 22,
    kHostI444 = 29,
    kHostV308 = 44,  ///< bytes V Y U
    kHostV408X = 45, ///< bytes U Y V, alpha ignored
    kHostV408 = 46,  ///< bytes U Y V A
    kHostVuyx = 49,
    kHostVuya = 50,
};

/// Formats whose colour matrix is fixed: the record says Rec.709 whatever the settings say.
constexpr bool IsRgbFamily(FormatId code)
{
    return (code >= 101 && code <= 102) || (code >= 109 && code <= 114) || (code >= 116 && code <= 117) ||
           (code >= 120 && code <= 121);
}

/// Formats whose record carries a colour matrix and a range. Code 122 is in neither family.
constexpr bool IsYuvFamily(FormatId code)
{
    return (code >= 103 && code <= 108) || code == 115 || (code >= 118 && code <= 119) ||
           (code >= 123 && code <= 126);
}
