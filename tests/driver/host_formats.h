// The formats of hosts, and what each may become, written down once more as a plain list: what the driver
// answers is held against this.
#pragma once

#include "common/four_cc.h"
#include "platform/vfw.h"
#include "support/plain_layouts.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <span>
#include <stdexcept>
#include <string>

/// A layout that hosts ask for, with the id that its header has for a partner without alpha, and with it.
struct HostFormat {
    const char* name; ///< FourCC, bytes that are no characters in brackets; "RGB" for BI_RGB
    int bits;
    int id;
    int idWithAlpha;
};

inline constexpr HostFormat kHostFormats[] = {
    {"RGB", 32, 1, 2},          {"RGB", 24, 3, 3},         {"DIB ", 32, 1, 2},
    {"DIB ", 24, 3, 3},         {"AYUV", 32, 8, 8},        {"v408", 32, 45, 46},
    {"v308", 24, 44, 44},       {"YV24", 24, 7, 7},        {"I444", 24, 29, 29},
    {"YUY2", 16, 4, 4},         {"YUYV", 16, 4, 4},        {"UYVY", 16, 5, 5},
    {"2vuy", 16, 5, 5},         {"2Vuy", 16, 5, 5},        {"HDYC", 16, 5, 5},
    {"YV12", 12, 6, 6},         {"I420", 12, 10, 10},      {"IYUV", 12, 10, 10},
    {"Y8  ", 8, 9, 9},          {"Y800", 8, 9, 9},         {"GREY", 8, 9, 9},
    {"r210", 30, 12, 12},       {"R10k", 30, 13, 13},      {"v410", 30, 47, 47},
    {"I4AL", 30, 48, 48},       {"Y3[0][10]", 30, 48, 48}, {"v210", 20, 11, 11},
    {"V210", 20, 11, 11},       {"P210", 20, 34, 34},      {"I2AL", 20, 35, 35},
    {"Y3[10][10]", 20, 35, 35}, {"P010", 15, 57, 57},      {"I0AL", 15, 58, 58},
    {"Y3[11][10]", 15, 58, 58}, {"b48r", 48, 25, 25},      {"b64a", 64, 24, 23},
    {"BGR[48]", 48, 33, 33},    {"BRA[64]", 64, 32, 31},   {"RGB[48]", 48, 28, 28},
    {"RBA[64]", 64, 27, 26},    {"GBAL", 30, 36, 36},      {"GBFL", 48, 39, 39},
    {"G3[0][10]", 30, 36, 36},  {"G3[0][12]", 36, 37, 37}, {"G3[0][14]", 42, 38, 38},
    {"G3[0][16]", 48, 39, 39},  {"G4[0][10]", 40, 40, 40}, {"G4[0][12]", 48, 41, 41},
    {"G4[0][14]", 56, 42, 42},  {"G4[0][16]", 64, 43, 43},
};

/// The four bytes of a name with brackets; 0 for "RGB".
inline uint32_t FourCCOf(const std::string& name)
{
    if (name == "RGB")
        return 0;
    uint32_t code = 0;
    size_t at = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        uint32_t value = static_cast<uint8_t>(name.at(at));
        if (name[at] == '[') {
            value = static_cast<uint32_t>(std::stoul(name.substr(at + 1)));
            at = name.find(']', at);
        }
        ++at;
        code |= value << shift;
    }
    return code;
}

/// The family of a layout, 101 to 107; 0 for layouts that no frame of 8 bits serves.
inline int FamilyOf(int hostId)
{
    const PlainLayout* layout = FindPlainLayout(hostId);
    return layout ? layout->code : 0;
}

/// The layouts of some families that a header can name.
inline std::set<int> LayoutsOf(const std::set<int>& families)
{
    std::set<int> ids;
    for (const HostFormat& format : kHostFormats)
        for (const int id : {format.id, format.idWithAlpha})
            if (families.contains(FamilyOf(id)))
                ids.insert(id);
    return ids;
}

struct Variant {
    const char* fourCC;
    int id;
    bool alpha;
    int frameBits;           ///< biBitCount of its compressed headers
    std::set<int> lossless;  ///< layouts that go in and out as they are
    std::set<int> converted; ///< layouts that frames can be made of otherwise
    std::set<int> offered;   ///< layouts that frames become by conversion, as far as the masks let them
};

/// The compressed formats with what goes in and what comes out.
inline const Variant kVariants[] = {
    {"O8RG", 101, false, 24, LayoutsOf({101}), {}, {}},
    {"O8RA", 102, true, 32, LayoutsOf({102}), {}, {}},
    {"O8YA", 106, true, 32, LayoutsOf({106}), LayoutsOf({102}), LayoutsOf({102})},
    {"O8Y4", 103, false, 24, LayoutsOf({103}), LayoutsOf({101}), LayoutsOf({101})},
    {"O8Y2", 104, false, 24, LayoutsOf({104}), LayoutsOf({101, 103}), LayoutsOf({101, 103})},
    {"O8Y0", 105, false, 24, LayoutsOf({105}), LayoutsOf({101, 103, 104}), LayoutsOf({101, 103, 104})},
    {"O8G0", 107, false, 24, LayoutsOf({107}), LayoutsOf({101, 103, 104, 105}),
     LayoutsOf({101, 103, 104, 105})},
};

inline const Variant& VariantOf(int id)
{
    for (const Variant& variant : kVariants)
        if (variant.id == id)
            return variant;
    throw std::out_of_range("no variant " + std::to_string(id));
}

inline int IdFor(const HostFormat& format, const Variant& partner)
{
    return partner.alpha ? format.idWithAlpha : format.id;
}

/// Bytes of an unpadded picture; RGB with 24 bits has rows of whole four bytes.
inline uint32_t PictureBytes(int hostId, uint32_t width, uint32_t height)
{
    const PlainLayout& layout = PlainLayoutOf(hostId);
    if (layout.planar) {
        const uint32_t samples = width * height;
        const uint32_t shared = layout.code == kCodeYuv420 ? 4 : 1;
        return layout.Has('U') ? samples + 2 * (samples / shared) : samples;
    }
    const auto rowBytes = static_cast<uint32_t>(layout.RowBytes(static_cast<int>(width)));
    return (hostId == kHostBgr ? (rowBytes + 3) / 4 * 4 : rowBytes) * height;
}

/// A layout that frames of this variant keep to the last byte: none with a fourth byte that is not alpha.
inline const HostFormat& NativeFormatOf(const Variant& variant)
{
    return *std::ranges::find_if(kHostFormats, [&](const HostFormat& format) {
        const int id = IdFor(format, variant);
        return variant.lossless.contains(id) && !PlainLayoutOf(id).Has('X');
    });
}
