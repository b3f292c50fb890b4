// The table of the fast reader: one look-up of 12 bits gives up to six symbols.
#pragma once

#include "entropy/canonical_codes.h"

#include <cstdint>
#include <span>

namespace entropy {

inline constexpr int kWideRowSymbols = 6;

/// As DecodeEntry, in the same eight bytes: a reader stores the row whole, of which the symbols come first,
/// and loads the two counts as bytes. Loads are cheap; the shifts that would take a word apart are what
/// readers wait for.
struct WideRow {
    uint8_t symbols[kWideRowSymbols]; ///< unused ones are zero
    uint8_t bitCount;                 ///< 1 to 12
    uint8_t symbolTotal;              ///< 1 to 6
};
static_assert(sizeof(WideRow) == 8);

/// Builds the table: for each value of `tableBits` bits the parse of its bits from left to right as far as
/// whole codes fit, at most six. Only a code that uses its whole code space has such a table, in which every
/// row is valid; for another the result is false and `table` is left alone.
/// records  as BuildCanonicalCodes leaves them, one at least, none longer than `tableBits`
/// table    1 << tableBits rows
bool BuildWideTable(std::span<const CodeRecord> records, int tableBits, WideRow* table);

} // namespace entropy
