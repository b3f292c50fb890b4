// The state of an OutBitStream in locals, for the length of one run over many codes.
#pragma once

#include "common/compiler.h"
#include "entropy/big_endian.h"
#include "entropy/bit_stream.h"
#include "entropy/code_limits.h"

#include <cassert>

namespace entropy {

/// Up to 63 bits, right-aligned, with zeros above them.
struct BitRun {
    uint64_t bits;
    uint32_t length;
};

/// `first` followed by `second`. Where that is more than 64 bits, it is no run; the length still says so.
inline BitRun Join(BitRun first, BitRun second)
{
    return {ShiftLeft(first.bits, second.length) | second.bits, first.length + second.length};
}

/// Between calls of Store at most 64 bits are pending, after it at most seven.
///
///     bit 63                         used                  0
///     |  stored before, stale        |  pending, oldest first |      bits
///
/// `bits` is never masked: bits above the pending ones are already stored. A store turns the pending ones to
/// the top and writes eight bytes, the stale ones after them, but advances past complete bytes of pending
/// ones only; the next store, or the end of the stream, writes the rest again. Example: 13 pending bits p0 ..
/// p12; the store writes p0 .. p7, then p8 .. p12 and 51 stale bits. The cursor moves by one byte and 5 bits
/// stay pending.
class BitWriter
{
  public:
    explicit BitWriter(const OutBitStream& stream)
        : bits(stream.bits), used(static_cast<uint32_t>(64 - stream.count)), cursor(stream.cursor)
    {}

    /// Back to the stream; Store has been called since the last Append.
    void Save(OutBitStream& stream) const
    {
        stream.bits = bits;
        stream.count = 64 - used;
        stream.cursor = cursor;
    }

    void Append(BitRun run)
    {
        // The run's own shift and or come before it meets the pending bits, which the next run waits for.
        assert(used + run.length <= kWordBits);
        HideValue(run.bits);
        bits = ShiftLeft(bits, run.length) | run.bits;
        used += run.length;
    }

    /// Whether Append takes the run.
    bool Fits(BitRun run) const { return used + run.length < kWordBits; }

    void Store()
    {
        assert(used <= kWordBits);
        StoreBigEndian64(cursor, RotateRight(bits, used));
        cursor += used / 8;
        used %= 8;
    }

    /// Appends two runs of at most 57 bits each and stores: once if both fit, which is the rule.
    void AppendAndStore(BitRun first, BitRun second)
    {
        assert(first.length <= kWordBits - 7 && second.length <= kWordBits - 7);
        // What does not fit is joined in vain, but what fits needs no second sum of the lengths.
        const BitRun both = Join(first, second);
        if (Fits(both)) [[likely]] {
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
    uint32_t used; ///< pending bits
    uint8_t* cursor;
};

} // namespace entropy
