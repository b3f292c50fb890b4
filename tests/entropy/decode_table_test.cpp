#include "entropy/decode_table.h"

#include "entropy_test_tools.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace entropy;

namespace {

std::vector<DecodeEntry> TableOf(std::vector<uint32_t> lengths, int tableBits)
{
    std::vector<CodeRecord> records(lengths.size());
    EXPECT_TRUE(BuildCanonicalCodes(lengths.size(), lengths.data(), tableBits, records.data()));
    // What the rows held before does not matter.
    std::vector<DecodeEntry> table(DecodeTableRows(tableBits), DecodeEntry{0xA5A5A5A5, 7, 3});
    BuildDecodeTable(records, tableBits, table.data());
    return table;
}

std::vector<DecodeEntry> TableOf(const Lengths& lengths)
{
    return TableOf({lengths.begin(), lengths.end()}, 12);
}

/// The row of `value` by parsing its twelve bits one by one.
DecodeEntry Parse(const std::map<std::pair<uint32_t, uint32_t>, uint32_t>& symbolOf, uint32_t value)
{
    DecodeEntry row{};
    uint32_t code = 0;
    uint32_t length = 0;
    bool codeLeft = false; // a whole code was found that is not in the row
    for (uint32_t bit = 12; bit-- > 0 && !codeLeft;) {
        code = code << 1 | (value >> bit & 1);
        ++length;
        const auto found = symbolOf.find({length, code});
        if (found == symbolOf.end())
            continue;
        codeLeft = row.symbolTotal == 4;
        if (codeLeft)
            break;
        row.symbols |= found->second << (8 * row.symbolTotal++);
        row.bitCount = static_cast<uint16_t>(row.bitCount + length);
        code = 0;
        length = 0;
    }
    if (row.symbolTotal == 0)
        row.bitCount = kHole;
    return row;
}

} // namespace

// C = 000, D = 001, B = 01, A = 1, numbered 2, 3, 1 and 0, in look-ups of four bits.
TEST(DecodeTable, EveryRowHoldsAsManyWholeCodesAsItsBits)
{
    const auto table = TableOf({1, 2, 3, 3}, 4);
    struct Row {
        std::vector<uint32_t> symbols;
        int bitCount;
    };
    const Row expected[16] = {
        {{2}, 3},    {{2, 0}, 4},    {{3}, 3},       {{3, 0}, 4},    // 0000 to 0011
        {{1}, 2},    {{1, 1}, 4},    {{1, 0}, 3},    {{1, 0, 0}, 4}, // 0100 to 0111
        {{0, 2}, 4}, {{0, 3}, 4},    {{0, 1}, 3},    {{0, 1, 0}, 4}, // 1000 to 1011
        {{0, 0}, 2}, {{0, 0, 1}, 4}, {{0, 0, 0}, 3}, {{0, 0, 0, 0}, 4},
    };
    for (size_t value = 0; value < 16; ++value) {
        uint32_t symbols = 0;
        for (size_t i = 0; i < expected[value].symbols.size(); ++i)
            symbols |= expected[value].symbols[i] << (8 * i);
        EXPECT_EQ(table[value].symbols, symbols) << value;
        EXPECT_EQ(table[value].bitCount, expected[value].bitCount) << value;
        EXPECT_EQ(table[value].symbolTotal, expected[value].symbols.size()) << value;
    }
}

TEST(DecodeTable, TheFlatCodeHasOneSymbolARow)
{
    Lengths lengths;
    lengths.fill(8);
    const auto table = TableOf(lengths);
    ASSERT_EQ(table.size(), 4097U);
    for (uint32_t value = 0; value < 4096; ++value) {
        EXPECT_EQ(table[value].symbols, value >> 4);
        EXPECT_EQ(table[value].bitCount, 8);
        EXPECT_EQ(table[value].symbolTotal, 1);
    }
}

TEST(DecodeTable, ARowTakesFourOneBitCodesAndNoMore)
{
    Lengths lengths;
    lengths.fill(9);
    lengths[0x42] = 1;
    lengths[0x43] = 8;
    const auto table = TableOf(lengths);
    EXPECT_EQ(table[0xFFF].symbols, 0x42424242U);
    EXPECT_EQ(table[0xFFF].bitCount, 4);
    EXPECT_EQ(table[0xFFF].symbolTotal, 4);
    EXPECT_EQ(table[0xF00].symbols, 0x42424242U);
    EXPECT_EQ(table[0xF00].bitCount, 4);
}

TEST(DecodeTable, PrefixesWithoutACodeAreHoles)
{
    Lengths lengths;
    lengths.fill(12);
    const auto table = TableOf(lengths);
    for (uint32_t value = 0; value < 4096; ++value) {
        EXPECT_EQ(table[value].symbols, value < 256 ? value : 0) << value;
        EXPECT_EQ(table[value].bitCount, value < 256 ? 12 : kHole) << value;
        EXPECT_EQ(table[value].symbolTotal, value < 256 ? 1 : 0) << value;
    }
}

TEST(DecodeTable, EveryRowIsTheParseOfItsBits)
{
    std::mt19937 random(TestSeed());
    int complete = 0;
    for (int round = 0; round < 120; ++round) {
        const Lengths lengths = RandomLengths(random);
        complete += CodeSpace(lengths) == 4096;
        std::array<CodeRecord, 256> records;
        ASSERT_TRUE(BuildCanonicalCodes(256, lengths.data(), 12, records.data()));
        std::map<std::pair<uint32_t, uint32_t>, uint32_t> symbolOf;
        for (const CodeRecord& record : records)
            symbolOf[{record.length, record.code}] = record.symbol;

        const auto table = TableOf(lengths);
        ASSERT_GE(table[0].symbolTotal, 1);
        for (uint32_t value = 0; value < 4096; ++value) {
            const DecodeEntry expected = Parse(symbolOf, value);
            ASSERT_EQ(std::memcmp(&table[value], &expected, sizeof expected), 0)
                << "round " << round << " row " << value << ": " << table[value].symbols << ' '
                << table[value].bitCount << ' ' << table[value].symbolTotal << ", expected "
                << expected.symbols << ' ' << expected.bitCount << ' ' << expected.symbolTotal;
        }
    }
    EXPECT_GT(complete, 20);
    EXPECT_LT(complete, 100);
}
