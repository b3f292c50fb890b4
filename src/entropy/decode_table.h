// The table of the reader: one look-up of 12 bits gives up to four symbols.
#pragma once

#include "entropy/canonical_codes.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace entropy {

/// A row answers for one value of the next bits of a stream: as many whole codes as fit into them, at most
/// four.
struct DecodeEntry {
    uint32_t symbols;     ///< the first symbol in the low byte, the next one above it; unused bytes are zero
    uint16_t bitCount;    ///< bits that the symbols consume; kHole where no code begins
    uint16_t symbolTotal; ///< 1 to 4; 0 in a hole
};

inline constexpr uint16_t kHole = 255;
inline constexpr int kMaxRowSymbols = 4;

/// The rows of a table, with one behind the last that only takes a mark while the table is built.
constexpr size_t DecodeTableRows(int tableBits)
{
    return (size_t{1} << tableBits) + 1;
}

/// Writes the rows of all codes that can follow `parent`, a row in the making, and of all that can follow
/// those. A row stands where the range of its values begins; behind each range stands the parent's state,
/// unless a row is there already, so that what no code covers is the parent's. Rows that stay untouched
/// belong to the row before them.
/// parent     {0, 0, 0} at the outset
/// prefix     the codes of `parent`, joined
/// records    all codes, by rising code; none longer than `tableBits`
/// table      DecodeTableRows(tableBits) rows with `bitCount` 0 at the outset
void FillDecodeTable(DecodeEntry parent, uint32_t prefix, std::span<const CodeRecord> records, int tableBits,
                     DecodeEntry* table);

/// Builds the whole table: for each value the parse of its bits from left to right as far as whole codes fit.
/// Row 0 is never a hole: all-zero bits are the longest code's first symbol.
/// records  as BuildCanonicalCodes leaves them, one at least
/// table    DecodeTableRows(tableBits) rows, of any contents
void BuildDecodeTable(std::span<const CodeRecord> records, int tableBits, DecodeEntry* table);

} // namespace entropy
