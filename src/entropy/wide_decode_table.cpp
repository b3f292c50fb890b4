// The entry of a value is the entry of the bits after its first code, with that code's symbol in front. So a
// table is made of smaller ones: where n bits are left, the entries are those of the table of n bits, all
// changed alike. Codes ascend with the value, and as the longest are the lowest, values with no room for any
// code are the low end.
//
// Example: lengths 1, 2, 3, 3 for A, B, C, D give C = 000, D = 001, B = 01, A = 1. With up to two symbols per
// entry, and
// "-" for an entry without a symbol, the tables of 0 to 3 bits are
//
//     bits left    values     entries
//     0                       -
//     1            0 1        -   A                             "0" has room for no code
//     2            00 .. 11   -   B   A-  AA                    the tails of A are the table of 1 bit
//     3            000 .. 111 C   D   B-  BA  A-- AB  AA  AA    those of B the table of 1, those of A the
//     table of 2
//
// "A-" is A followed by a tail that has no room for a code. Entry 011 (BA) consumes 3 bits and entry 100 (A)
// only 1; entry 111 would be AAA, cut to two symbols it consumes 2 bits.

#include "entropy/wide_decode_table.h"

#include "entropy/code_limits.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstddef>
#include <cstring>

namespace entropy {

namespace {

/// A row as one number. Symbols move up by a byte without a store in between.
using RowWord = uint64_t;
static_assert(std::endian::native == std::endian::little && sizeof(RowWord) == sizeof(WideRow) &&
              offsetof(WideRow, bitCount) == 6 && offsetof(WideRow, symbolTotal) == 7);
constexpr int kLastSymbolShift = 40;
constexpr int kBitCountShift = 48;
constexpr int kTotalShift = 56;
constexpr RowWord kSymbolBits = (RowWord{1} << kBitCountShift) - 1;

class WideTableBuilder
{
  public:
    explicit WideTableBuilder(std::span<const CodeRecord> codes) : records(codes)
    {
        for (const CodeRecord& record : records)
            lengths[record.symbol] = record.length;
    }

    /// Fills the rows of all values of `bits` bits; the smaller tables that they need must be there.
    void Fill(int bits, WideRow* at) const
    {
        // Lengths fall with the index, so that the codes that fit are a tail of the list.
        const auto fitting = std::ranges::partition_point(
            records, [&](const CodeRecord& record) { return static_cast<int>(record.length) > bits; });
        size_t uncovered = size_t{1} << bits;
        if (fitting != records.end())
            uncovered = size_t{fitting->code} << (bits - static_cast<int>(fitting->length));
        at = std::fill_n(at, uncovered, WideRow{});
        for (auto record = fitting; record != records.end(); ++record)
            at = Prepend(*record, bits - static_cast<int>(record->length), at);
    }

    /// The table of `bits` bits among the smaller ones, which are made from the smallest up.
    WideRow* Smaller(int bits) { return smaller.data() + (size_t{1} << bits) - 1; }

  private:
    /// The rows of the table of `left` bits with a symbol in front.
    WideRow* Prepend(const CodeRecord& code, int left, WideRow* at) const
    {
        const size_t count = size_t{1} << left;
        const WideRow* const tails = smaller.data() + count - 1;
        const RowWord front =
            (RowWord{1} << kTotalShift) + (RowWord{code.length} << kBitCountShift) + code.symbol;
        // A tail can be full already where six of the shortest codes fit into its bits.
        if (static_cast<int>(records.back().length) * kWideRowSymbols <= left)
            for (size_t i = 0; i < count; ++i)
                Store(at + i, Joined(front, WithRoom(Load(tails + i))));
        else
            for (size_t i = 0; i < count; ++i)
                Store(at + i, Joined(front, Load(tails + i)));
        return at + count;
    }

    static RowWord Joined(RowWord front, RowWord tail)
    {
        return (tail << 8 & kSymbolBits) + (tail & ~kSymbolBits) + front;
    }

    /// The row, if full with the counts of its last symbol taken off: Joined shifts the symbol out.
    RowWord WithRoom(RowWord row) const
    {
        const auto last = static_cast<uint8_t>(row >> kLastSymbolShift);
        const RowWord counts = (RowWord{1} << kTotalShift) + (RowWord{lengths[last]} << kBitCountShift);
        return row - (row >> kTotalShift == kWideRowSymbols ? counts : 0);
    }

    static RowWord Load(const WideRow* row)
    {
        RowWord word;
        std::memcpy(&word, row, sizeof word);
        return word;
    }
    static void Store(WideRow* row, RowWord word) { std::memcpy(row, &word, sizeof word); }

    std::span<const CodeRecord> records;
    std::array<uint32_t, kSymbols> lengths{};
    std::array<WideRow, (size_t{1} << kTableBits) - 1> smaller;
};

} // namespace

bool BuildWideTable(std::span<const CodeRecord> records, int tableBits, WideRow* table)
{
    assert(!records.empty() && records.size() <= kSymbols);
    assert(tableBits <= kTableBits && static_cast<int>(records.front().length) <= tableBits);
    size_t covered = 0;
    for (const CodeRecord& record : records)
        covered += size_t{1} << (tableBits - static_cast<int>(record.length));
    if (covered != size_t{1} << tableBits)
        return false;
    WideTableBuilder builder(records);
    for (int bits = 0; bits <= tableBits - static_cast<int>(records.back().length); ++bits)
        builder.Fill(bits, builder.Smaller(bits));
    builder.Fill(tableBits, table);
    return true;
}

} // namespace entropy
