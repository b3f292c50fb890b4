#include "entropy/count_symbols.h"

#include <cassert>
#include <cstddef>

namespace entropy {

void CountSymbols(const uint8_t* plane, int width, int height, int pitch, uint64_t* frequencies)
{
    assert(width >= 0 && height >= 0);
    SymbolCounter counter;
    for (int y = 0; y < height; ++y)
        counter.AddRow(plane + static_cast<ptrdiff_t>(pitch) * y, 0, width);
    counter.AddTo(frequencies);
}

} // namespace entropy
