// Compares frames with the pictures they were made from.
#pragma once

#include "host/codec_host.h"

#include <optional>

enum class PictureMatch {
    Same,
    SameAfterConversion, ///< samples differ, and the frame holds what the same conversion makes of the
                         ///< picture
    Different,
    Damaged, ///< the frame cannot be decoded
};

/// Whether a layout is coded to a format without loss; alpha that the format has no place for aside.
bool IsLossless(const PixelLayout& layout, const CompressedFormat& format);

/// A frame is decoded to the layout of the picture and the samples are compared. Where coding converts colour
/// or chroma and the samples differ, what was coded is made a second time, by a run of its own with the
/// stream's record, and both frames are decoded and compared as planes; alpha that the format has no place
/// for is left out of the second look.
class PictureCheck
{
  public:
    /// bitmapInfo  of the stream
    PictureCheck(DriverEntry entry, const CompressedFormat& format, std::span<const uint8_t> bitmapInfo,
                 const PixelLayout& layout, int width, int height);

    /// picture  unpadded, in the layout; frame  not empty
    PictureMatch Check(std::span<const uint8_t> picture, std::span<const uint8_t> frame);

  private:
    /// Codes a picture as the stream does, and decodes both frames in the native layout.
    struct Conversion {
        Conversion(DriverEntry entry, const CompressedFormat& format, std::span<const uint8_t> bitmapInfo,
                   const PixelLayout& layout, int width, int height);

        FrameCompressor coder;
        FrameDecompressor first;
        FrameDecompressor second;
        std::vector<uint8_t> actual;
        std::vector<uint8_t> expected;
    };
    bool IsSameAfterConversion(std::span<const uint8_t> picture);

    bool hasUnusedByte;                       ///< byte 3 of a pixel belongs to nothing
    bool dropsAlpha;                          ///< byte 3 of a pixel is alpha, and the format has none
    std::optional<FrameDecompressor> decoder; ///< to the layout of the picture, where there is such a way
    std::optional<Conversion> conversion;     ///< only where coding converts
    std::vector<uint8_t> decoded;
};
