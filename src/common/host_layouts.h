// The layouts of host pictures that have a pixel path, one descriptor each. Front ends, routes, the driver's
// format table, the settings' labels and the tool's list follow from it.
#pragma once

#include "common/compressed_formats.h"
#include "common/format_id.h"
#include "common/four_cc.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

enum class Arrangement : uint8_t {
    Packed, ///< one plane of pixels, or of pixel pairs
    Planar, ///< one plane for each channel
};

struct LayoutDescriptor {
    FormatId id;
    /// The compressed format that keeps it bit for bit, whose subsampling it has. Its bit in the settings'
    /// masks allows the layout.
    FormatId category;
    Arrangement arrangement;
    /// Packed: the bytes of a pixel, or of a pair with two Y, from the lowest address on. Planar: the planes
    /// in order. R G B, Y U V, A alpha, X unused.
    std::string_view samples;
    /// What hosts and users call it: FourCCs, without trailing blanks. RGB has no FourCC: a header names it
    /// by its bit count. A layout without names is for callers that give its id.
    std::array<const char*, 4> names{};
    /// Rows are unpadded by definition, but some hosts round them up to four bytes.
    bool hostsPadRows = false;

    constexpr std::span<const char* const> Names() const
    {
        size_t count = 0;
        while (count < names.size() && names[count])
            ++count;
        return {names.data(), count};
    }
    constexpr bool IsPlanar() const { return arrangement == Arrangement::Planar; }
    constexpr bool IsRgb() const { return Has('R'); }
    constexpr bool HasAlpha() const { return Has('A'); }
    constexpr bool Has(char channel) const { return samples.find(channel) != std::string_view::npos; }
    /// The first byte of a channel in a group of pixels.
    constexpr int Place(char channel) const { return static_cast<int>(samples.find(channel)); }
    /// Pixels of one group of bytes: 2 in packed 4:2:2.
    constexpr int GroupPixels() const { return std::ranges::count(samples, 'Y') == 2 ? 2 : 1; }
    constexpr const FormatDescriptor& Native() const { return *FindFormatDescriptor(category); }
    /// biBitCount: bits that a pixel takes, chroma shared out.
    constexpr int BitCount() const
    {
        const auto channels = static_cast<int>(samples.size());
        return IsPlanar() ? 8 + 8 * (channels - 1) / (Native().horizontal * Native().vertical)
                          : 8 * channels / GroupPixels();
    }
};

/// In the order of the driver's format table. Two layouts of one name differ in alpha.
inline constexpr LayoutDescriptor kHostLayouts[] = {
    {kHostBgrx, kCodeRgb, Arrangement::Packed, "BGRX", {"RGB32"}},
    {kHostBgra, kCodeRgba, Arrangement::Packed, "BGRA", {"RGBA"}},
    {kHostBgr, kCodeRgb, Arrangement::Packed, "BGR", {"RGB24"}},
    {kHostAyuvOrderAyuv, kCodeYuva, Arrangement::Packed, "AYUV", {"AYUV"}},
    {kHostV408X, kCodeYuv444, Arrangement::Packed, "UYVX", {"v408"}},
    {kHostV408, kCodeYuva, Arrangement::Packed, "UYVA", {"v408"}},
    {kHostV308, kCodeYuv444, Arrangement::Packed, "VYU", {"v308"}, true},
    {kHostYv24, kCodeYuv444, Arrangement::Planar, "YVU", {"YV24"}},
    {kHostI444, kCodeYuv444, Arrangement::Planar, "YUV", {"I444"}},
    {kHostYuy2, kCodeYuv422, Arrangement::Packed, "YUYV", {"YUY2", "YUYV"}},
    {kHostUyvy, kCodeYuv422, Arrangement::Packed, "UYVY", {"UYVY", "2vuy", "2Vuy", "HDYC"}},
    {kHostYv12, kCodeYuv420, Arrangement::Planar, "YVU", {"YV12"}},
    {kHostI420, kCodeYuv420, Arrangement::Planar, "YUV", {"I420", "IYUV"}},
    {kHostY8, kCodeGray, Arrangement::Planar, "Y", {"Y8", "Y800", "GREY"}, true},

    {kHostXrgb, kCodeRgb, Arrangement::Packed, "XRGB"},
    {kHostRgbx, kCodeRgb, Arrangement::Packed, "RGBX"},
    {kHostXbgr, kCodeRgb, Arrangement::Packed, "XBGR"},
    {kHostArgb, kCodeRgba, Arrangement::Packed, "ARGB"},
    {kHostRgba, kCodeRgba, Arrangement::Packed, "RGBA"},
    {kHostAbgr, kCodeRgba, Arrangement::Packed, "ABGR"},
    {kHostRgb, kCodeRgb, Arrangement::Packed, "RGB"},
    {kHostVuyx, kCodeYuv444, Arrangement::Packed, "VUYX"},
    {kHostVuya, kCodeYuva, Arrangement::Packed, "VUYA"},
};

/// Null for an id without a descriptor.
constexpr const LayoutDescriptor* FindLayoutDescriptor(FormatId id)
{
    for (const LayoutDescriptor& layout : kHostLayouts)
        if (layout.id == id)
            return &layout;
    return nullptr;
}

static_assert(std::ranges::all_of(kHostLayouts,
                                  [](const LayoutDescriptor& layout) {
                                      return std::ranges::count(kHostLayouts, layout.id,
                                                                &LayoutDescriptor::id) == 1 &&
                                             std::ranges::count(kCompressedFormats, layout.category,
                                                                &FormatDescriptor::code) == 1;
                                  }),
              "ids are unique, and every category is a format with a descriptor");

/// Whether pictures of this layout are 4:2:2.
constexpr bool Is422(FormatId host)
{
    const LayoutDescriptor* layout = FindLayoutDescriptor(host);
    return layout && layout->category == kCodeYuv422;
}
