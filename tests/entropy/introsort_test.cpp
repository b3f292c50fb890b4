#include "entropy/introsort.h"

#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

using namespace entropy;

namespace {

/// A key, and where the item was before the sort.
struct Item {
    uint32_t key;
    uint32_t origin;

    bool operator==(const Item&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Item& item)
    {
        return out << "key " << item.key << " from " << item.origin;
    }
};

using Items = std::vector<Item>;

bool ByKey(const Item& a, const Item& b)
{
    return a.key < b.key;
}

Items ItemsOf(const std::vector<uint32_t>& keys)
{
    Items items;
    for (const uint32_t key : keys)
        items.push_back({key, static_cast<uint32_t>(items.size())});
    return items;
}

/// Whether both hold the same items in the same order; tells the first place where they do not.
testing::AssertionResult SameOrder(const Items& actual, const Items& expected)
{
    const auto [at, other] = std::ranges::mismatch(actual, expected);
    if (at == actual.end() && other == expected.end())
        return testing::AssertionSuccess();
    if (at == actual.end() || other == expected.end())
        return testing::AssertionFailure() << actual.size() << " items, expected " << expected.size();
    return testing::AssertionFailure() << "of " << actual.size() << " items number " << at - actual.begin()
                                       << " is " << *at << ", expected " << *other;
}

Items SortedByUs(Items items)
{
    Introsort(std::span(items), ByKey);
    return items;
}

/// Keys that make a quicksort split off as little as it can each time, by McIlroy's adversary ("A Killer
/// Adversary for Quicksort", 1999): it gives a key its value only when the sort's comparisons leave it no
/// choice.
template <class Sort>
std::vector<uint32_t> KillerKeys(size_t count, Sort sort)
{
    const auto undecided = static_cast<uint32_t>(count);
    std::vector<uint32_t> keys(count, undecided);
    std::vector<uint32_t> order;
    for (uint32_t i = 0; i < count; ++i)
        order.push_back(i);
    uint32_t next = 0;
    uint32_t candidate = 0;
    const std::function<bool(uint32_t, uint32_t)> less = [&](uint32_t a, uint32_t b) {
        if (keys[a] == undecided && keys[b] == undecided)
            keys[a == candidate ? a : b] = next++;
        if (keys[a] == undecided)
            candidate = a;
        else if (keys[b] == undecided)
            candidate = b;
        return keys[a] < keys[b];
    };
    sort(order, less);
    return keys;
}

std::vector<uint32_t> KillerKeys(size_t count)
{
    return KillerKeys(count,
                      [](std::vector<uint32_t>& order, const std::function<bool(uint32_t, uint32_t)>& less) {
                          Introsort(std::span(order), less);
                      });
}

/// Whether a part that is not short is left after the splits that are allowed.
bool ReachesTheHeap(std::span<Item> part, size_t splitsLeft)
{
    if (part.size() <= introsort::kShortPart)
        return false;
    if (splitsLeft == 0)
        return true;
    auto less = ByKey;
    const size_t low = introsort::Partition(part, less);
    return ReachesTheHeap(part.first(low), splitsLeft - 1) ||
           ReachesTheHeap(part.subspan(low), splitsLeft - 1);
}

/// Keys of one shape for each name, the first `values` numbers each. Few values leave many keys equal.
struct Shape {
    const char* name;
    uint32_t (*key)(uint32_t i, uint32_t count, uint32_t values, std::mt19937& random);
};

constexpr Shape kShapes[] = {
    {"random", [](uint32_t, uint32_t, uint32_t values,
                  std::mt19937& random) { return static_cast<uint32_t>(random() % values); }},
    {"rising", [](uint32_t i, uint32_t count, uint32_t values, std::mt19937&) { return i * values / count; }},
    {"falling", [](uint32_t i, uint32_t count, uint32_t values,
                   std::mt19937&) { return (count - 1 - i) * values / count; }},
    {"saw", [](uint32_t i, uint32_t, uint32_t values, std::mt19937&) { return i % values; }},
    {"organ pipes", [](uint32_t i, uint32_t count, uint32_t values,
                       std::mt19937&) { return std::min(i, count - 1 - i) * values / count; }},
    {"shuffled bits",
     [](uint32_t i, uint32_t, uint32_t values, std::mt19937&) { return i * 2654435761U % values; }},
};

/// Calls check(name, items) for all shapes, for sizes around each power of two and around a short part, and
/// for keys from all equal to all different.
void ForEachInput(const std::function<void(const std::string&, const Items&)>& check)
{
    std::mt19937 random(TestSeed());
    std::vector<uint32_t> sizes;
    for (uint32_t size = 0; size <= 70; ++size)
        sizes.push_back(size);
    for (const uint32_t power : {128U, 256U, 512U, 1024U, 4096U})
        for (uint32_t size = power - 1; size <= power + 1; ++size)
            sizes.push_back(size);
    for (const uint32_t size : sizes)
        for (const uint32_t values : {1U, 2U, 3U, 7U, 40U, std::max(size, 1U)})
            for (const auto& [shape, key] : kShapes) {
                std::vector<uint32_t> keys;
                for (uint32_t i = 0; i < size; ++i)
                    keys.push_back(key(i, size, values, random));
                const std::string name =
                    std::to_string(size) + " keys of " + std::to_string(values) + " values, " + shape;
                ASSERT_NO_FATAL_FAILURE(check(name, ItemsOf(keys)));
            }
    for (const size_t size : {17U, 40U, 100U, 255U, 256U, 257U, 1000U, 5000U})
        for (const uint32_t equal : {1U, 2U, 3U, 9U}) {
            std::vector<uint32_t> keys = KillerKeys(size);
            for (uint32_t& key : keys)
                key /= equal;
            const std::string name =
                std::to_string(size) + " killer keys, " + std::to_string(equal) + " of each value";
            ASSERT_NO_FATAL_FAILURE(check(name, ItemsOf(keys)));
        }
}

} // namespace

