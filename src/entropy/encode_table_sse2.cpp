#include "entropy/encode_table.h"

#include <emmintrin.h>

namespace entropy {

void FillPairTableSse2(const CodeEntry* codes, PairEntry* pairs, PairRange range)
{
    // The symbols from here to `gapEnd` are not wanted.
    const int gapStart = range == PairRange::All ? 256 : 64;
    const int gapEnd = range == PairRange::All ? 256 : 192;

    // Four first symbols in a vector. The second symbol is the same for a run of 256 rows, and with it the
    // shift.
    alignas(16) uint32_t firstCodes[256];
    alignas(16) uint32_t firstLengths[256];
    for (int symbol = 0; symbol < 256; ++symbol) {
        firstCodes[symbol] = codes[symbol].code;
        firstLengths[symbol] = codes[symbol].length;
    }
    for (int second = 0; second < 256; second = second + 1 == gapStart ? gapEnd : second + 1) {
        const __m128i shift = _mm_cvtsi32_si128(codes[second].length);
        const __m128i secondCode = _mm_set1_epi32(codes[second].code);
        const __m128i secondLength = _mm_set1_epi32(codes[second].length);
        for (int first = 0; first < 256; first = first + 4 == gapStart ? gapEnd : first + 4) {
            const __m128i firstCode = _mm_load_si128(reinterpret_cast<const __m128i*>(firstCodes + first));
            const __m128i firstLength =
                _mm_load_si128(reinterpret_cast<const __m128i*>(firstLengths + first));
            const __m128i code = _mm_or_si128(_mm_sll_epi32(firstCode, shift), secondCode);
            const __m128i length = _mm_add_epi32(firstLength, secondLength);
            auto* const out = reinterpret_cast<__m128i*>(pairs + second * 256 + first);
            _mm_storeu_si128(out, _mm_unpacklo_epi32(code, length));
            _mm_storeu_si128(out + 1, _mm_unpackhi_epi32(code, length));
        }
    }
}

} // namespace entropy
