#include "entropy/huff_coder_8.h"

#include "entropy/count_symbols.h"
#include "entropy_test_tools.h"
#include "support/long_tests.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using namespace entropy;

namespace {

using SingleSymbolCoder = HuffCoderT<unsigned char, unsigned short, 8, 12, 12>;

Lengths LengthsOf(const SingleSymbolCoder& coder)
{
    Lengths lengths;
    std::ranges::copy(coder.GetCodeLengths(), lengths.begin());
    return lengths;
}

/// A code with 101 for symbol 10, 11 for symbol 20 and 0001 for symbol 30. The other codes of four bits are
/// 0010 to 1001, and 245 codes of twelve bits lie below 0001.
Lengths ExampleLengths()
{
    Lengths lengths;
    lengths.fill(12);
    lengths[10] = 3;
    lengths[20] = 2;
    for (size_t symbol = 30; symbol < 39; ++symbol)
        lengths[symbol] = 4;
    return lengths;
}

} // namespace

TEST(HuffCoder, CodesFollowEachOtherFromTheTopBitOn)
{
    for (const bool encoderOnly : {true, false}) {
        HuffCoder8 coder;
        ASSERT_TRUE(coder.BuildFromLengths(256, ExampleLengths().data(), encoderOnly));
        EXPECT_EQ(EncodeAll(coder, Bytes{10, 20, 30}), (Bytes{0xB8, 0x80})); // 101 11 0001 and seven zeros
        // Twice 101 11 0001 101 11 0001 in groups of eight and tail: 1011 1000 1101 1100 01
        const Bytes eight{10, 20, 30, 10, 20, 30, 20, 20}; // 101 11 0001 101 11 0001 11 11
        EXPECT_EQ(EncodeAll(coder, eight), (Bytes{0xB8, 0xDC, 0x7C}));
    }
}

TEST(HuffCoder, EncodingNothingChangesNothing)
{
    HuffCoder8 coder;
    ASSERT_TRUE(coder.BuildFromLengths(256, ExampleLengths().data(), true));
    EXPECT_EQ(EncodeAll(coder, Bytes{}), Bytes{});
    ExactBytes area(16, 0xA5);
    OutBitStream stream;
    BitStreamInit(stream, area.data(), area.size());
    coder.Encode(stream, Bytes{20}.data(), 1);
    const OutBitStream before = stream;
    coder.Encode(stream, nullptr, 0);
    EXPECT_EQ(stream.bits, before.bits);
    EXPECT_EQ(stream.count, before.count);
    EXPECT_EQ(stream.cursor, before.cursor);
}

TEST(HuffCoder, WriterAndReaderAgreeWithOneBitAtATime)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 30; ++round) {
        const Counts counts = RandomCounts(random);
        HuffCoder8 pairs;
        HuffCoder8 reader;
        SingleSymbolCoder single;
        ASSERT_TRUE(pairs.BuildFromFrequencies(256, counts.data(), true));
        ASSERT_TRUE(single.BuildFromFrequencies(256, counts.data(), true));
        const Lengths lengths = LengthsOf(pairs);
        ASSERT_EQ(LengthsOf(single), lengths);
        ASSERT_TRUE(reader.BuildFromLengths(256, lengths.data(), false));
        const BitByBitCoder reference(lengths);

        std::vector<size_t> sizes{5000 + Below(random, 5000)};
        for (size_t size = 0; size <= 200; size += round % 5 == 0 ? 1 : 1 + Below(random, 20))
            sizes.push_back(size);
        for (const size_t size : sizes) {
            // Symbols by the code's own counts, and all symbols alike: long codes back to back.
            const Bytes symbols = RandomSymbols(random, size % 3 == 0 ? Counts{} : counts, size);
            const Bytes stream = reference.Encode(symbols);
            ASSERT_TRUE(SameBytes(EncodeAll(pairs, symbols), stream)) << size << " symbols, round " << round;
            ASSERT_TRUE(SameBytes(EncodeAll(single, symbols), stream)) << size << " symbols, round " << round;
            ASSERT_TRUE(SameBytes(EncodeAll(reader, symbols), stream)) << size << " symbols, round " << round;
            ASSERT_TRUE(SameBytes(DecodeAll(reader, stream, size), symbols))
                << size << " symbols, round " << round;
        }
    }
}

TEST(HuffCoder, CodesOfAnyLengthsAreWrittenAndRead)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 100; ++round) {
        const Lengths lengths = RandomLengths(random);
        HuffCoder8 pairs;
        HuffCoder8 reader;
        ASSERT_TRUE(pairs.BuildFromLengths(256, lengths.data(), true));
        ASSERT_TRUE(reader.BuildFromLengths(256, lengths.data(), false));
        const BitByBitCoder reference(lengths);
        const Bytes symbols = RandomSymbols(random, Counts{}, Below(random, 2000));
        const Bytes stream = reference.Encode(symbols);
        ASSERT_TRUE(SameBytes(EncodeAll(pairs, symbols), stream)) << "round " << round;
        ASSERT_TRUE(SameBytes(DecodeAll(reader, stream, symbols.size()), symbols)) << "round " << round;
    }
}

