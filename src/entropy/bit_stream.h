// The state of one writer and of one reader of a bit stream. It lives on the stack of whoever codes one
// block; coders hold none of it, so that one coder serves any number of blocks at the same time.
//
// The stream: codes back to back, each with its most significant bit first; byte 0 takes the first eight
// bits, its bit 7 the very first; the last byte is filled up with zero bits. Nothing else is stored.
#pragma once

#include <cstddef>
#include <cstdint>

namespace entropy {

/// A stream that is being written.
struct OutBitStream {
    uint64_t bits;   ///< pending bits at the low end, stale ones above
    uint64_t count;  ///< bits that are not pending, 57 to 64
    uint8_t* cursor; ///< next byte to write
    uint8_t* begin;
    uint8_t* end; ///< of the area; writers do not look at it, assertions do
};

/// Symbols that a reader may have decoded ahead: less than a group asked for, one group on top. A group is 26
/// bytes at most.
inline constexpr size_t kScratchBytes = 64;

/// A stream that is being read.
struct InBitStream {
    uint64_t bits;         ///< next bit at the top
    uint64_t count;        ///< consumed bits of `bits`
    const uint8_t* cursor; ///< next byte to load
    const uint8_t* end;    ///< nothing is loaded from here on
    size_t scratchPos;     ///< symbols of `scratch` that were handed out
    size_t scratchCount;   ///< symbols held in `scratch`
    uint8_t scratch[kScratchBytes];
};

/// Starts a writer at `start`. Writers check no bounds: the area must hold 12 bits for each symbol and 8
/// bytes more, since stores are 8 bytes wide and may touch up to 8 bytes after what they fill.
void BitStreamInit(OutBitStream& stream, uint8_t* start, size_t size);

/// Starts a reader of the `size` bytes from `start` on. `size` may be 0.
void BitStreamInit(InBitStream& stream, const uint8_t* start, size_t size);

/// Ends a writer: flushes the pending bits into a last byte, the low end of which is zero.
/// Returns the bytes of the stream. On a byte boundary nothing is added.
size_t BitStreamFinish(OutBitStream& stream);

} // namespace entropy
