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

/// Fills the rows of every two symbols. The row of `first` and `second`, in stream order, stands at
/// second * 256 + first: their two bytes read as one little-endian number.
/// codes  256 codes of 12 bits at most
/// pairs  kPairRows rows
void FillPairTableScalar(const CodeEntry* codes, PairEntry* pairs); // the meaning
void FillPairTableSse2(const CodeEntry* codes, PairEntry* pairs);
inline constexpr auto FillPairTable = kScalarOnly ? FillPairTableScalar : FillPairTableSse2;

struct PairTableForm {
    const char* name;
    void (*run)(const CodeEntry* codes, PairEntry* pairs);
};
/// All forms of one meaning, reference first.
inline constexpr PairTableForm kFillPairTableForms[] = {{"scalar", FillPairTableScalar},
                                                        {"sse2", FillPairTableSse2}};
