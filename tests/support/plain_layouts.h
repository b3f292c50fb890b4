// The host layouts once more, written down plainly: what every test of layouts is held to. Nothing here comes
// from the tables of the codec, but the ids.
#pragma once

#include "common/format_id.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

/// A host layout by the letters of its bytes (packed) or planes (planar): R G B, Y U V, A alpha, X ignored.
/// Four bytes with two Y hold two pixels.
struct PlainLayout {
    FormatId host;
    std::string_view bytes;
    FormatId code; ///< the compressed format that it becomes without loss, and its family
    bool planar = false;

    bool Has(char letter) const { return bytes.find(letter) != bytes.npos; }
    bool IsRgb() const { return Has('R'); }
    int GroupPixels() const { return std::ranges::count(bytes, 'Y') == 2 ? 2 : 1; }
    int RowBytes(int width) const { return width * static_cast<int>(bytes.size()) / GroupPixels(); }
};

inline constexpr PlainLayout kPlainLayouts[] = {
    {kHostBgrx, "BGRX", kCodeRgb},         {kHostXrgb, "XRGB", kCodeRgb},
    {kHostRgbx, "RGBX", kCodeRgb},         {kHostXbgr, "XBGR", kCodeRgb},
    {kHostBgr, "BGR", kCodeRgb},           {kHostRgb, "RGB", kCodeRgb},
    {kHostBgra, "BGRA", kCodeRgba},        {kHostArgb, "ARGB", kCodeRgba},
    {kHostRgba, "RGBA", kCodeRgba},        {kHostAbgr, "ABGR", kCodeRgba},
    {kHostV308, "VYU", kCodeYuv444},       {kHostV408X, "UYVX", kCodeYuv444},
    {kHostVuyx, "VUYX", kCodeYuv444},      {kHostYv24, "YVU", kCodeYuv444, true},
    {kHostI444, "YUV", kCodeYuv444, true}, {kHostYuy2, "YUYV", kCodeYuv422},
    {kHostUyvy, "UYVY", kCodeYuv422},      {kHostYv12, "YVU", kCodeYuv420, true},
    {kHostI420, "YUV", kCodeYuv420, true}, {kHostAyuvOrderAyuv, "AYUV", kCodeYuva},
    {kHostV408, "UYVA", kCodeYuva},        {kHostVuya, "VUYA", kCodeYuva},
    {kHostY8, "Y", kCodeGray, true},
};

/// Null for an id that is none of these.
inline const PlainLayout* FindPlainLayout(FormatId host)
{
    const auto* const found = std::ranges::find(kPlainLayouts, host, &PlainLayout::host);
    return found == std::end(kPlainLayouts) ? nullptr : found;
}

/// Throws for an id that is none of these: a test's list lacks it.
inline const PlainLayout& PlainLayoutOf(FormatId host)
{
    if (const PlainLayout* layout = FindPlainLayout(host))
        return *layout;
    throw std::out_of_range("tests/support/plain_layouts.h lacks layout " + std::to_string(host));
}
