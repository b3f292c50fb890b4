// The row of a value is the row of what is left behind its first code, with that code's symbol in front. So the table
// is made of smaller ones: where n bits are left, the rows are those of the table of n bits, all changed alike. Codes
// rise with the value, and as the longest are the lowest, values with no room for any code are the low end.

#include "entropy/wide_decode_table.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace {

constexpr int kMaxTableBits = 12;
constexpr int kMaxSymbols = 256;

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
    std::array<uint32_t, kMaxSymbols> lengths{};
    std::array<WideRow, (size_t{1} << kMaxTableBits) - 1> smaller;
};

} // namespace

bool BuildWideTable(std::span<const CodeRecord> records, int tableBits, WideRow* table)
{
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
