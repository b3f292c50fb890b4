// Sizes of the parts of a frame that both its writer and its reader count with.
#pragma once

#include <cstddef>
#include <cstdint>

namespace core {

/// A block's header ahead of its payload: flags and predictor.
inline constexpr size_t kBlockHeaderBytes = 2;
/// Zeros after the last block, so that a reader that loads whole words finds nothing odd.
inline constexpr size_t kTailBytes = 15;

/// Bytes of the offset table of so many blocks.
constexpr uint64_t OffsetTableBytes(uint64_t blockCount)
{
    return sizeof(uint32_t) * (blockCount + 1);
}

/// The size of a frame whose last block ends at `end`: tail included, and even. At an even end the last byte
/// is one after the zeros.
constexpr uint64_t FrameSize(uint64_t end)
{
    return (end + kTailBytes + 1) & ~uint64_t{1};
}

} // namespace core
