#include "entropy/encode_table.h"

#include "entropy_test_tools.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

using namespace entropy;

TEST(PairTable, ARowIsTheFirstCodeWithTheSecondBehindIt)
{
    std::vector<CodeEntry> codes(256, CodeEntry{0, 12});
    codes[3] = {0b101, 3};
    codes[9] = {0b0001, 4};
    for (const PairTableImplementation& form : kPairTableImplementations) {
        std::vector<PairEntry> pairs(kPairRows);
        form.run(codes.data(), pairs.data(), PairRange::All);
        EXPECT_EQ(pairs[9 * 256 + 3].code, 0b1010001U) << form.name;
        EXPECT_EQ(pairs[9 * 256 + 3].length, 7U) << form.name;
        EXPECT_EQ(pairs[3 * 256 + 9].code, 0b0001101U) << form.name;
        EXPECT_EQ(pairs[3 * 256 + 3].code, 0b101101U) << form.name;
        EXPECT_EQ(pairs[3 * 256 + 3].length, 6U) << form.name;
    }
}

TEST(PairTable, EveryFormGivesTheRowsOfTheScalarForm)
{
    constexpr PairEntry kUntouched = {0xA5A5A5A5, 0xA5A5A5A5};
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 20; ++round) {
        std::vector<CodeEntry> codes(256);
        for (CodeEntry& code : codes) {
            code.length = static_cast<uint16_t>(1 + Below(random, 12));
            code.code = static_cast<uint16_t>(Below(random, 1U << code.length));
        }
        for (const PairRange range : {PairRange::All, PairRange::Core}) {
            std::vector<PairEntry> expected(kPairRows, kUntouched);
            kPairTableImplementations[0].run(codes.data(), expected.data(), range);
            for (uint32_t row = 0; row < kPairRows; ++row) {
                const uint32_t first = row % 256;
                const uint32_t second = row / 256;
                const auto isCore = [](uint32_t symbol) { return symbol <= 63 || symbol >= 256 - 64; };
                if (range == PairRange::Core && !(isCore(first) && isCore(second))) {
                    ASSERT_EQ(expected[row].code, kUntouched.code);
                    ASSERT_EQ(expected[row].length, kUntouched.length);
                    continue;
                }
                ASSERT_EQ(expected[row].code,
                          (uint32_t{codes[first].code} << codes[second].length) + codes[second].code);
                ASSERT_EQ(expected[row].length, uint32_t{codes[first].length} + codes[second].length);
            }
            for (const PairTableImplementation& form : kPairTableImplementations) {
                std::vector<PairEntry> actual(kPairRows, kUntouched);
                form.run(codes.data(), actual.data(), range);
                for (size_t row = 0; row < kPairRows; ++row) {
                    ASSERT_EQ(actual[row].code, expected[row].code) << form.name << " row " << row;
                    ASSERT_EQ(actual[row].length, expected[row].length) << form.name << " row " << row;
                }
            }
        }
    }
}
