#include "entropy/encode_table.h"

namespace entropy {

void FillPairTableScalar(const CodeEntry* codes, PairEntry* pairs, PairRange range)
{
    const auto wanted = [=](size_t symbol) { return range == PairRange::All || IsCoreSymbol(symbol); };
    for (size_t second = 0; second < 256; ++second)
        for (size_t first = 0; first < 256; ++first)
            if (wanted(first) && wanted(second))
                pairs[second * 256 + first] = {uint32_t{codes[first].code} << codes[second].length |
                                                   codes[second].code,
                                               uint32_t{codes[first].length} + codes[second].length};
}

} // namespace entropy
