// Reading the structure of a frame. A frame may come from anybody: nothing outside its bytes is read, and
// what the format lets it reach for beyond its end reads as zero. Free functions over bytes, without the
// codec's state.
#pragma once

#include "common/frame_header.h"
#include "core/block_info.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

/// What reading a frame gives.
enum class FrameStatus : int {
    Ok = 0,
    BadPlanes = -1,    ///< the picture's planes do not suit the output format
    ForeignFrame = -2, ///< the frame belongs to another stream or is of a later version
    DamagedFrame = -3, ///< the frame is short, or its structure or code lengths are unusable
};

namespace core {

using FrameBytes = std::span<const uint8_t>;

/// What a frame's own header says, after it has been held against the configuration record.
struct FrameStart {
    FrameStatus status;
    uint64_t tableOffset = 0; ///< of the offset table in the frame
    uint32_t blockHeight = 0; ///< the frame's own, or the configured one
};

/// Checks size and header. A frame without the magic is headerless: all fields come from the record.
FrameStart ParseFrameStart(FrameBytes frame, const FrameHeader& config);

/// Whether `blockCount` offsets lie inside the frame.
bool HasOffsetTable(FrameBytes frame, uint64_t tableOffset, uint64_t blockCount);

struct BlockRange {
    uint64_t offset; ///< in the frame; a block of no bytes may lie anywhere
    uint64_t size;
};

/// The bytes of block `index`; none when they do not lie inside the frame. The table lies inside
/// (HasOffsetTable).
std::optional<BlockRange> LocateBlock(FrameBytes frame, uint64_t tableOffset, uint64_t blockCount,
                                      uint64_t index);

/// Sets dataOffset and dataSize of every block. False when the table or a block does not lie inside the
/// frame.
bool LocateBlocks(FrameBytes frame, uint64_t tableOffset, std::span<BlockInfo> blocks);

/// The coders' ids and tables.
struct CoderSection {
    size_t coderCount;
    FrameBytes ids;    ///< one for each block
    FrameBytes tables; ///< all that follows, up to the frame's end
};

/// The coder section behind the offset table; none when count or ids lie beyond the frame's end.
std::optional<CoderSection> LocateCoders(FrameBytes frame, uint64_t tableOffset, uint64_t blockCount);

/// Reads the code lengths of all coders, the same number for each. False when a table is cut off.
bool ReadCodeLengths(const CoderSection& section, std::span<uint32_t> lengths);

/// Where the payload of a block starts that LocateBlocks has found: after its header, in the frame or at its
/// end.
size_t PayloadStart(FrameBytes frame, const BlockInfo& block);
/// The payload of such a block. Headers and ends outside the frame leave none.
FrameBytes PayloadOf(FrameBytes frame, const BlockInfo& block);

/// A byte of the frame, or zero where it has none.
inline uint8_t ByteAt(FrameBytes frame, uint64_t offset)
{
    return offset < frame.size() ? frame[offset] : uint8_t{0};
}

} // namespace core
