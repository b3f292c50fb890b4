// The state of an InBitStream in locals, for the length of one run over many look-ups.
#pragma once

#include "common/as_size.h"
#include "entropy/big_endian.h"
#include "entropy/bit_stream.h"
#include "entropy/decode_table.h"
#include "entropy/wide_decode_table.h"

#include <algorithm>
#include <bit>
#include <cstddef>

namespace entropy {

/// What a look-up stores: the symbols, in a word that the processor stores at once. They come first in a row.
template <class Row>
inline constexpr size_t kRowStoreBytes = std::bit_ceil(sizeof(Row::symbols));

/// The top bit of `bits` is bit 8 * cursor + count - 64 of the stream, with `cursor` counted from its start,
/// and the low `count` bits may be filled again:
///
///     bit 63                         count          0
///     |  next bits of the stream     |  to be filled |       bits
///                                     ^ the byte at `cursor` goes here
///
/// Refill fills whole bytes, which leaves at most 7 bits empty: 57 are valid. Example: 13 bits were consumed,
/// so that count is 13; the next byte is or-ed in as bits 12 to 5, the cursor moves by one byte and count
/// becomes 5.
class BitReader
{
  public:
    explicit BitReader(const InBitStream& stream)
        : bits(stream.bits), count(stream.count), cursor(stream.cursor), end(stream.end)
    {}

    void Save(InBitStream& stream) const
    {
        stream.bits = bits;
        stream.count = count;
        stream.cursor = cursor;
    }

    /// Loads up to the next whole byte; bits past the end read as zero.
    ///
    /// An unused code in the table adds 255 to `count` and leaves only one bit: `count` then exceeds 64, and
    /// the cursor jumps over what was not read, to the end at most. The bits in the buffer after that are
    /// garbage from a damaged frame, but the same garbage on every system.
    void Refill()
    {
        const size_t left = AsSize(end - cursor);
        if (left >= 8) [[likely]] {
            // Bits that the buffer already holds are or-ed over themselves: no mask is needed.
            bits |= LoadBigEndian64(cursor) >> ((64 - count) % 64);
            cursor += std::min(count / 8, left);
        } else {
            RefillByBytes();
        }
        count %= 8;
    }

    /// Looks up the next `tableBits` bits and stores the row's symbols at `out`: sizeof Row::symbols bytes or
    /// more (kRowStoreBytes) always; the return value says how many are valid.
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
            if (shift < 64) // after an unused code bytes are skipped until the buffer is reached
                bits |= byte << shift;
        }
    }

    uint64_t bits;
    uint64_t count;
    const uint8_t* cursor;
    const uint8_t* end;
};

} // namespace entropy
