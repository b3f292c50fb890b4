#include "entropy/encode_table.h"

#include "entropy_test_tools.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

TEST(PairTable, ARowIsTheFirstCodeWithTheSecondBehindIt)
{
    std::vector<CodeEntry> codes(256, CodeEntry{0, 12});
    codes[3] = {0b101, 3};
    codes[9] = {0b0001, 4};
    for (const PairTableForm& form : kFillPairTableForms) {
        std::vector<PairEntry> pairs(kPairRows);
        form.run(codes.data(), pairs.data());
        EXPECT_EQ(pairs[9 * 256 + 3].code, 0b1010001U) << form.name;
        EXPECT_EQ(pairs[9 * 256 + 3].length, 7U) << form.name;
        EXPECT_EQ(pairs[3 * 256 + 9].code, 0b0001101U) << form.name;
        EXPECT_EQ(pairs[3 * 256 + 3].code, 0b101101U) << form.name;
        EXPECT_EQ(pairs[3 * 256 + 3].length, 6U) << form.name;
    }
}

TEST(PairTable, EveryFormGivesTheRowsOfTheScalarForm)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 20; ++round) {
        std::vector<CodeEntry> codes(256);
        for (CodeEntry& code : codes) {
            code.length = static_cast<uint16_t>(1 + Below(random, 12));
            code.code = static_cast<uint16_t>(Below(random, 1U << code.length));
        }
        std::vector<PairEntry> expected(kPairRows);
        kFillPairTableForms[0].run(codes.data(), expected.data());
        for (uint32_t row = 0; row < kPairRows; ++row) {
            const CodeEntry first = codes[row % 256];
            const CodeEntry second = codes[row / 256];
            ASSERT_EQ(expected[row].code, (uint32_t{first.code} << second.length) + second.code);
            ASSERT_EQ(expected[row].length, uint32_t{first.length} + second.length);
        }
        for (const PairTableForm& form : kFillPairTableForms) {
            std::vector<PairEntry> actual(kPairRows, PairEntry{0xA5A5A5A5, 0xA5A5A5A5});
            form.run(codes.data(), actual.data());
            for (size_t row = 0; row < kPairRows; ++row) {
                ASSERT_EQ(actual[row].code, expected[row].code) << form.name << " row " << row;
                ASSERT_EQ(actual[row].length, expected[row].length) << form.name << " row " << row;
            }
        }
    }
}