// Eight codes of eight bits are just 64, and with each number of pending bits a group comes near that.
TEST(HuffCoder, GroupsOfAboutAWordAreWrittenWhole)
{
    Lengths lengths;
    lengths.fill(9);
    for (size_t symbol = 0; symbol < 40; ++symbol)
        lengths[symbol] = 8;
    for (size_t symbol = 40; symbol < 60; ++symbol)
        lengths[symbol] = 7;
    ASSERT_LE(CodeSpace(lengths), 4096U);
    HuffCoder8 coder;
    SingleSymbolCoder single;
    ASSERT_TRUE(coder.BuildFromLengths(256, lengths.data(), true));
    ASSERT_TRUE(single.BuildFromLengths(256, lengths.data(), true));
    const BitByBitCoder reference(lengths);
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 2000; ++round) {
        Bytes symbols(8 * (1 + Below(random, 12)));
        const uint32_t kind = Below(random, 3);
        for (uint8_t& symbol : symbols)
            symbol = static_cast<uint8_t>(kind == 0 ? Below(random, 40) : 30 + Below(random, 40 + kind * 20));
        const Bytes stream = reference.Encode(symbols);
        ASSERT_TRUE(SameBytes(EncodeAll(coder, symbols), stream));
        ASSERT_TRUE(SameBytes(EncodeAll(single, symbols), stream));
    }
}

TEST(HuffCoder, ManyEncodesOnOneStreamGiveTheBitsOfOne)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 60; ++round) {
        const Counts counts = RandomCounts(random);
        HuffCoder8 coder;
        ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), round % 2 == 0));
        const Bytes symbols = RandomSymbols(random, counts, 600);
        const Bytes expected = EncodeAll(coder, symbols);
        for (uint32_t step = 1; step <= 40; ++step) {
            ExactBytes area(600 * 12 / 8 + 8);
            OutBitStream stream;
            BitStreamInit(stream, area.data(), area.size());
            for (uint32_t done = 0; done < 600; done += step)
                coder.Encode(stream, symbols.data() + done, std::min(step, 600 - done));
            const size_t size = BitStreamFinish(stream);
            ASSERT_EQ(Bytes(area.data(), area.data() + size), expected) << "steps of " << step;
        }
    }
}

TEST(HuffCoder, NothingIsWrittenPastEightBytesBehindTheStream)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 200; ++round) {
        const Counts counts = RandomCounts(random);
        HuffCoder8 coder;
        ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), true));
        const Bytes symbols = RandomSymbols(random, counts, Below(random, 100));
        Bytes area(symbols.size() * 2 + 40, 0xA5);
        OutBitStream stream;
        BitStreamInit(stream, area.data(), area.size());
        coder.Encode(stream, symbols.data(), symbols.size());
        const size_t size = BitStreamFinish(stream);
        for (size_t i = size + 8; i < area.size(); ++i)
            ASSERT_EQ(area[i], 0xA5) << size << " bytes, byte " << i;
    }
}

TEST(HuffCoder, AReaderOfTheNextCodeDoesNotWriteWithThePairsOfTheLast)
{
    std::mt19937 random(TestSeed());
    const Lengths first = ExampleLengths();
    Lengths second;
    second.fill(8);
    const Bytes symbols = RandomSymbols(random, Counts{}, 100);
    HuffCoder8 coder;
    ASSERT_TRUE(coder.BuildFromLengths(256, first.data(), true));
    ASSERT_TRUE(coder.BuildFromLengths(256, second.data(), false));
    EXPECT_TRUE(SameBytes(EncodeAll(coder, symbols), BitByBitCoder(second).Encode(symbols)));
    ASSERT_TRUE(coder.BuildFromLengths(256, first.data(), true));
    EXPECT_TRUE(SameBytes(EncodeAll(coder, symbols), BitByBitCoder(first).Encode(symbols)));
}

// Counts of small planes get a pair table of the symbols around 0 only; whatever else comes is written all
// the same.
TEST(HuffCoder, SymbolsOutsideTheCoreAreWrittenWithEveryPairTable)
{
    std::mt19937 random(TestSeed());
    for (const uint64_t scale : {uint64_t{1}, uint64_t{100'000}}) {
        Counts counts{};
        for (size_t symbol = 0; symbol < 256; ++symbol)
            counts[symbol] = symbol < 40 || symbol > 215 ? scale * (1 + Below(random, 50)) : 0;
        HuffCoder8 coder;
        ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), true));
        Lengths lengths;
        std::ranges::copy(coder.GetCodeLengths(), lengths.begin());
        const BitByBitCoder reference(lengths);
        for (const uint32_t outside : {0U, 1U, 8U, 64U}) { // of 64 symbols
            Bytes symbols(1000);
            for (uint8_t& symbol : symbols)
                symbol = static_cast<uint8_t>(Below(random, 64) < outside ? Below(random, 256)
                                                                          : Below(random, 40));
            ASSERT_TRUE(SameBytes(EncodeAll(coder, symbols), reference.Encode(symbols)))
                << scale << ", " << outside;
        }
    }
}

