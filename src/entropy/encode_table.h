// The tables of the writer: the code of each symbol, and the joined codes of every two symbols.
#pragma once

#include "common/vector_level.h"

#include <cstddef>
#include <cstdint>

namespace entropy {

struct CodeEntry {
    uint16_t code; ///< right-aligned
    uint16_t length;
};

/// Two codes joined, the first symbol's in front: 24 bits at most.
struct PairEntry {
    uint32_t code; ///< right-aligned
    uint32_t length;
};

inline constexpr size_t kPairRows = 65536;

/// Which rows of a pair table are filled: all, or a quarter of them, those of two symbols of the core. The
/// core is the residuals from -64 to 63, which are nearly all that there are in a picture.
enum class PairRange { All, Core };

constexpr bool IsCoreSymbol(size_t symbol)
{
    return symbol < 64 || symbol >= 192;
}

/// The length in rows of a pair table that are not filled: no run of codes with such a row fits a word.
inline constexpr uint32_t kUnfilledLength = 64;

/// Fills the entries of every two symbols of the range. The entry of `first` and `second`, in stream order,
/// has index second * 256 + first: their two bytes read as one little-endian number. Other entries are left
/// alone.
/// codes  256 codes of 12 bits at most
/// pairs  kPairRows entries
using PairTableKernel = void(const CodeEntry* codes, PairEntry* pairs, PairRange range);
PairTableKernel FillPairTableScalar, FillPairTableSse2;

struct PairTableImplementation {
    const char* name;
    PairTableKernel* run;
};
inline constexpr PairTableImplementation kPairTableImplementations[] = {
    {"scalar", FillPairTableScalar},
#ifdef ORVANE_SSE2
    {"sse2", FillPairTableSse2},
#endif
};
inline constexpr auto FillPairTable = Fastest(kPairTableImplementations).run;

} // namespace entropy
