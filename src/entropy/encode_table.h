// The tables of the writer: the code of each symbol, and the joined codes of every two symbols.
#pragma once

#include "common/vector_level.h"

#include <cstdint>

struct CodeEntry {
    uint16_t code; ///< right-aligned
    uint16_t length;
};

/// Two codes joined, the first symbol's in front: 24 bits at most.
struct PairEntry {
    uint32_t code; ///< right-aligned
    uint32_t length;
};

inline constexpr int kPairRows = 65536;

/// Which rows of a pair table are filled: all, or a quarter of them, those of two symbols of the core. The core
/// is the residuals from -64 to 63, which are nearly all that there are in a picture.
enum class PairRange { All, Core };

inline constexpr bool IsCoreSymbol(int symbol)
{
    return symbol < 64 || symbol >= 192;
}

/// Whether all eight symbols are of the core: bits 7 and 6 of each are equal.
inline bool AreCoreSymbols(uint64_t eightSymbols)
{
    return ((eightSymbols ^ eightSymbols << 1) & 0x8080808080808080) == 0;
}

/// Fills the rows of every two symbols of the range. The row of `first` and `second`, in stream order, stands at
/// second * 256 + first: their two bytes read as one little-endian number. Other rows are left alone.
/// codes  256 codes of 12 bits at most
/// pairs  kPairRows rows
void FillPairTableScalar(const CodeEntry* codes, PairEntry* pairs, PairRange range); // the meaning
void FillPairTableSse2(const CodeEntry* codes, PairEntry* pairs, PairRange range);
inline constexpr auto FillPairTable = kScalarOnly ? FillPairTableScalar : FillPairTableSse2;

struct PairTableForm {
    const char* name;
    void (*run)(const CodeEntry* codes, PairEntry* pairs, PairRange range);
};
/// All forms of one meaning, reference first.
inline constexpr PairTableForm kFillPairTableForms[] = {{"scalar", FillPairTableScalar},
                                                        {"sse2", FillPairTableSse2}};
