#include "entropy/canonical_codes.h"

#include "entropy_test_tools.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

using namespace entropy;

namespace {

bool Build(const std::vector<uint32_t>& lengths, int limit, std::vector<CodeRecord>& records)
{
    records.assign(lengths.size(), {});
    return BuildCanonicalCodes(lengths.size(), lengths.data(), limit, records.data());
}

bool Accepts(const std::vector<uint32_t>& lengths, int limit = 12)
{
    std::vector<CodeRecord> records;
    return Build(lengths, limit, records);
}

} // namespace

TEST(CanonicalCodes, TheLongestCodesHaveTheLowestValues)
{
    std::vector<CodeRecord> records;
    ASSERT_TRUE(Build({1, 2, 3, 3}, 12, records));
    const CodeRecord expected[] = {{2, 3, 0b000}, {3, 3, 0b001}, {1, 2, 0b01}, {0, 1, 0b1}};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(records[i].symbol, expected[i].symbol);
        EXPECT_EQ(records[i].length, expected[i].length);
        EXPECT_EQ(records[i].code, expected[i].code);
    }
}

TEST(CanonicalCodes, LengthsOutsideOneToTheLimitAreRefused)
{
    EXPECT_FALSE(Accepts({0, 1}));
    EXPECT_FALSE(Accepts({1, 0}));
    EXPECT_FALSE(Accepts({1, 13}));
    EXPECT_TRUE(Accepts({1, 12}));
    EXPECT_FALSE(Accepts({1, 0xFFFFFFFF}));
    EXPECT_FALSE(Accepts({1, 0x80000001}));
}

TEST(CanonicalCodes, ALimitAboveThirtyOneIsRefused)
{
    EXPECT_FALSE(Accepts({1, 1}, 32));
    EXPECT_TRUE(Accepts({1, 31}, 31));
    EXPECT_TRUE(Accepts({31, 31}, 31));
}

TEST(CanonicalCodes, TooManyCodesAreRefused)
{
    EXPECT_TRUE(Accepts({1, 1}));
    EXPECT_FALSE(Accepts({1, 1, 1}));
    EXPECT_FALSE(Accepts({1, 1, 12}));
    EXPECT_FALSE(Accepts({1, 2, 3, 3, 12}));
    EXPECT_FALSE(Accepts(std::vector<uint32_t>(256, 7)));
    EXPECT_TRUE(Accepts(std::vector<uint32_t>(256, 8)));
}

TEST(CanonicalCodes, TwoHundredFiftySixLengthsOfTwelveAreTheCodesFromZeroOn)
{
    std::vector<CodeRecord> records;
    ASSERT_TRUE(Build(std::vector<uint32_t>(256, 12), 12, records));
    for (uint32_t i = 0; i < 256; ++i) {
        EXPECT_EQ(records[i].symbol, i);
        EXPECT_EQ(records[i].code, i);
        EXPECT_EQ(records[i].length, 12U);
    }
}

// A half-used prefix of longer codes counts as used: of length 2 only 01 to 11 are left here.
TEST(CanonicalCodes, AHalfUsedPrefixIsPassedOver)
{
    std::vector<CodeRecord> records;
    ASSERT_TRUE(Build({2, 3, 2, 2}, 12, records));
    EXPECT_EQ(records[0].symbol, 1U);
    EXPECT_EQ(records[0].code, 0b000U);
    EXPECT_EQ(records[1].symbol, 0U);
    EXPECT_EQ(records[1].code, 0b01U);
    EXPECT_EQ(records[3].symbol, 3U);
    EXPECT_EQ(records[3].code, 0b11U);
    EXPECT_FALSE(Accepts({2, 3, 2, 2, 2}));
}

TEST(CanonicalCodes, LengthsAreAcceptedExactlyIfTheyFitTheCodeSpace)
{
    std::mt19937 random(TestSeed());
    int accepted = 0;
    for (int round = 0; round < 4000; ++round) {
        std::vector<uint32_t> lengths(1 + Below(random, 20));
        for (uint32_t& length : lengths)
            length = 1 + Below(random, 7);
        const bool fits = CodeSpace(lengths) <= 4096;
        ASSERT_EQ(Accepts(lengths), fits) << "round " << round;
        accepted += fits;
    }
    EXPECT_GT(accepted, 400);
    EXPECT_LT(accepted, 3600);
}

TEST(CanonicalCodes, RecordsAreSortedAndNoCodeBeginsAnother)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 300; ++round) {
        const Lengths lengths = RandomLengths(random);
        std::array<CodeRecord, 256> records;
        ASSERT_TRUE(BuildCanonicalCodes(256, lengths.data(), 12, records.data()));
        EXPECT_EQ(records[0].code, 0U);
        uint32_t end = 0; // of the ranges so far, in units of 2^-12
        for (size_t i = 0; i < 256; ++i) {
            const CodeRecord& record = records[i];
            ASSERT_EQ(record.length, lengths[record.symbol]);
            ASSERT_LT(record.code, 1U << record.length);
            const uint32_t start = record.code << (12 - record.length);
            ASSERT_GE(start, end);
            end = start + (1U << (12 - record.length));
            if (i > 0) {
                const CodeRecord& before = records[i - 1];
                ASSERT_TRUE(before.length > record.length ||
                            (before.length == record.length && before.symbol < record.symbol &&
                             before.code + 1 == record.code));
            }
        }
        if (CodeSpace(lengths) == 4096) {
            ASSERT_EQ(end, 4096U);
        }
    }
}
