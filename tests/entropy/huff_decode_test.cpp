// Reading under all conditions: calls of any size, streams cut off, streams of anything, and raw bytes.
#include "entropy/huff_coder_8.h"

#include "entropy_test_tools.h"
#include "support/long_tests.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

using namespace entropy;

namespace {

/// Reads `count` symbols by calls of the sizes that `next` gives; every call has memory of its own size.
template <class Next>
Bytes DecodeInSteps(const HuffCoder& coder, const Bytes& bytes, size_t count, Next next)
{
    const ExactBytes source(bytes);
    InBitStream stream;
    BitStreamInit(stream, source.data(), source.size());
    Bytes symbols;
    while (symbols.size() < count) {
        ExactBytes part(std::min<size_t>(next(), count - symbols.size()), 0xA5);
        coder.Decode(stream, part.data(), part.size());
        symbols.insert(symbols.end(), part.data(), part.data() + part.size());
    }
    return symbols;
}

Bytes RandomBytes(std::mt19937& random, size_t size)
{
    Bytes bytes(size);
    for (uint8_t& byte : bytes)
        byte = static_cast<uint8_t>(random());
    return bytes;
}

/// 256 codes of twelve bits, 0x000 to 0x0FF; all other values are holes.
void BuildHoles(HuffCoder8& coder)
{
    ASSERT_TRUE(coder.BuildFromLengths(256, std::vector<uint32_t>(256, 12).data(), false));
}

} // namespace

TEST(HuffDecode, ManyCallsGiveTheSymbolsOfOne)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 40; ++round) {
        const Counts counts = RandomCounts(random);
        HuffCoder8 coder;
        ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), false));
        const Bytes symbols = RandomSymbols(random, counts, 500);
        const Bytes stream = EncodeAll(coder, symbols);
        for (uint32_t step = 1; step <= 40; ++step)
            ASSERT_EQ(DecodeInSteps(coder, stream, 500, [&] { return step; }), symbols)
                << "steps of " << step;
        ASSERT_EQ(DecodeInSteps(coder, stream, 500, [&] { return Below(random, 80); }), symbols)
            << "round " << round;
    }
}

TEST(HuffDecode, DecodingNothingReadsNothing)
{
    HuffCoder8 coder;
    BuildHoles(coder);
    const ExactBytes source(Bytes{0x00, 0x50, 0x06});
    InBitStream stream;
    BitStreamInit(stream, source.data(), source.size());
    coder.Decode(stream, nullptr, 0);
    EXPECT_EQ(stream.cursor, source.data());
    uint8_t symbols[2];
    coder.Decode(stream, symbols, 1);
    coder.Decode(stream, nullptr, 0);
    coder.Decode(stream, symbols + 1, 1);
    EXPECT_EQ(symbols[0], 5);
    EXPECT_EQ(symbols[1], 6);
}

TEST(HuffDecode, AStreamOfOnesIsFourSymbolsALookUp)
{
    Lengths lengths;
    lengths.fill(9);
    lengths[0x42] = 1;
    lengths[0x43] = 8;
    HuffCoder8 coder;
    ASSERT_TRUE(coder.BuildFromLengths(256, lengths.data(), false));
    for (size_t count = 0; count <= 200; ++count)
        ASSERT_EQ(DecodeAll(coder, Bytes((count + 7) / 8, 0xFF), count), Bytes(count, 0x42));
}

// Wherever a stream is cut, what stood in front is read, and the rest is zeros: the symbol of the all-zero
// code.
TEST(HuffDecode, BitsBehindTheEndAreZeros)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 12; ++round) {
        const Counts counts = RandomCounts(random);
        HuffCoder8 coder;
        ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), false));
        Lengths lengths;
        std::ranges::copy(coder.GetCodeLengths(), lengths.begin());
        const BitByBitCoder reference(lengths);
        const Bytes symbols = RandomSymbols(random, counts, 150);
        const Bytes stream = EncodeAll(coder, symbols);
        for (size_t cut = 0; cut <= stream.size(); ++cut) {
            const Bytes rest(stream.begin(), stream.begin() + static_cast<ptrdiff_t>(cut));
            const Bytes expected = reference.Decode(rest, 250);
            ASSERT_EQ(expected.size(), 250U);
            ASSERT_TRUE(SameBytes(DecodeAll(coder, rest, 250), expected)) << "cut to " << cut;
            ASSERT_EQ(DecodeInSteps(coder, rest, 250, [] { return 7U; }), expected) << "cut to " << cut;
        }
    }
}

TEST(HuffDecode, AnEmptyStreamMayHaveNoAddress)
{
    HuffCoder8 coder;
    BuildHoles(coder);
    InBitStream stream;
    BitStreamInit(stream, nullptr, 0);
    Bytes symbols(40, 0xA5);
    coder.Decode(stream, symbols.data(), 40);
    EXPECT_EQ(symbols, Bytes(40, 0));
}

