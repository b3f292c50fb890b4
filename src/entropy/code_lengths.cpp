// Package-merge, told from the selection's end. Each symbol is a coin on each of `limit` levels. A level's
// list is the sorted coins merged with packages, which are the pairs of the list before; an odd last node
// finds no partner and is dropped. The length of a symbol is the number of its coins that end up inside the
// last list.
//
// What is kept of a list is always its front: the packages kept of one level are a prefix of all its
// packages, so that exactly the first two nodes for each of them are kept on the level before. Hence no tree
// is built: for each level it is enough to know how many coins there are among its first n nodes, and one
// walk back from the last level turns that into lengths.
#include "entropy/code_lengths.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <limits>

namespace {

constexpr uint64_t kEndOfList = std::numeric_limits<uint64_t>::max();

/// The order among equal weights is whatever std::sort makes of the symbol order. It shows in the lengths, so
/// that another sort, a stable one too, would make other frames of the same pictures.
void SortCoins(size_t count, const uint64_t* frequencies, CodeLengthWork& work)
{
    work.coins.resize(count);
    for (size_t symbol = 0; symbol < count; ++symbol)
        work.coins[symbol] = {frequencies[symbol], static_cast<uint32_t>(symbol)};
    std::sort(
        work.coins.begin(), work.coins.end(),
        [](const CodeLengthWork::Coin& a, const CodeLengthWork::Coin& b) { return a.weight < b.weight; });

    work.coinWeights.resize(count + 1);
    std::ranges::transform(work.coins, work.coinWeights.begin(), &CodeLengthWork::Coin::weight);
    work.coinWeights[count] = kEndOfList;
}

/// Pairs the first `size` nodes (rounded down to even) of the list; returns the number of packages.
size_t MakePackages(size_t size, CodeLengthWork& work)
{
    const size_t packageCount = size / 2;
    for (size_t i = 0; i < packageCount; ++i)
        work.packages[i] = work.list[2 * i] + work.list[2 * i + 1];
    work.packages[packageCount] = kEndOfList;
    return packageCount;
}

/// Merges coins and packages into the list. On a tie the coin goes first.
void MergeLevel(size_t size, uint16_t* coinsBefore, CodeLengthWork& work)
{
    const uint64_t* const coins = work.coinWeights.data();
    const uint64_t* const packages = work.packages.data();
    uint64_t* const list = work.list.data();
    size_t coin = 0;
    coinsBefore[0] = 0;
    for (size_t node = 0; node < size; ++node) {
        const uint64_t coinWeight = coins[coin];
        const uint64_t packageWeight = packages[node - coin];
        const bool takeCoin = packageWeight >= coinWeight;
        list[node] = takeCoin ? coinWeight : packageWeight;
        coin += takeCoin;
        coinsBefore[node + 1] = static_cast<uint16_t>(coin);
    }
}

} // namespace

void ComputeCodeLengths(int count, const uint64_t* frequencies, int limit, uint32_t* lengths,
                        CodeLengthWork& work)
{
    assert(count >= 2 && count <= 32768 && limit >= 1 && limit < 32 && count <= 1LL << limit);
    const auto coinCount = static_cast<size_t>(count);
    const auto levelCount = static_cast<size_t>(limit);
    const size_t stride =
        2 * coinCount; // a list has less than two nodes for each coin; one entry more than nodes
    work.list.resize(stride);
    work.packages.resize(coinCount + 1);
    work.coinsBefore.resize(levelCount * stride);
    SortCoins(coinCount, frequencies, work);

    // The first level has no packages: its list is the coins.
    size_t size = 0;
    for (size_t level = 0; level < levelCount; ++level) {
        size = coinCount + MakePackages(size, work);
        MergeLevel(size, &work.coinsBefore[level * stride], work);
    }

    std::fill_n(lengths, count, 0U);
    size_t kept = size - size % 2;
    for (size_t level = levelCount; level-- > 0;) {
        const size_t coins = work.coinsBefore[level * stride + kept];
        for (size_t i = 0; i < coins; ++i)
            ++lengths[work.coins[i].symbol];
        kept = 2 * (kept - coins);
    }
}
