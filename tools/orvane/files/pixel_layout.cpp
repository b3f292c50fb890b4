#include "files/pixel_layout.h"

#include "common/compressed_formats.h"
#include "tool_error.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <optional>
#include <string_view>

namespace {

uint64_t maxPixels = kDefaultMaxPixels;

constexpr bool HasName(const LayoutDescriptor& layout, std::string_view name)
{
    return std::ranges::any_of(layout.Names(), [=](std::string_view own) { return own == name; });
}

/// The layout that has the same bitmap header as `layout` under one of its names: the two differ in alpha.
/// Nothing where there is none.
constexpr std::optional<LayoutDescriptor> FindTwin(const LayoutDescriptor& layout, std::string_view name)
{
    for (const LayoutDescriptor& other : kHostLayouts)
        if (other.id != layout.id && !other.Names().empty() &&
            (layout.IsRgb() ? other.IsRgb() && other.BitCount() == layout.BitCount() : HasName(other, name)))
            return other;
    return {};
}

/// Calls visit(PixelLayout) for every name that users can write. Of two layouts of one name, the one with
/// alpha has it.
template <class Visit>
constexpr void ForEachLayout(const Visit& visit)
{
    for (const LayoutDescriptor& layout : kHostLayouts)
        for (const char* const name : layout.Names()) {
            const std::optional<LayoutDescriptor> twin = FindTwin(layout, name);
            if (twin && HasName(*twin, name) && twin->HasAlpha())
                continue;
            visit(PixelLayout{name, layout.IsRgb() ? 0 : PaddedFourCC(name),
                              static_cast<uint16_t>(layout.BitCount()), layout.category,
                              twin ? twin->category : kUnknownFormat, layout.arrangement,
                              layout.Native().horizontal, layout.Native().vertical});
        }
}

constexpr auto kLayouts = [] {
    constexpr size_t kCount = [] {
        size_t count = 0;
        ForEachLayout([&](const PixelLayout&) { ++count; });
        return count;
    }();
    std::array<PixelLayout, kCount> layouts{};
    size_t at = 0;
    ForEachLayout([&](const PixelLayout& layout) { layouts[at++] = layout; });
    return layouts;
}();

/// The format of `code`, with the tool's own name for it and the layout that the tool decodes it to by
/// itself.
constexpr CompressedFormat MakeFormat(FormatId code, const char* option, const char* native)
{
    const FormatDescriptor& format = *FindFormatDescriptor(code);
    return {code,          format.FourCC(),   option,          format.name,
            format.planes, format.horizontal, format.vertical, native};
}

constexpr CompressedFormat kFormats[] = {
    MakeFormat(kCodeRgb, "rgb", "RGB24"),      MakeFormat(kCodeRgba, "rgba", "RGBA"),
    MakeFormat(kCodeYuv444, "yuv444", "I444"), MakeFormat(kCodeYuv422, "yuv422", "YUY2"),
    MakeFormat(kCodeYuv420, "yuv420", "I420"), MakeFormat(kCodeYuva, "yuva444", "AYUV"),
    MakeFormat(kCodeGray, "gray", "Y800"),
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
    const auto row = std::ranges::find_if(kLayouts, fits);
    return row == std::end(kLayouts) ? nullptr : &*row;
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

void SetMaxPixels(uint64_t pixels)
{
    maxPixels = pixels;
}

void CheckPictureSize(const PixelLayout& layout, int64_t width, int64_t height, const std::string& where)
{
    const std::string text = std::to_string(width) + "x" + std::to_string(height);
    if (width < 1 || height < 1 || width > kMaxPictureSize || height > kMaxPictureSize ||
        PictureBytes(layout, static_cast<int>(width), static_cast<int>(height)) > kMaxPictureBytes)
        throw ToolError("pictures of " + text + " are not supported", where, "use pictures below 2 GiB");
    if (static_cast<uint64_t>(width) * static_cast<uint64_t>(height) > maxPixels)
        throw ToolError("a picture of " + text + " is larger than the limit", where,
                        "if the input is trusted, raise it with --max-pixels, as --max-pixels " +
                            std::to_string(width * height));
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
