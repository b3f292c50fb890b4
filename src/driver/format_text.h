// The texts under which formats appear in log and tray.
#pragma once

#include "common/format_id.h"
#include "common/frame_header.h"
#include "platform/vfw.h"

#include <string>

namespace driver {

/// The name of a compressed format; "UNKNOWN" for ids without one.
/// matrix  as EffectiveMatrix gives it: 1 Rec.601, 2 Rec.709, others are not named
std::string CompressedFormatName(FormatId formatCode, bool fullRange, bool interlaced, uint32_t matrix);

/// The same from a configuration record.
std::string CompressedFormatName(const FrameHeader& record);

/// A header as query lines show it: format and size, as "YUY2 (640 x 480)". "N/A" for null.
std::string DescribeHeader(const BITMAPINFOHEADER* header);

/// The format of an uncompressed header, without its size; hasAlpha: its layout carries alpha.
std::string PictureFormatText(const BITMAPINFOHEADER& header, bool hasAlpha);

} // namespace driver
