// The table is filled by ranges. All values that begin with the same codes are neighbours, and as the longest
// codes are the lowest, those with no room for a further code are the low end of their parent's range.

#include "entropy/wide_decode_table.h"

#include <algorithm>
#include <array>

namespace {

constexpr int kMaxTableBits = 12;

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

    /// Fills the 1 << room rows from `at` on, whose values all begin with the codes of `parent`; `room` bits
    /// are left behind them.
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
        for (size_t i = first; i < records.size(); ++i) {
            const auto length = static_cast<int>(records[i].length);
            WideRow child = parent;
            child.symbols[child.symbolTotal++] = static_cast<uint8_t>(records[i].symbol);
            child.bitCount = static_cast<uint8_t>(child.bitCount + length);
            Fill(child, room - length, at);
            at += size_t{1} << (room - length);
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
