#include "entropy/count_symbols.h"

#include <cassert>
#include <cstddef>

namespace entropy {

void CountSymbols(const uint8_t* plane, int width, int height, int pitch, uint64_t* frequencies)
{
    assert(width >= 0 && height >= 0);
    // Residuals cluster around 0. With one histogram for each of four neighbours, equal ones do not wait for
    // each other's store to the same counter.
    uint32_t histograms[4][256] = {};
    for (int y = 0; y < height; ++y) {
        const uint8_t* const row = plane + static_cast<ptrdiff_t>(pitch) * y;
        int x = 0;
        for (; x + 16 <= width; x += 16) {
            ++histograms[0][row[x]];
            ++histograms[1][row[x + 4]];
            ++histograms[2][row[x + 8]];
            ++histograms[3][row[x + 12]];
        }
        for (; x < width; x += 4)
            ++histograms[0][row[x]];
    }
    for (int symbol = 0; symbol < 256; ++symbol)
        frequencies[symbol] = uint64_t{histograms[0][symbol]} + histograms[1][symbol] +
                              histograms[2][symbol] + histograms[3][symbol];
}

} // namespace entropy
