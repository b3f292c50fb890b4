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
                           std::span<const uint8_t> bitmapInfo, const PixelLayout& layout, int width,
                           int height)
    : hasUnusedByte(layout.otherFamily == kCodeRgba && format.planes < 4),
      dropsAlpha(layout.otherFamily != 0 && !hasUnusedByte && format.planes < 4)
{
    const bool converts = !IsLossless(layout, format);
    if (!converts || CanDecompress(entry, format, bitmapInfo, layout, width, height)) {
        decoder.emplace(entry, format, bitmapInfo, layout, width, height);
        decoded.resize(static_cast<size_t>(PictureBytes(layout, width, height)));
    }
    if (converts)
        conversion.emplace(entry, format, bitmapInfo, layout, width, height);
}

PictureCheck::Conversion::Conversion(DriverEntry entry, const CompressedFormat& format,
                                     std::span<const uint8_t> bitmapInfo, const PixelLayout& layout,
                                     int width, int height)
    : coder(entry, format, layout, width, height, bitmapInfo),
      first(entry, format, bitmapInfo, NativeLayout(format.code), width, height),
      second(entry, format, bitmapInfo, NativeLayout(format.code), width, height),
      actual(static_cast<size_t>(PictureBytes(NativeLayout(format.code), width, height))),
      expected(actual.size())
{}

PictureMatch PictureCheck::Check(std::span<const uint8_t> picture, std::span<const uint8_t> frame)
{
    if (decoder) {
        if (!decoder->Decompress(frame))
            return PictureMatch::Damaged;
        decoder->Read(decoded);
        if (hasUnusedByte ? SameWithoutAlpha(decoded, picture) : std::ranges::equal(decoded, picture))
            return PictureMatch::Same;
        if (dropsAlpha && SameWithoutAlpha(decoded, picture))
            return PictureMatch::SameAfterConversion;
    }
    if (!conversion)
        return PictureMatch::Different;
    if (!conversion->first.Decompress(frame))
        return PictureMatch::Damaged;
    return IsSameAfterConversion(picture) ? PictureMatch::SameAfterConversion : PictureMatch::Different;
}

bool PictureCheck::IsSameAfterConversion(std::span<const uint8_t> picture)
{
    if (!conversion->second.Decompress(conversion->coder.Compress(picture)))
        return false;
    conversion->first.Read(conversion->actual);
    conversion->second.Read(conversion->expected);
    return conversion->actual == conversion->expected;
}