// A hole throws away what the buffer holds; the rest of the group of four look-ups finds zeros. The count of
// 291 consumed bits then moves the reader on by 36 bytes, and of the eight bytes it had reached, bytes 8 to
// 15, the top 35 bits come in behind 29 zeros.
TEST(HuffDecode, AHoleMakesTheReaderJump)
{
    Bytes stream(60, 0);
    stream[1] = 0x5F; // 005 FFF: symbol 5 and a hole
    stream[2] = 0xFF;
    stream[3] = 0x01;        // lost
    stream[8] = 0b0000'0110; // 29 zeros, then 0000011 0 00000010 011: symbols 0 0 3 19
    stream[9] = 0b0000'0010;
    stream[10] = 0b0110'0000;
    stream[13] = 0xFF; // lost: the jump ends at byte 44
    stream[43] = 0xFF;
    stream[45] = 0b1110'0001; // 13 zeros, then 00000000 111 00001 0000000 0 00000001 001: symbols 0 7 128 9
    stream[47] = 0b0000'0001;
    stream[48] = 0b0010'0000;

    HuffCoder8 coder;
    BuildHoles(coder);
    EXPECT_EQ(DecodeAll(coder, stream, 11), (Bytes{5, 0, 0, 0, 0, 3, 19, 0, 7, 128, 9}));
    EXPECT_EQ(DecodeInSteps(coder, stream, 11, [] { return 1U; }),
              (Bytes{5, 0, 0, 0, 0, 3, 19, 0, 7, 128, 9}));
    // Behind the jump less than eight bytes: the last symbol loses its low bits.
    stream.resize(48);
    EXPECT_EQ(DecodeAll(coder, stream, 12), (Bytes{5, 0, 0, 0, 0, 3, 19, 0, 7, 128, 8, 0}));
    // The jump passes the end.
    for (const size_t size : {44U, 43U, 20U, 16U}) {
        stream.resize(size);
        EXPECT_EQ(DecodeAll(coder, stream, 12), (Bytes{5, 0, 0, 0, 0, 3, 19, 0, 0, 0, 0, 0})) << size;
    }
}

TEST(HuffDecode, BehindAHoleNearTheEndTheLastBytesAreLost)
{
    HuffCoder8 coder;
    BuildHoles(coder);
    for (size_t size = 3; size < 16; ++size) {
        Bytes stream(size, 0xFF);
        stream[0] = 0x00;
        stream[1] = 0x5F;
        EXPECT_EQ(DecodeAll(coder, stream, 60)[0], 5) << size;
        EXPECT_EQ(DecodeAll(coder, stream, 60), DecodeInSteps(coder, stream, 60, [] { return 1U; })) << size;
        for (size_t i = 1; i < 60; ++i)
            EXPECT_EQ(DecodeAll(coder, stream, 60)[i], 0) << size << " bytes, symbol " << i;
    }
}

// Random bytes through random codes, many of them with holes: the request is filled exactly, nothing beside
// it is touched, the symbols in front of the first hole are right, and the call sizes do not matter.
TEST(HuffDecode, AnyBytesThroughAnyCodeFillTheRequest)
{
    std::mt19937 random(TestSeed());
    const int rounds = LongTests() ? 20000 : 400;
    int withHoles = 0;
    for (int round = 0; round < rounds; ++round) {
        const Lengths lengths = RandomLengths(random);
        HuffCoder8 coder;
        ASSERT_TRUE(coder.BuildFromLengths(256, lengths.data(), false));
        const BitByBitCoder reference(lengths);
        for (int i = 0; i < 8; ++i) {
            Bytes stream = RandomBytes(random, Below(random, i < 4 ? 20 : 400));
            if (i % 2 == 1)
                std::ranges::fill(stream, uint8_t{0xFF});
            const size_t count = Below(random, 600);
            const Bytes symbols = DecodeAll(coder, stream, count);
            const Bytes right = reference.Decode(stream, count);
            withHoles += right.size() < count;
            ASSERT_TRUE(std::equal(right.begin(), right.end(), symbols.begin())) << "round " << round;
            ASSERT_EQ(DecodeInSteps(coder, stream, count, [&] { return Below(random, 50); }), symbols)
                << "round " << round;
        }
    }
    EXPECT_GT(withHoles, rounds);
}

TEST(HuffRaw, RowsAreCopiedOneBehindTheOther)
{
    const HuffCoder8 coder;
    std::mt19937 random(TestSeed());
    for (uint32_t width = 0; width <= 40; ++width) {
        const Bytes rows = RandomBytes(random, width * 3);
        ExactBytes area(rows.size());
        OutBitStream stream;
        BitStreamInit(stream, area.data(), area.size());
        for (uint32_t row = 0; row < 3; ++row)
            coder.WriteRaw(stream, rows.data() + row * width, width);
        ASSERT_EQ(BitStreamFinish(stream), rows.size());
        ASSERT_TRUE(SameBytes(area.Copy(), rows));

        // A range that is too short ends in zeros.
        for (size_t size = 0; size <= rows.size(); ++size) {
            const ExactBytes source(std::span<const uint8_t>(rows).first(size));
            ExactBytes back(rows.size(), 0xA5);
            InBitStream reader;
            BitStreamInit(reader, source.data(), source.size());
            for (uint32_t row = 0; row < 3; ++row)
                coder.ReadRaw(reader, back.data() + row * width, width);
            Bytes expected(rows.begin(), rows.begin() + static_cast<ptrdiff_t>(size));
            expected.resize(rows.size(), 0);
            ASSERT_TRUE(SameBytes(back.Copy(), expected)) << size << " of " << rows.size();
        }
    }
}

TEST(HuffRaw, AnEmptyRangeMayHaveNoAddress)
{
    const HuffCoder8 coder;
    InBitStream stream;
    BitStreamInit(stream, nullptr, 0);
    Bytes bytes(5, 0xA5);
    coder.ReadRaw(stream, bytes.data(), 5);
    EXPECT_EQ(bytes, Bytes(5, 0));
    coder.ReadRaw(stream, nullptr, 0);
}
