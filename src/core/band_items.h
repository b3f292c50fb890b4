// How the bands of a picture are shared out to threads.
#pragma once

#include "core/block_list.h"
#include "entropy/interleaved_decode.h"

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace core {

/// Bands that one thread decodes interleaved: as many as the entropy stage has lanes, and few enough that
/// their planes stay in a processor's cache until they are joined.
inline constexpr size_t kMaxBandsPerItem = entropy::kDecodeLanes;

/// All bands in work items of adjacent bands. Their sizes differ by one at most: bands that are decoded
/// interleaved help each other, so that a small work item would cost more than its share. The larger ones
/// come first: threads that take turns then finish as evenly as can be.
struct BandItems {
    size_t bands;
    size_t count;

    size_t Largest() const { return count == 0 ? 0 : (bands + count - 1) / count; }
    BandRange Of(size_t item) const
    {
        assert(item < count);
        return {Begin(item), Begin(item + 1)};
    }

  private:
    size_t Begin(size_t item) const { return item * (bands / count) + std::min(item, bands % count); }
};

constexpr size_t FewestItems(size_t bands)
{
    return (bands + kMaxBandsPerItem - 1) / kMaxBandsPerItem;
}

/// The smallest number of work items, but one for each thread if there are so many bands.
constexpr BandItems LargeItems(size_t bands, size_t threads)
{
    return {bands, std::max(FewestItems(bands), std::min(bands, threads))};
}

/// The smallest number of work items that gives each thread the same number, if there are so many bands.
constexpr BandItems EvenItems(size_t bands, size_t threads)
{
    assert(threads > 0);
    return {bands, std::min(bands, (FewestItems(bands) + threads - 1) / threads * threads)};
}

} // namespace core
