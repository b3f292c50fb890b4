#include "entropy/code_lengths.h"

#include "entropy/introsort.h"
#include "entropy_test_tools.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <numeric>

using namespace entropy;

namespace {

Lengths LengthsOf(const Counts& counts, int limit = 12)
{
    Lengths lengths;
    CodeLengthWork work;
    ComputeCodeLengths(256, counts.data(), limit, lengths.data(), work);
    return lengths;
}

std::map<uint32_t, int> HowMany(const Lengths& lengths)
{
    std::map<uint32_t, int> result;
    for (const uint32_t length : lengths)
        ++result[length];
    return result;
}

/// A digit for each length: they are 1 to 12.
std::string AsHexDigits(const Lengths& lengths)
{
    std::string digits;
    for (const uint32_t length : lengths)
        digits += "0123456789ABCDEF"[length & 15];
    return digits;
}

/// Package-merge with trees: what is dropped from a list is walked, leaf by leaf.
std::vector<uint32_t> LengthsByTrees(const std::vector<uint64_t>& frequencies, int limit)
{
    struct Node {
        const Node* left;
        const Node* right;
        uint32_t symbol;
        uint64_t weight;
    };
    std::vector<Node> coins;
    for (size_t symbol = 0; symbol < frequencies.size(); ++symbol)
        coins.push_back({nullptr, nullptr, static_cast<uint32_t>(symbol), frequencies[symbol]});
    Introsort(std::span(coins), [](const Node& a, const Node& b) { return a.weight < b.weight; });

    std::vector<uint32_t> lengths(frequencies.size(), static_cast<uint32_t>(limit));
    const std::function<void(const Node*)> drop = [&](const Node* node) {
        if (!node->left) {
            --lengths[node->symbol];
        } else {
            drop(node->left);
            drop(node->right);
        }
    };
    std::deque<Node> arena;
    std::vector<const Node*> list;
    for (const Node& coin : coins)
        list.push_back(&coin);
    const auto dropOdd = [&] {
        if (list.size() % 2 == 1) {
            drop(list.back());
            list.pop_back();
        }
    };
    for (int level = 1; level < limit; ++level) {
        dropOdd();
        std::vector<const Node*> packages;
        for (size_t i = 0; i < list.size(); i += 2) {
            arena.push_back({list[i], list[i + 1], 0, list[i]->weight + list[i + 1]->weight});
            packages.push_back(&arena.back());
        }
        std::vector<const Node*> merged;
        size_t coin = 0;
        size_t package = 0;
        while (coin < coins.size() || package < packages.size()) {
            const bool takeCoin = package == packages.size() ||
                                  (coin < coins.size() && packages[package]->weight >= coins[coin].weight);
            merged.push_back(takeCoin ? &coins[coin++] : packages[package++]);
        }
        list = merged;
    }
    dropOdd();
    return lengths;
}

/// The fewest bits that any complete code within the limit needs, by trying all lengths.
uint64_t FewestBits(const std::vector<uint64_t>& frequencies, uint32_t limit, size_t symbol = 0,
                    uint32_t space = 0)
{
    const uint32_t all = 1U << limit;
    if (symbol == frequencies.size())
        return space == all ? 0 : ~uint64_t{0};
    uint64_t best = ~uint64_t{0};
    for (uint32_t length = 1; length <= limit; ++length) {
        const uint32_t after = space + (all >> length);
        if (after > all)
            continue;
        const uint64_t rest = FewestBits(frequencies, limit, symbol + 1, after);
        if (rest != ~uint64_t{0})
            best = std::min(best, rest + frequencies[symbol] * length);
    }
    return best;
}

} // namespace

TEST(CodeLengths, EqualCountsGiveTheFlatCode)
{
    for (const uint64_t value : {uint64_t{0}, uint64_t{1}, uint64_t{12345}}) {
        Counts counts;
        counts.fill(value);
        EXPECT_EQ(HowMany(LengthsOf(counts)), (std::map<uint32_t, int>{{8, 256}}));
    }
}

TEST(CodeLengths, OneUsedSymbolTakesOneBit)
{
    for (size_t used = 0; used < 256; ++used) {
        Counts counts{};
        counts[used] = 500;
        const Lengths lengths = LengthsOf(counts);
        EXPECT_EQ(lengths[used], 1U);
        EXPECT_EQ(HowMany(lengths), (std::map<uint32_t, int>{{1, 1}, {8, 1}, {9, 254}}));
    }
}

