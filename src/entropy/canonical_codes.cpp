#include "entropy/canonical_codes.h"

#include <cassert>
#include <cstddef>

namespace entropy {

namespace {

constexpr int kMaxLimit = 31;

} // namespace

bool BuildCanonicalCodes(size_t count, const uint32_t* lengths, int limit, CodeRecord* records)
{
    assert(limit >= 0);
    if (limit > kMaxLimit)
        return false;
    uint32_t symbolsOf[kMaxLimit + 1] = {};
    for (size_t symbol = 0; symbol < count; ++symbol) {
        if (lengths[symbol] < 1 || lengths[symbol] > static_cast<uint32_t>(limit))
            return false;
        ++symbolsOf[lengths[symbol]];
    }

    auto maxLength = static_cast<uint32_t>(limit);
    while (maxLength > 0 && symbolsOf[maxLength] == 0)
        --maxLength;

    // `last` is the highest value in use among codes of the current length and prefixes of longer ones.
    // It starts one below 0, so that the longest codes start at 0.
    uint32_t place[kMaxLimit + 1] = {};    // of the next record of a length
    uint32_t nextCode[kMaxLimit + 1] = {}; // its code
    uint32_t placed = 0;
    uint32_t last = ~uint32_t{0};
    for (uint32_t length = maxLength; length >= 1; --length) {
        place[length] = placed;
        placed += symbolsOf[length];
        nextCode[length] = last + 1;
        last += symbolsOf[length];
        if (uint32_t{1} << length <= last)
            return false;
        last >>= 1;
    }

    for (size_t symbol = 0; symbol < count; ++symbol) {
        const uint32_t length = lengths[symbol];
        records[place[length]++] = {static_cast<uint32_t>(symbol), length, nextCode[length]++};
    }
    return true;
}

} // namespace entropy
