// Compares frames with the pictures they were made from.
#pragma once

#include "host/codec_host.h"

#include <optional>

enum class PictureMatch {
    Same,
    Different,
    Damaged, ///< the frame cannot be decoded
};

/// Whether a layout is coded to a format without loss; alpha that the format has no place for aside.
bool IsLossless(const PixelLayout& layout, const CompressedFormat& format);

/// For a lossless pair a frame is decoded to the layout of the picture and compared with it. Where coding
/// converts colour or chroma on the way, what was coded is made a second time, by a run of its own with the
/// stream's record, and both frames are decoded and compared as planes.
class PictureCheck
{
  public:
    /// bitmapInfo  of the stream
    PictureCheck(DriverEntry entry, const CompressedFormat& format, std::span<const uint8_t> bitmapInfo,
                 const PixelLayout& layout, int width, int height);

    /// picture  tight, in the layout; frame  not empty
    PictureMatch Check(std::span<const uint8_t> picture, std::span<const uint8_t> frame);

  private:
    const PixelLayout* layout;
    bool ignoresAlpha;
    FrameDecompressor decoder;
    std::optional<FrameCompressor> secondCoder; ///< only with conversion
    std::optional<FrameDecompressor> secondDecoder;
    std::vector<uint8_t> decoded;
    std::vector<uint8_t> expected;
};
