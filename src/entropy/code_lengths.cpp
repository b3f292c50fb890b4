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

#include "common/as_size.h"
#include "entropy/introsort.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <limits>
#include <span>

namespace entropy {

namespace {

constexpr uint64_t kEndOfList = std::numeric_limits<uint64_t>::max();

/// The order among equal weights shows in the lengths: another sort, a stable one too, would give other
/// frames for the same pictures.
void SortCoins(size_t count, const uint64_t* frequencies, CodeLengthWork& work)
{
    work.coins.resize(count);
    for (size_t symbol = 0; symbol < count; ++symbol)
        work.coins[symbol] = {frequencies[symbol], static_cast<uint32_t>(symbol)};
    Introsort(std::span(work.coins), [](const CodeLengthWork::Coin& a, const CodeLengthWork::Coin& b) {
        return a.weight < b.weight;
    });

    work.coinWeights.resize(count + 2);
    std::ranges::transform(work.coins, work.coinWeights.begin() + 1, &CodeLengthWork::Coin::weight);
    work.coinWeights.back() = kEndOfList;
}

/// Pairs the first `size` nodes (rounded down to even) of the list; returns the number of packages.
size_t MakePackages(size_t size, CodeLengthWork& work)
{
    const size_t packageCount = size / 2;
    for (size_t i = 0; i < packageCount; ++i)
        work.packages[i + 1] = work.list[2 * i] + work.list[2 * i + 1];
    work.packages[packageCount + 1] = kEndOfList;
    return packageCount;
}

/// Merges coins and packages into a level's list; on a tie the coin goes first. `coin` is the number of coins
/// before or behind the node that a step takes.
class LevelMerge
{
  public:
    LevelMerge(size_t coinCount_, size_t packageCount_, uint16_t* coinsBefore_, CodeLengthWork& work)
        : coinCount(coinCount_), packageCount(packageCount_), coins(work.coinWeights.data() + 1),
          packages(work.packages.data() + 1), list(work.list.data()), coinsBefore(coinsBefore_)
    {}

    /// One chain of steps waits for each comparison, so four run side by side: from both ends to the middle
    /// and from the middle to both ends.
    void Run()
    {
        const size_t size = coinCount + packageCount;
        const size_t middle = size / 2;
        const size_t steps = middle / 2;
        const size_t middleCoins = CoinsAmong(middle);
        size_t coin[4] = {0, middleCoins, middleCoins, coinCount};
        coinsBefore[0] = 0;
        for (size_t i = 0; i < steps; ++i) {
            TakeFirst(i, coin[0]);
            TakeLast(middle - 1 - i, coin[1]);
            TakeFirst(middle + i, coin[2]);
            TakeLast(size - 1 - i, coin[3]);
        }
        for (size_t node = steps; node < middle - steps; ++node)
            TakeFirst(node, coin[0]);
        for (size_t node = middle + steps; node < size - steps; ++node)
            TakeFirst(node, coin[2]);
    }

  private:
    /// How many of the first `nodes` nodes are coins.
    size_t CoinsAmong(size_t nodes) const
    {
        size_t low = nodes > packageCount ? nodes - packageCount : 0;
        size_t high = std::min(coinCount, nodes);
        while (low < high) {
            const size_t coin = (low + high) / 2;
            if (coins[coin] <= packages[nodes - 1 - coin])
                low = coin + 1;
            else
                high = coin;
        }
        return low;
    }

    void TakeFirst(size_t node, size_t& coin)
    {
        const uint64_t coinWeight = coins[coin];
        const uint64_t packageWeight = packages[node - coin];
        const bool takeCoin = packageWeight >= coinWeight;
        list[node] = takeCoin ? coinWeight : packageWeight;
        coin += takeCoin;
        coinsBefore[node + 1] = static_cast<uint16_t>(coin);
    }

    void TakeLast(size_t node, size_t& coin)
    {
        const size_t package = node + 1 - coin;
        const uint64_t coinWeight = coins[static_cast<ptrdiff_t>(coin) - 1];
        const uint64_t packageWeight = packages[static_cast<ptrdiff_t>(package) - 1];
        const bool takePackage = (packageWeight >= coinWeight) & (package != 0);
        coinsBefore[node + 1] = static_cast<uint16_t>(coin);
        list[node] = takePackage ? packageWeight : coinWeight;
        coin -= !takePackage;
    }

    const size_t coinCount;
    const size_t packageCount;
    const uint64_t* const coins;    // 0 first, kEndOfList last
    const uint64_t* const packages; // the same
    uint64_t* const list;
    uint16_t* const coinsBefore;
};

} // namespace

void ComputeCodeLengths(size_t count, const uint64_t* frequencies, int limit, uint32_t* lengths,
                        CodeLengthWork& work)
{
    assert(count >= 2 && count <= 32768 && limit >= 1 && limit < 32 && count <= size_t{1} << limit);
    const size_t levelCount = AsSize(limit);
    // A list has less than two nodes for each coin; there is one entry more than nodes.
    const size_t stride = 2 * count;
    work.list.resize(stride);
    work.packages.resize(count + 2);
    work.coinsBefore.resize(levelCount * stride);
    SortCoins(count, frequencies, work);

    // The first level has no packages: its list is the coins.
    size_t size = 0;
    for (size_t level = 0; level < levelCount; ++level) {
        const size_t packageCount = MakePackages(size, work);
        LevelMerge(count, packageCount, &work.coinsBefore[level * stride], work).Run();
        size = count + packageCount;
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

} // namespace entropy
