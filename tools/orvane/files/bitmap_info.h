// Bitmap header and configuration record of a stream, put right where other tools have rewritten them.
#pragma once

#include "common/frame_header.h"
#include "files/avi_reader.h"

#include <optional>
#include <string>
#include <vector>

/// The record behind the bitmap header; nothing when there is none.
std::optional<FrameHeader> RecordIn(const std::vector<uint8_t>& bitmapInfo);

/// What a codec can use: the header's own size takes in the record (tools rewrite it to 40), and the
/// compression is a FourCC of ours in capitals. A chunk that is longer than its record says is cut to the
/// record. bitmapInfo  has a record handler     of the stream, where the header's compression is none of ours
std::vector<uint8_t> PutRight(std::vector<uint8_t> bitmapInfo, uint32_t handler);

/// PutRight, with the record that the frames carry where there is none or where it does not fit them, and
/// with width, height and FourCC as the record says. changes  takes a line for each thing that was wrong
/// Throws ToolError when neither the stream nor a frame has a usable record.
std::vector<uint8_t> RebuildBitmapInfo(const ByteSource& source, const AviFile& file, const std::string& name,
                                       std::vector<std::string>& changes);