// From frame to frame the whole pair table is filled, or its core alone.
TEST(HuffCoder, NoPairOfAnEarlierCodeIsLeft)
{
    std::mt19937 random(TestSeed());
    HuffCoder8 coder;
    for (int round = 0; round < 40; ++round) {
        Counts counts = RandomCounts(random);
        if (random() % 2 != 0) // few outside the core
            for (size_t symbol = 64; symbol < 192; ++symbol)
                counts[symbol] = 0;
        ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), true));
        const Bytes symbols = RandomSymbols(random, Counts{}, 1000);
        ASSERT_TRUE(SameBytes(EncodeAll(coder, symbols), BitByBitCoder(LengthsOf(coder)).Encode(symbols)))
            << "round " << round;
    }
}

TEST(HuffCoder, LengthsThatAreNoCodeLeaveTheTablesAlone)
{
    std::mt19937 random(TestSeed());
    const Lengths good = ExampleLengths();
    const BitByBitCoder reference(good);
    const Bytes symbols = RandomSymbols(random, Counts{}, 100);
    for (const bool encoderOnly : {true, false}) {
        HuffCoder8 coder;
        ASSERT_TRUE(coder.BuildFromLengths(256, good.data(), false));
        ASSERT_TRUE(coder.BuildFromLengths(256, good.data(), encoderOnly));
        Lengths flat;
        flat.fill(8);
        EXPECT_FALSE(coder.BuildFromLengths(255, flat.data(), encoderOnly));
        EXPECT_FALSE(coder.BuildFromLengths(257, flat.data(), encoderOnly));
        EXPECT_FALSE(coder.BuildFromLengths(0, flat.data(), encoderOnly));
        EXPECT_FALSE(coder.BuildFromLengths(512, flat.data(), encoderOnly));
        for (const uint32_t bad : {0U, 13U, 31U, 32U, 0x80000000U, 0xFFFFFFFFU, 7U}) {
            Lengths lengths = flat;
            lengths[bad % 256] = bad;
            EXPECT_FALSE(coder.BuildFromLengths(256, lengths.data(), encoderOnly)) << bad;
        }
        Lengths ones = good;
        ones[0] = ones[1] = ones[2] = 1;
        EXPECT_FALSE(coder.BuildFromLengths(256, ones.data(), encoderOnly));

        EXPECT_TRUE(SameBytes(EncodeAll(coder, symbols), reference.Encode(symbols)));
        EXPECT_TRUE(SameBytes(DecodeAll(coder, reference.Encode(symbols), symbols.size()), symbols));
    }
}

TEST(HuffCoder, CountsOfAnotherNumberOfSymbolsAreRefused)
{
    const std::vector<uint64_t> counts(300, 1);
    HuffCoder8 coder;
    EXPECT_FALSE(coder.BuildFromFrequencies(255, counts.data(), true));
    EXPECT_FALSE(coder.BuildFromFrequencies(257, counts.data(), true));
    EXPECT_TRUE(coder.GetCodeLengths().empty());
    EXPECT_TRUE(coder.BuildFromFrequencies(256, counts.data(), true));
    EXPECT_EQ(coder.GetCodeLengths(), std::vector<uint32_t>(256, 8));
}

TEST(HuffCoder, WithoutTablesNothingHappens)
{
    const HuffCoder8 coder;
    EXPECT_EQ(EncodeAll(coder, Bytes(20, 3)), Bytes{});
    EXPECT_EQ(DecodeAll(coder, Bytes(20, 3), 50), Bytes(50, 0xA5));

    HuffCoder8 writer;
    ASSERT_TRUE(writer.BuildFromLengths(256, ExampleLengths().data(), true));
    EXPECT_EQ(DecodeAll(writer, Bytes(20, 3), 50), Bytes(50, 0xA5));
}

TEST(HuffCoder, ASymbolThatTheSampleMissedIsCodedAllTheSame)
{
    Bytes plane(64, 0);
    plane[3] = 99; // column 3 is never counted
    Counts counts{};
    CountSymbols(plane.data(), 16, 4, 16, counts.data());
    ASSERT_EQ(counts[99], 0U);
    HuffCoder8 coder;
    ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), false));
    EXPECT_EQ(coder.GetCodeLengths()[0], 1U);
    EXPECT_GE(coder.GetCodeLengths()[99], 8U);
    const Bytes stream = EncodeAll(coder, plane);
    EXPECT_EQ(stream.size(), (63 + coder.GetCodeLengths()[99] + 7) / 8);
    EXPECT_TRUE(SameBytes(DecodeAll(coder, stream, plane.size()), plane));
}

TEST(HuffCoder, ThreadsShareACoder)
{
    std::mt19937 random(TestSeed());
    const Counts counts = RandomCounts(random);
    HuffCoder8 coder;
    ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), false));
    ASSERT_TRUE(coder.BuildFromFrequencies(256, counts.data(), true));
    const Bytes symbols = RandomSymbols(random, counts, 5000);
    const Bytes stream = EncodeAll(coder, symbols);
    std::atomic<int> good = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 10; ++round)
                good += EncodeAll(coder, symbols) == stream && DecodeAll(coder, stream, 5000) == symbols;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 40);
}
