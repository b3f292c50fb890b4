// The state of one writer or one reader of a bit stream. It lives on the stack of whoever codes one block;
// coders hold none of it, so that one coder serves any number of blocks at the same time.
//
// The stream: codes one behind the other, each with its most significant bit first; byte 0 takes the first
// eight bits, its bit 7 the very first; the last byte is filled up with zero bits. Nothing else is stored.
#pragma once

#include <cstdint>

/// Symbols that a reader may have decoded ahead: less than a group asked for, one group on top. A group is 26
/// bytes at most.
inline constexpr int kScratchBytes = 64;

struct BitStream {
    uint64_t bits;   ///< writer: pending bits at the low end, stale ones above; reader: next bit at the top
    uint64_t count;  ///< writer: bits that are not pending, 57 to 64; reader: consumed bits of `bits`
    uint8_t* cursor; ///< next byte to write or to load
    uint8_t* begin;
    uint8_t* end;          ///< a reader never loads from here on; a writer does not look at it
    uint64_t scratchPos;   ///< reader: symbols of `scratch` that were handed out
    uint64_t scratchCount; ///< reader: symbols held in `scratch`
    uint8_t scratch[kScratchBytes];
};

/// Starts a writer at `start`. Writers check no bounds: the area must hold 12 bits for each symbol and 8
/// bytes more, since stores are 8 bytes wide and may touch up to 8 bytes behind what they fill.
void BitStreamInit(BitStream& stream, uint8_t* start, uint64_t size);

/// Starts a reader of the `size` bytes from `start` on, which it never writes to. `size` may be 0.
void BitStreamInit(BitStream& stream, const uint8_t* start, uint64_t size);

/// Ends a writer: flushes the pending bits into a last byte, the low end of which is zero.
/// Returns the bytes of the stream. On a byte boundary nothing is added.
int64_t BitStreamFinish(BitStream& stream);
