#include "host/picture_check.h"

#include <algorithm>

namespace {

/// Compares 32-bit pixels but for their byte 3.
bool SameWithoutAlpha(std::span<const uint8_t> a, std::span<const uint8_t> b)
{
    for (size_t i = 0; i + 4 <= a.size(); i += 4)
        if (!std::equal(&a[i], &a[i] + 3, &b[i]))
            return false;
    return true;
}

} // namespace

bool IsLossless(const PixelLayout& layout, const CompressedFormat& format)
{
    return layout.family == format.code || layout.otherFamily == format.code;
}

PictureCheck::PictureCheck(DriverEntry entry, const CompressedFormat& format,
                           std::span<const uint8_t> bitmapInfo, const PixelLayout& layout_, int width,
                           int height)
    : layout(&layout_), ignoresAlpha(layout_.otherFamily != 0 && format.planes < 4),
      decoder(entry, format, bitmapInfo, IsLossless(layout_, format) ? layout_ : NativeLayout(format.code),
              width, height)
{
    if (!IsLossless(layout_, format)) {
        layout = &NativeLayout(format.code);
        ignoresAlpha = false;
        secondCoder.emplace(entry, format, layout_, width, height, bitmapInfo);
        secondDecoder.emplace(entry, format, bitmapInfo, *layout, width, height);
    }
    decoded.resize(static_cast<size_t>(PictureBytes(*layout, width, height)));
    expected.resize(secondCoder ? decoded.size() : 0);
}

PictureMatch PictureCheck::Check(std::span<const uint8_t> picture, std::span<const uint8_t> frame)
{
    if (!decoder.Decompress(frame))
        return PictureMatch::Damaged;
    decoder.Read(decoded);
    if (secondCoder) {
        if (!secondDecoder->Decompress(secondCoder->Compress(picture)))
            return PictureMatch::Different;
        secondDecoder->Read(expected);
        picture = expected;
    }
    const bool same =
        ignoresAlpha ? SameWithoutAlpha(decoded, picture) : std::ranges::equal(decoded, picture);
    return same ? PictureMatch::Same : PictureMatch::Different;
}