TEST(CodeLengths, TwoUsedSymbolsTakeOneAndTwoBits)
{
    Counts counts{};
    counts[7] = 300;
    counts[200] = 400;
    const Lengths lengths = LengthsOf(counts);
    EXPECT_EQ(lengths[200], 1U);
    EXPECT_EQ(lengths[7], 2U);
    // 254 symbols share a quarter: 258 - 256 = 2 codes of length 9 and 252 of length 10.
    EXPECT_EQ(HowMany(lengths), (std::map<uint32_t, int>{{1, 1}, {2, 1}, {9, 2}, {10, 252}}));
}

TEST(CodeLengths, FibonacciCountsStayWithinTheLimit)
{
    Counts counts{};
    uint64_t a = 1;
    uint64_t b = 1;
    for (size_t symbol = 0; symbol < 80; ++symbol) {
        counts[symbol] = a;
        const uint64_t next = a + b;
        a = b;
        b = next;
    }
    const Lengths lengths = LengthsOf(counts);
    EXPECT_EQ(CodeSpace(lengths), 4096U);
    EXPECT_EQ(*std::ranges::max_element(lengths), 12U); // without a limit the code would be far deeper
    EXPECT_TRUE(std::ranges::equal(lengths, LengthsByTrees({counts.begin(), counts.end()}, 12)));
}

TEST(CodeLengths, EveryCodeFillsTheCodeSpaceAndFavoursFrequentSymbols)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 300; ++round) {
        const Counts counts = RandomCounts(random);
        for (const int limit : {8, 9, 12}) {
            const Lengths lengths = LengthsOf(counts, limit);
            ASSERT_EQ(CodeSpace(lengths), 4096U);
            for (size_t i = 0; i < 256; ++i) {
                ASSERT_GE(lengths[i], 1U);
                ASSERT_LE(lengths[i], static_cast<uint32_t>(limit));
                for (size_t j = 0; j < 256; ++j)
                    ASSERT_TRUE(counts[i] <= counts[j] || lengths[i] <= lengths[j]);
            }
        }
    }
}

TEST(CodeLengths, AgreeWithPackageMergeOverTrees)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 200; ++round) {
        const Counts counts = RandomCounts(random);
        const Lengths lengths = LengthsOf(counts);
        const auto expected = LengthsByTrees({counts.begin(), counts.end()}, 12);
        ASSERT_TRUE(std::ranges::equal(lengths, expected)) << "round " << round;
    }
    // Other numbers of symbols and limits, with one working memory for all.
    CodeLengthWork work;
    for (int round = 0; round < 2000; ++round) {
        const int limit = 1 + static_cast<int>(Below(random, 14));
        const uint32_t most = std::min(1U << limit, 300U);
        std::vector<uint64_t> frequencies(2 + Below(random, most - 1));
        for (uint64_t& frequency : frequencies)
            frequency = Below(random, 1 + Below(random, 50));
        std::vector<uint32_t> lengths(frequencies.size());
        ComputeCodeLengths(lengths.size(), frequencies.data(), limit, lengths.data(), work);
        ASSERT_EQ(lengths, LengthsByTrees(frequencies, limit))
            << lengths.size() << " symbols, limit " << limit;
    }
}

TEST(CodeLengths, NoCodeWithinTheLimitNeedsFewerBits)
{
    std::mt19937 random(TestSeed());
    CodeLengthWork work;
    for (int round = 0; round < 400; ++round) {
        const uint32_t limit = 3 + Below(random, 2);
        std::vector<uint64_t> frequencies(2 + Below(random, 6));
        for (uint64_t& frequency : frequencies)
            frequency = uint64_t{1} << Below(random, 8) >> Below(random, 2);
        std::vector<uint32_t> lengths(frequencies.size());
        ComputeCodeLengths(lengths.size(), frequencies.data(), static_cast<int>(limit), lengths.data(), work);
        uint64_t bits = 0;
        for (size_t symbol = 0; symbol < lengths.size(); ++symbol)
            bits += frequencies[symbol] * lengths[symbol];
        ASSERT_EQ(bits, FewestBits(frequencies, limit)) << "round " << round;
    }
}

