// The reader's state of a BitStream in locals, for the length of one run over many look-ups.
#pragma once

#include "entropy/big_endian.h"
#include "entropy/bit_stream.h"
#include "entropy/decode_table.h"
#include "entropy/wide_decode_table.h"

#include <algorithm>
#include <bit>
#include <cstddef>

/// What a look-up stores: the symbols, in a word that the processor stores at once. They come first in a row.
template <class Row>
inline constexpr size_t kRowStoreBytes = std::bit_ceil(sizeof(Row::symbols));

/// The top bit of `bits` is bit 8 * cursor + count - 64 of the stream, with `cursor` counted from its start,
/// and the low `count` bits may be filled again. Four look-ups consume 48 bits at most, 57 are valid after
/// Refill.
class BitReader
{
  public:
    explicit BitReader(const BitStream& stream)
        : bits(stream.bits), count(stream.count), cursor(stream.cursor), end(stream.end)
    {}

    void Save(BitStream& stream) const
    {
        stream.bits = bits;
        stream.count = count;
        stream.cursor = cursor;
    }

    /// Loads up to the next whole byte, with zeros for what lies behind the end.
    ///
    /// A hole in the table adds 255 to `count` and leaves but one bit: `count` then exceeds 64, and the
    /// cursor jumps over what was not read, to the end at most. Which bits stand in the buffer after that is
    /// garbage out of a damaged frame, but the same garbage on every system.
    void Refill()
    {
        const auto left = static_cast<size_t>(end - cursor);
        if (left >= 8) [[likely]] {
            // Bits that the buffer already holds are or-ed over themselves: no mask is needed.
            bits |= LoadBigEndian64(cursor) >> ((64 - count) % 64);
            cursor += std::min(count / 8, left);
        } else {
            RefillByBytes();
        }
        count %= 8;
    }

    /// Looks up the next `tableBits` bits and stores the row's symbols at `out`: sizeof Row::symbols bytes or more
    /// (kRowStoreBytes) always, of which the result tells how many count.
    template <int tableBits, class Row>
    size_t LookUp(const Row* table, uint8_t* out)
    {
        const Row& row = table[bits >> (64 - tableBits)];
        const uint64_t bitCount = row.bitCount;
        const size_t symbolTotal = row.symbolTotal;
        std::memcpy(out, &row, kRowStoreBytes<Row>);
        count += bitCount;
        bits <<= bitCount % 64;
        return symbolTotal;
    }

  private:
    void RefillByBytes()
    {
        uint64_t shift = count;
        while (shift >= 8 && cursor < end) {
            shift -= 8;
            const uint64_t byte = *cursor++;
            if (shift < 64) // behind a hole bytes are passed over until the buffer is reached
                bits |= byte << shift;
        }
    }

    uint64_t bits;
    uint64_t count;
    uint8_t* cursor; ///< loaded from only
    const uint8_t* end;
};
