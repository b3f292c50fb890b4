// Example: a table of 3 bits for A = 1, B = 01, C = 000 and no code 001. FillDecodeTable visits the codes
// from the highest down and writes an entry where the range of its values begins, and the parent's state
// after the range's end:
//
//     value                 000    001    010    011    100    101    110    111
//     A begins at 100                                   A 1
//       AA at 110, AAA at 111                                         AA 2   AAA 3
//       AB at 101                                              AB 3
//     B begins at 010                     B 2
//       BA at 011                                BA 3
//     C begins at 000       C 3
//     after C: no code             hole
//
// An entry that nothing was written to belongs to the one before it: where a code's tail has no room for
// another code, its values follow each other.
#include "entropy/decode_table.h"

#include <algorithm>
#include <cassert>

namespace entropy {

void FillDecodeTable(DecodeEntry parent, uint32_t prefix, std::span<const CodeRecord> records, int tableBits,
                     DecodeEntry* table)
{
    if (parent.symbolTotal == kMaxRowSymbols || parent.bitCount == tableBits)
        return;
    DecodeEntry behind = parent;
    if (behind.bitCount == 0)
        behind.bitCount = kHole;

    // From the highest code down, which is from the shortest length up. What lies behind a range was thus
    // visited before; codes that do not fit any more lie at the low end, where `parent` itself stands.
    for (auto record = records.rbegin(); record != records.rend(); ++record) {
        const int bitCount = parent.bitCount + static_cast<int>(record->length);
        if (bitCount > tableBits)
            break;
        const int shift = tableBits - bitCount;
        const uint32_t codes = prefix << record->length | record->code;
        const DecodeEntry row = {parent.symbols | record->symbol << (8 * parent.symbolTotal),
                                 static_cast<uint16_t>(bitCount),
                                 static_cast<uint16_t>(parent.symbolTotal + 1)};
        table[codes << shift] = row;
        DecodeEntry& next = table[(codes + 1) << shift];
        if (next.bitCount == 0)
            next = behind;
        FillDecodeTable(row, codes, records, tableBits, table);
    }
}

void BuildDecodeTable(std::span<const CodeRecord> records, int tableBits, DecodeEntry* table)
{
    assert(!records.empty() && static_cast<int>(records.front().length) <= tableBits &&
           records.front().code == 0);
    const size_t rows = DecodeTableRows(tableBits);
    std::fill_n(table, rows, DecodeEntry{});
    FillDecodeTable({}, 0, records, tableBits, table);
    for (size_t row = 1; row < rows - 1; ++row)
        if (table[row].bitCount == 0)
            table[row] = table[row - 1];
}

} // namespace entropy
