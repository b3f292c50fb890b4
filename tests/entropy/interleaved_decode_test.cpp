#include "entropy/huff_coder_8.h"
#include "support/exact_buffer.h"
#include "support/long_tests.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <random>
#include <vector>

using namespace entropy;

namespace {

using PlainCoder = HuffCoderT<unsigned char, unsigned short, 8, 12, 12>;

/// Lengths of a code for symbols whose counts fall by `ratio` from one to the next.
std::vector<uint32_t> LengthsOf(double ratio)
{
    std::vector<uint64_t> counts(256);
    for (size_t i = 0; i < counts.size(); ++i)
        counts[i] = static_cast<uint64_t>(1e9 * std::pow(ratio, static_cast<double>(i)));
    HuffCoder8 coder;
    EXPECT_TRUE(coder.BuildFromFrequencies(256, counts.data(), true));
    return coder.GetCodeLengths();
}

/// Lengths without order: random splits of the code space, or, with `holes`, some of them made longer.
std::vector<uint32_t> RandomLengths(std::mt19937& random, bool holes)
{
    std::vector<uint32_t> lengths{0};
    while (lengths.size() < 256) {
        const size_t split = random() % lengths.size();
        if (lengths[split] == 12)
            continue;
        lengths.push_back(++lengths[split]);
    }
    std::shuffle(lengths.begin(), lengths.end(), random);
    if (holes)
        for (int i = 0; i < 5; ++i) {
            uint32_t& length = lengths[random() % lengths.size()];
            length = std::min(length + 1, 12U);
        }
    return lengths;
}

TEST(WideTable, EveryRowIsTheGreedyParseOfItsBits)
{
    std::mt19937 random(TestSeed());
    std::vector<CodeRecord> records(256);
    std::vector<WideRow> table(4096);
    for (int round = 0; round < (LongTests() ? 300 : 20); ++round) {
        const auto lengths = round < 4 ? LengthsOf(0.3 + 0.2 * round) : RandomLengths(random, false);
        ASSERT_TRUE(BuildCanonicalCodes(256, lengths.data(), 12, records.data()));
        ASSERT_TRUE(BuildWideTable(records, 12, table.data()));
        std::vector<CodeRecord> byValue(4096);
        for (const CodeRecord& record : records)
            for (uint32_t low = 0; low < 1U << (12 - record.length); ++low)
                byValue[(record.code << (12 - record.length)) + low] = record;
        for (uint32_t value = 0; value < 4096; ++value) {
            WideRow expected{};
            while (expected.symbolTotal < kWideRowSymbols) {
                const CodeRecord& code = byValue[value << expected.bitCount & 4095];
                if (expected.bitCount + code.length > 12)
                    break;
                expected.symbols[expected.symbolTotal++] = static_cast<uint8_t>(code.symbol);
                expected.bitCount = static_cast<uint8_t>(expected.bitCount + code.length);
            }
            ASSERT_EQ(std::memcmp(&expected, &table[value], sizeof expected), 0)
                << "round " << round << ' ' << value;
        }
    }
}

TEST(WideTable, CodesWithUnusedSpaceHaveNone)
{
    std::vector<CodeRecord> records(256);
    std::vector<WideRow> table(4096);
    const std::vector<uint32_t> lengths(256, 12);
    ASSERT_TRUE(BuildCanonicalCodes(256, lengths.data(), 12, records.data()));
    EXPECT_FALSE(BuildWideTable(records, 12, table.data()));
}

/// Streams of any bytes, of very different lengths, decoded side by side and one by one.
void ExpectSameSymbols(std::mt19937& random, const std::vector<uint32_t>& lengths, size_t jobCount)
{
    PlainCoder plain;
    HuffCoder8 fast;
    ASSERT_TRUE(plain.BuildFromLengths(256, lengths.data(), false));
    ASSERT_TRUE(fast.BuildFromLengths(256, lengths.data(), false));
    std::vector<ExactBuffer> streams;
    std::vector<ExactBuffer> expected;
    std::vector<ExactBuffer> actual;
    std::vector<DecodeJob> plainJobs;
    std::vector<DecodeJob> fastJobs;
    for (size_t i = 0; i < jobCount; ++i) {
        std::vector<uint8_t> bytes(random() % 4 ? random() % 3000 : random() % 20);
        // Half of the streams are mostly ones or zeros: the shortest and the longest code again and again.
        const auto fill = static_cast<uint8_t>(random() % 2 ? 0xFF : 0x00);
        const bool filled = random() % 2;
        for (uint8_t& byte : bytes)
            byte = filled && random() % 8 ? fill : static_cast<uint8_t>(random());
        const size_t count = random() % 4 ? random() % 6000 : random() % 40;
        streams.emplace_back(bytes);
        expected.emplace_back(count, 0, uint8_t{0xCC});
        actual.emplace_back(count, 0, uint8_t{0x33});
        plainJobs.push_back({streams[i].Bytes(), {expected[i].data(), count}});
        fastJobs.push_back({streams[i].Bytes(), {actual[i].data(), count}});
    }
    plain.DecodeBlocks(plainJobs);
    fast.DecodeBlocks(fastJobs);
    for (size_t i = 0; i < jobCount; ++i)
        ASSERT_TRUE(SameBytes(actual[i].Bytes(), expected[i].Bytes())) << "job " << i << " of " << jobCount;
}

TEST(InterleavedDecode, GivesWhatOneByOneGives)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < (LongTests() ? 5000 : 150); ++round)
        ExpectSameSymbols(
            random, round % 3 ? RandomLengths(random, round % 7 == 0) : LengthsOf(0.4 + 0.05 * (round % 12)),
            random() % 20);
}

TEST(InterleavedDecode, NoJobsAndEmptyJobsAreFine)
{
    HuffCoder8 coder;
    const auto lengths = LengthsOf(0.5);
    ASSERT_TRUE(coder.BuildFromLengths(256, lengths.data(), false));
    coder.DecodeBlocks({});
    uint8_t untouched = 7;
    const DecodeJob empty{{&untouched, 0}, {&untouched, 0}};
    const DecodeJob jobs[] = {empty, empty, empty};
    coder.DecodeBlocks(jobs);
    EXPECT_EQ(untouched, 7);
}

TEST(InterleavedDecode, ACoderWithoutTablesDoesNothing)
{
    const HuffCoder8 coder;
    const uint8_t stream[] = {1, 2, 3};
    uint8_t out[4] = {9, 9, 9, 9};
    const DecodeJob job{stream, out};
    coder.DecodeBlocks({&job, 1});
    EXPECT_EQ(out[0], 9);
    EXPECT_EQ(out[3], 9);
}

} // namespace
