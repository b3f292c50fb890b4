// The table is filled by ranges. All values that begin with the same codes are neighbours, and as the longest
// codes are the lowest, those with no room for a further code are the low end of their parent's range.

#include "entropy/wide_decode_table.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

namespace {

constexpr int kMaxTableBits = 12;

/// A row as one number: the symbol goes into its place, and both counts grow, without a store in between.
WideRow Append(const WideRow& row, const CodeRecord& code)
{
    auto word = std::bit_cast<uint64_t>(row);
    word |= uint64_t{code.symbol} << (8 * row.symbolTotal);
    word += (uint64_t{code.length} << 48) + (uint64_t{1} << 56);
    return std::bit_cast<WideRow>(word);
}
static_assert(offsetof(WideRow, bitCount) == 6 && offsetof(WideRow, symbolTotal) == 7);

class WideTableBuilder
{
  public:
    WideTableBuilder(std::span<const CodeRecord> codes, int tableBits) : records(codes)
    {
        // Lengths fall with the index, so that the codes of at most `room` bits are a tail of the list.
        size_t index = 0;
        for (int room = tableBits; room >= 0; --room) {
            while (index < records.size() && static_cast<int>(records[index].length) > room)
                ++index;
            firstFitting[static_cast<size_t>(room)] = index;
        }
    }

    /// Fills the 1 << room rows from `at` on, whose values all begin with the codes of `parent`; `room` bits are left
    /// behind them.
    void Fill(const WideRow& parent, int room, WideRow* at) const
    {
        const size_t first = firstFitting[static_cast<size_t>(room)];
        if (parent.symbolTotal == kWideRowSymbols || first == records.size()) {
            std::fill_n(at, size_t{1} << room, parent);
            return;
        }
        // Values below the first code that fits have no room for their code.
        const auto uncovered = size_t{records[first].code}
                               << (room - static_cast<int>(records[first].length));
        at = std::fill_n(at, uncovered, parent);
        const int shortest = static_cast<int>(records.back().length);
        for (size_t i = first; i < records.size(); ++i) {
            const int left = room - static_cast<int>(records[i].length);
            const WideRow child = Append(parent, records[i]);
            // Most codes leave no room for another.
            if (left < shortest)
                at = std::fill_n(at, size_t{1} << left, child);
            else {
                Fill(child, left, at);
                at += size_t{1} << left;
            }
        }
    }

  private:
    std::span<const CodeRecord> records;
    std::array<size_t, kMaxTableBits + 1> firstFitting{};
};

} // namespace

bool BuildWideTable(std::span<const CodeRecord> records, int tableBits, WideRow* table)
{
    size_t covered = 0;
    for (const CodeRecord& record : records)
        covered += size_t{1} << (tableBits - static_cast<int>(record.length));
    if (covered != size_t{1} << tableBits)
        return false;
    WideTableBuilder(records, tableBits).Fill({}, tableBits, table);
    return true;
}
