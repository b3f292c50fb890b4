#include "files/conversion.h"

#include "files/avi_records.h"

#include <algorithm>

namespace {

constexpr uint32_t kMaxNote = 256; // bytes

bool HasAlpha(const PixelLayout& layout)
{
    return FindCompressedFormat(layout.family)->planes == 4;
}

/// What becomes of chroma; empty when it keeps its resolution.
std::string ChromaChange(const PixelLayout& layout, const CompressedFormat& format)
{
    if (format.code == kCodeGray)
        return layout.IsGray() ? "" : "chroma dropped";
    if (layout.horizontal < format.horizontal || layout.vertical < format.vertical)
        return "chroma subsampled";
    return layout.horizontal > format.horizontal || layout.vertical > format.vertical ? "chroma interpolated"
                                                                                      : "";
}

} // namespace

std::string ConversionOf(const PixelLayout& layout, const CompressedFormat& format)
{
    const std::string changes[] = {layout.IsRgb() != IsRgbFamily(format.code) ? "colour" : "",
                                   ChromaChange(layout, format),
                                   HasAlpha(layout) && format.planes < 4 ? "alpha dropped" : ""};
    std::string text;
    for (const std::string& change : changes)
        if (!change.empty())
            text += (text.empty() ? "" : ", ") + change;
    return text;
}

std::string StoredConversion(const VideoStream& stream)
{
    for (const AviChunk& chunk : stream.File().others)
        if (chunk.id == avi::kConversion) {
            const std::vector<uint8_t> note =
                stream.Source().ReadBytes(chunk.offset, std::min(chunk.size, kMaxNote));
            std::string text(note.begin(), note.end());
            std::ranges::replace_if(
                text, [](char c) { return c < 0x20 || c > 0x7E; }, '?');
            return text;
        }
    return {};
}