TEST(Introsort, SortsEveryInputAndKeepsAllItems)
{
    ForEachInput([](const std::string& name, const Items& items) {
        Items sorted = SortedByUs(items);
        ASSERT_TRUE(std::ranges::is_sorted(sorted, ByKey)) << name;
        std::ranges::sort(sorted, {}, &Item::origin);
        ASSERT_TRUE(SameOrder(sorted, items)) << name;
    });
}

TEST(Introsort, KillerKeysReachTheHeapSort)
{
    for (const size_t size : {256U, 1000U, 5000U})
        for (const uint32_t equal : {1U, 2U}) {
            std::vector<uint32_t> keys = KillerKeys(size);
            for (uint32_t& key : keys)
                key /= equal;
            Items items = ItemsOf(keys);
            EXPECT_TRUE(ReachesTheHeap(items, introsort::MaxSplits(size)))
                << size << " keys, " << equal << " of each value";
        }
}

// The order of equal keys is that of libstdc++: frames were first made with it. Another library's sort may
// differ.
#ifdef __GLIBCXX__

TEST(Introsort, OrdersEqualKeysAsLibstdcxxDoes)
{
    ForEachInput([](const std::string& name, const Items& items) {
        Items expected = items;
        std::sort(expected.begin(), expected.end(), ByKey);
        ASSERT_TRUE(SameOrder(SortedByUs(items), expected)) << name;
    });
}

TEST(Introsort, OrdersEqualKeysAsLibstdcxxDoesForItsOwnKillers)
{
    for (const size_t size : {17U, 100U, 256U, 1000U, 5000U}) {
        const auto sort = [](auto& order, const auto& less) { std::sort(order.begin(), order.end(), less); };
        std::vector<uint32_t> keys = KillerKeys(size, sort);
        for (uint32_t& key : keys)
            key /= 2;
        Items expected = ItemsOf(keys);
        std::sort(expected.begin(), expected.end(), ByKey);
        EXPECT_TRUE(SameOrder(SortedByUs(ItemsOf(keys)), expected)) << size << " keys";
    }
}

TEST(Introsort, HeapSortOrdersEqualKeysAsLibstdcxxDoes)
{
    ForEachInput([](const std::string& name, const Items& items) {
        Items expected = items;
        std::partial_sort(expected.begin(), expected.end(), expected.end(), ByKey);
        Items actual = items;
        auto less = ByKey;
        introsort::SortByHeap(std::span(actual), less);
        ASSERT_TRUE(SameOrder(actual, expected)) << name;
    });
}

#endif
