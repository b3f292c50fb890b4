// The writer's state of a BitStream in locals, for the length of one run over many codes.
#pragma once

#include "entropy/big_endian.h"
#include "entropy/bit_stream.h"
#include "entropy/shift_left.h"

/// Up to 63 bits, right-aligned; nothing stands above them.
struct BitRun {
    uint64_t bits;
    uint64_t length;
};

/// `first` with `second` behind it. Where that is more than 64 bits, which is no run, the length still tells so.
inline BitRun Join(BitRun first, BitRun second)
{
    return {ShiftLeft(first.bits, second.length) | second.bits, first.length + second.length};
}

/// Between calls of Store at most 64 bits are pending, behind it at most seven.
///
/// `bits` is never masked: what stands above the pending bits was stored before and falls off at the top. A
/// store writes eight bytes and moves on by whole ones only; the next store repeats the rest with more behind
/// it.
class BitWriter
{
  public:
    explicit BitWriter(const BitStream& stream)
        : bits(stream.bits), used(64 - stream.count), cursor(stream.cursor)
    {}

    /// Back to the stream; Store has been called since the last Append.
    void Save(BitStream& stream) const
    {
        stream.bits = bits;
        stream.count = 64 - used;
        stream.cursor = cursor;
    }

    void Append(BitRun run)
    {
        // The run's own shift and or come before it meets the pending bits, which the next run waits for.
        asm("" : "+r"(run.bits));
        bits = ShiftLeft(bits, run.length) | run.bits;
        used += run.length;
    }

    /// Needs a pending bit at least.
    void Store()
    {
        StoreBigEndian64(cursor, ShiftLeft(bits, 64 - used));
        cursor += used / 8;
        used %= 8;
    }

    /// Appends two runs of at most 57 bits each and stores: once if both fit, which is the rule.
    void AppendAndStore(BitRun first, BitRun second)
    {
        // What does not fit is joined in vain, but what fits needs no second sum of the lengths.
        const BitRun both = Join(first, second);
        if (used + both.length < 64) [[likely]] {
            Append(both);
        } else {
            Append(first);
            Store();
            Append(second);
        }
        Store();
    }

  private:
    uint64_t bits;
    uint64_t used; ///< pending bits
    uint8_t* cursor;
};