// Which of several equal counts gets the shorter code follows from the order that the sort leaves them in.
// Every system must make the same frames, so the lengths of some histograms are fixed here. They never
// change.
TEST(CodeLengths, EqualCountsAreSettledTheSameOnEverySystem)
{
    struct Golden {
        const char* name;
        uint64_t (*count)(uint32_t symbol);
        const char* lengths;
    };
    constexpr Golden kGolden[] = {
        {"few values", [](uint32_t symbol) { return uint64_t{symbol * 37 % 11 * (symbol % 3)}; },
         "C87C86C86C8CC79C78C78CC7CA7C97C97C86C86C86C8CC79C78C78CC7CB7C97C"
         "97C87C86C86C8CC79C78C78CC7CA7C97C97C87C86C86C8CC79C78C78CC7CA7C9"
         "7C97C87C86C86C8CC79C78C78CC8CA7C97C97C87C86C86C8CC79C78C78CC7CA7"
         "C97C97C87C86C86C8CC79C78C78CC7CA7C97C97C86C86C86C8CC79C78C78CC7C"},
        {"organ pipes", [](uint32_t symbol) { return uint64_t{std::min(symbol, 255 - symbol) / 5}; },
         "CCCCCCCCCCBBBBBAAAAAAAAAA999999999999999999998889988888888888888"
         "8888888888888888888888888888888777777777777777777777777777777777"
         "7777777777777777777777777777777778888888888888888888888888888888"
         "888888888888889999999999999999999999999AAAAAAAAAABBBBBCCCCCCCCCC"},
        {"steps of halves around 0",
         [](uint32_t symbol) { return uint64_t{0x100000} >> std::min(symbol, 256 - symbol) / 6; },
         "555555555566666666777777898888999999AAAAAABBBBBBCCCCCCCCCCCCCCCC"
         "CCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCC"
         "CCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCC"
         "CCCCCCCCCCCCCCCCCBBBBBCAAAAAA99999988888877777766666666666655555"},
        {"two values", [](uint32_t symbol) { return uint64_t{symbol * 2654435761U >> 31}; },
         "C7C7CC7C77C7CC7C77C7C77C7CC7C77C7CC7C7CC7C77C7CC7C77C7C77C7CC7C7"
         "7C7CC7C7CC7C77C7CC7C77C7CC7C7CC7C77C7CC7C77C7C77C7CC7C77C7CC7C7C"
         "C7C77C7CC7C77C7C77C7CC7C77C7CC7C77C7C77C7CC8C77C7CC7C8CC7C77C7CC"
         "7C77C7C77C8CC7C77C7CC8C7CC7C77C8CC7C77C7CC7C7CC7C77C7CC8C87C7C87"},
        {"a sample of a picture",
         [](uint32_t symbol) {
             const uint32_t distance = std::min(symbol, 256 - symbol);
             return uint64_t{90000 / (1 + distance * distance)};
         },
         "2245677788899999AAAAABBBBBBBBBCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCC"
         "CCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCC"
         "CCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCC"
         "CCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCCBBBBBBBBBAAAAAAA99998887776543"},
        {"a killer of quicksort with the median of three, sorted as a heap",
         [](uint32_t symbol) {
             return uint64_t{(symbol >= 128     ? 2 * symbol - 254
                              : symbol % 2 == 0 ? symbol + 1
                                                : symbol + 128) /
                             2};
         },
         "C8C8C8C8C8C8B8B8B8B8B8B8B8A8A8A8A8A8A8A8A8A8A8A89898989898989898"
         "9897979797979797979797979797979787878787878787878787878787878787"
         "CCCCCCBBBBBAAAAAAAAAAAA99999999999999999999999988888888888888888"
         "8888888888888888888888888888888877777777777777777777777777777777"},
    };
    for (const auto& [name, count, expected] : kGolden) {
        Counts counts;
        for (uint32_t symbol = 0; symbol < 256; ++symbol)
            counts[symbol] = count(symbol);
        EXPECT_EQ(AsHexDigits(LengthsOf(counts)), expected) << name;
    }
}

TEST(CodeLengths, ASecondRunOfTheSameSizeKeepsTheWorkingMemory)
{
    std::mt19937 random(TestSeed());
    CodeLengthWork work;
    Lengths lengths;
    ComputeCodeLengths(256, RandomCounts(random).data(), 12, lengths.data(), work);
    const auto places = [&work] {
        return std::array<const void*, 5>{work.coins.data(), work.coinWeights.data(), work.list.data(),
                                          work.packages.data(), work.coinsBefore.data()};
    };
    const auto before = places();
    for (int round = 0; round < 50; ++round)
        ComputeCodeLengths(256, RandomCounts(random).data(), 12, lengths.data(), work);
    EXPECT_EQ(places(), before);
}
