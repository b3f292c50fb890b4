#include "entropy/decode_table.h"

#include <algorithm>

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
    const int rows = DecodeTableRows(tableBits);
    std::fill_n(table, rows, DecodeEntry{});
    FillDecodeTable({}, 0, records, tableBits, table);
    for (int row = 1; row < rows - 1; ++row)
        if (table[row].bitCount == 0)
            table[row] = table[row - 1];
}
