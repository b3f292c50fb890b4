#include "files/pixel_layout.h"

#include "files/fourcc.h"
#include "tool_error.h"

#include <algorithm>
#include <cassert>

namespace {

constexpr auto kPacked = Arrangement::Packed;
constexpr auto kPlanar = Arrangement::Planar;

constexpr PixelLayout kLayouts[] = {
    {"RGB24", 0, 24, kCodeRgb, 0, kPacked, 1, 1},
    {"RGB32", 0, 32, kCodeRgb, kCodeRgba, kPacked, 1, 1},
    {"RGBA", 0, 32, kCodeRgba, kCodeRgb, kPacked, 1, 1},
    {"I420", MakeFourCC("I420"), 12, kCodeYuv420, 0, kPlanar, 2, 2},
    {"IYUV", MakeFourCC("IYUV"), 12, kCodeYuv420, 0, kPlanar, 2, 2},
    {"YV12", MakeFourCC("YV12"), 12, kCodeYuv420, 0, kPlanar, 2, 2},
    {"YUY2", MakeFourCC("YUY2"), 16, kCodeYuv422, 0, kPacked, 2, 1},
    {"YUYV", MakeFourCC("YUYV"), 16, kCodeYuv422, 0, kPacked, 2, 1},
    {"UYVY", MakeFourCC("UYVY"), 16, kCodeYuv422, 0, kPacked, 2, 1},
    {"2vuy", MakeFourCC("2vuy"), 16, kCodeYuv422, 0, kPacked, 2, 1},
    {"2Vuy", MakeFourCC("2Vuy"), 16, kCodeYuv422, 0, kPacked, 2, 1},
    {"HDYC", MakeFourCC("HDYC"), 16, kCodeYuv422, 0, kPacked, 2, 1},
    {"I444", MakeFourCC("I444"), 24, kCodeYuv444, 0, kPlanar, 1, 1},
    {"YV24", MakeFourCC("YV24"), 24, kCodeYuv444, 0, kPlanar, 1, 1},
    {"v308", MakeFourCC("v308"), 24, kCodeYuv444, 0, kPacked, 1, 1},
    {"AYUV", MakeFourCC("AYUV"), 32, kCodeYuva, 0, kPacked, 1, 1},
    {"v408", MakeFourCC("v408"), 32, kCodeYuva, kCodeYuv444, kPacked, 1, 1},
    {"Y800", MakeFourCC("Y800"), 8, kCodeGray, 0, kPlanar, 1, 1},
    {"Y8", MakeFourCC("Y8  "), 8, kCodeGray, 0, kPlanar, 1, 1},
    {"GREY", MakeFourCC("GREY"), 8, kCodeGray, 0, kPlanar, 1, 1},
};

constexpr CompressedFormat kFormats[] = {
    {kCodeRgb, MakeFourCC("O8RG"), "rgb", "RGB", 3, 1, 1, "RGB24"},
    {kCodeRgba, MakeFourCC("O8RA"), "rgba", "RGBA", 4, 1, 1, "RGBA"},
    {kCodeYuv444, MakeFourCC("O8Y4"), "yuv444", "YUV 4:4:4", 3, 1, 1, "I444"},
    {kCodeYuv422, MakeFourCC("O8Y2"), "yuv422", "YUV 4:2:2", 3, 2, 1, "YUY2"},
    {kCodeYuv420, MakeFourCC("O8Y0"), "yuv420", "YUV 4:2:0", 3, 2, 2, "I420"},
    {kCodeYuva, MakeFourCC("O8YA"), "yuva444", "YUVA 4:4:4:4", 4, 1, 1, "AYUV"},
    {kCodeGray, MakeFourCC("O8G0"), "gray", "YUV 4:0:0", 1, 1, 1, "Y800"},
};

std::string Upper(std::string text)
{
    for (char& c : text)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return text;
}

} // namespace

const PixelLayout* FindLayout(const std::string& text)
{
    // "Y8" is a FourCC that ends in blanks.
    const std::string name = text.substr(0, text.find_last_not_of(' ') + 1);
    const auto fits = [&](const PixelLayout& layout) {
        return layout.name == (layout.IsRgb() ? Upper(name) : name);
    };
    const auto* const row = std::ranges::find_if(kLayouts, fits);
    return row == std::end(kLayouts) ? nullptr : row;
}

const PixelLayout& LayoutNamed(const char* name)
{
    const PixelLayout* const layout = FindLayout(name);
    assert(layout != nullptr);
    return *layout;
}

const PixelLayout& NativeLayout(FormatId code)
{
    const CompressedFormat* const format = FindCompressedFormat(code);
    assert(format != nullptr);
    return LayoutNamed(format->native);
}

std::string LayoutNames()
{
    std::string names;
    for (const PixelLayout& layout : kLayouts)
        names += (names.empty() ? "" : ", ") + std::string(layout.name);
    return names;
}

uint64_t PackedRowBytes(const PixelLayout& layout, int width)
{
    return static_cast<uint64_t>(width) * layout.bitCount / 8;
}

uint64_t PictureBytes(const PixelLayout& layout, int width, int height)
{
    if (layout.arrangement == Arrangement::Packed)
        return PackedRowBytes(layout, width) * static_cast<uint64_t>(height);
    const uint64_t luma = static_cast<uint64_t>(width) * static_cast<uint64_t>(height);
    return layout.IsGray() ? luma : luma + 2 * (luma / layout.horizontal / layout.vertical);
}

void CheckPictureSize(const PixelLayout& layout, int64_t width, int64_t height, const std::string& where)
{
    const std::string text = std::to_string(width) + "x" + std::to_string(height);
    if (width < 1 || height < 1 || width > kMaxPictureSize || height > kMaxPictureSize ||
        PictureBytes(layout, static_cast<int>(width), static_cast<int>(height)) > kMaxPictureBytes)
        throw ToolError("pictures of " + text + " are not supported", where, "use pictures below 2 GiB");
    if (width % layout.horizontal != 0 || height % layout.vertical != 0)
        throw ToolError("a size of " + text + " does not fit the layout " + layout.name, where,
                        "the width must be a multiple of " + std::to_string(layout.horizontal) +
                            ", the height of " + std::to_string(layout.vertical));
}

const CompressedFormat* FindCompressedFormat(FormatId code)
{
    const auto* const row = std::ranges::find(kFormats, code, &CompressedFormat::code);
    return row == std::end(kFormats) ? nullptr : row;
}

const CompressedFormat* FindFormatByOption(const std::string& option)
{
    const auto* const row = std::ranges::find_if(
        kFormats, [&](const CompressedFormat& format) { return format.option == option; });
    return row == std::end(kFormats) ? nullptr : row;
}

const char* PlaneName(const CompressedFormat& format, size_t plane)
{
    constexpr const char* kYuv[] = {"Y", "U", "V", "A"};
    constexpr const char* kRgb[] = {"B-G", "G", "R-G", "A"};
    return IsRgbFamily(format.code) ? kRgb[plane] : kYuv[plane];
}
