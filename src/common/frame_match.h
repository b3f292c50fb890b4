// By which rules a reader takes a frame of a stream.
#pragma once

#include "common/frame_header.h"

#include <cstdint>

/// A frame may have this many blocks, over all planes, and no more.
inline constexpr uint64_t kMaxBlocks = uint64_t{1} << 20;

/// In what a frame header contradicts the configuration record of its stream.
enum class HeaderMismatch : uint8_t { None, Version, Format, Size, Coding, Colour };

/// The first contradiction. Frames of older versions may be in a stream of this one.
inline HeaderMismatch FindMismatch(const FrameHeader& frame, const FrameHeader& record)
{
    constexpr uint32_t kCompared = kFlagInterlaced | kFlagFullRange;
    if (frame.version > kFrameVersion)
        return HeaderMismatch::Version;
    if (frame.formatCode != record.formatCode)
        return HeaderMismatch::Format;
    if (frame.width != record.width || frame.height != record.height)
        return HeaderMismatch::Size;
    if (frame.maxCodeLength != record.maxCodeLength || StoredCoderType(frame) != StoredCoderType(record))
        return HeaderMismatch::Coding;
    if ((frame.flags & kCompared) != (record.flags & kCompared) ||
        EffectiveMatrix(frame.formatCode, frame.colorMatrix) !=
            EffectiveMatrix(record.formatCode, record.colorMatrix))
        return HeaderMismatch::Colour;
    return HeaderMismatch::None;
}
