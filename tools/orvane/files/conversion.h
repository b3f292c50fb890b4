// What pictures lose on their way into a compressed format of another kind.
#pragma once

#include "files/pixel_layout.h"
#include "files/video_stream.h"

#include <string>

/// What changes when pictures of a layout are compressed to a format: "colour, chroma subsampled, alpha
/// dropped". Empty when every sample is kept.
std::string ConversionOf(const PixelLayout& layout, const CompressedFormat& format);

/// The same as encode has noted it in a file. Empty when the file does not say: nothing was lost, or another
/// program wrote it.
std::string StoredConversion(const VideoStream& stream);
