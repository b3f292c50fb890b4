#include "entropy/bit_stream.h"

#include "entropy/bit_writer.h"
#include "entropy_test_tools.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

using namespace entropy;

TEST(BitStream, AWriterStartsEmptyAtTheBeginningOfTheRange)
{
    uint8_t area[16];
    OutBitStream stream;
    std::memset(&stream, 0xA5, sizeof stream);
    BitStreamInit(stream, area, sizeof area);
    EXPECT_EQ(stream.bits, 0U);
    EXPECT_EQ(stream.count, 64U);
    EXPECT_EQ(stream.cursor, area);
    EXPECT_EQ(stream.begin, area);
    EXPECT_EQ(stream.end, area + 16);
}

TEST(BitStream, AReaderStartsWithNothingConsumedAndNothingHeld)
{
    const uint8_t area[16] = {};
    InBitStream stream;
    std::memset(&stream, 0xA5, sizeof stream);
    BitStreamInit(stream, area, sizeof area);
    EXPECT_EQ(stream.bits, 0U);
    EXPECT_EQ(stream.count, 64U);
    EXPECT_EQ(stream.cursor, area);
    EXPECT_EQ(stream.end, area + 16);
    EXPECT_EQ(stream.scratchPos, 0U);
    EXPECT_EQ(stream.scratchCount, 0U);
}

TEST(BitStream, FinishOfAnEmptyStreamWritesNothing)
{
    ExactBytes area(0);
    OutBitStream stream;
    BitStreamInit(stream, area.data(), 0);
    EXPECT_EQ(BitStreamFinish(stream), 0U);
}

TEST(BitStream, SevenBitsEndInAByteWhoseLowestBitIsZero)
{
    ExactBytes area(8, 0xFF);
    OutBitStream stream;
    BitStreamInit(stream, area.data(), area.size());
    BitWriter writer(stream);
    writer.Append({0x7F, 7});
    writer.Store();
    writer.Save(stream);
    EXPECT_EQ(stream.count, 57U);
    EXPECT_EQ(BitStreamFinish(stream), 1U);
    EXPECT_EQ(area.data()[0], 0xFE);
    EXPECT_EQ(stream.count, 64U);
    EXPECT_EQ(stream.bits, 0U);
}

TEST(BitStream, EightBitsEndOnTheBoundary)
{
    ExactBytes area(8, 0xFF);
    OutBitStream stream;
    BitStreamInit(stream, area.data(), area.size());
    BitWriter writer(stream);
    writer.Append({0x81, 8});
    writer.Store();
    writer.Save(stream);
    EXPECT_EQ(stream.count, 64U);
    EXPECT_EQ(BitStreamFinish(stream), 1U);
    EXPECT_EQ(area.data()[0], 0x81);
}

// Two runs of every two lengths behind every number of pending bits: sums on both sides of a whole word.
TEST(BitWriter, TwoRunsGiveTheirBitsWhateverIsPending)
{
    std::mt19937_64 random(TestSeed());
    for (uint32_t pending = 0; pending < 8; ++pending)
        for (uint32_t first = 4; first <= 48; ++first)
            for (uint32_t second = 4; second <= 48; ++second) {
                const uint64_t firstBits = random() >> (64 - first);
                const uint64_t secondBits = random() >> (64 - second);
                const auto lead = static_cast<uint8_t>(random() & ((1U << pending) - 1));

                ExactBytes area(14 + 8, 0xA5);
                OutBitStream stream;
                BitStreamInit(stream, area.data(), area.size());
                BitWriter writer(stream);
                if (pending > 0) {
                    writer.Append({lead, pending});
                    writer.Store();
                }
                writer.AppendAndStore({firstBits, first}, {secondBits, second});
                writer.Save(stream);
                EXPECT_LE(stream.count, 64U);
                EXPECT_GE(stream.count, 57U);
                const size_t size = BitStreamFinish(stream);

                std::vector<int> bits;
                const auto append = [&bits](uint64_t value, uint64_t length) {
                    while (length-- > 0)
                        bits.push_back(static_cast<int>(value >> length & 1));
                };
                append(lead, pending);
                append(firstBits, first);
                append(secondBits, second);
                ASSERT_EQ(size, (bits.size() + 7) / 8);
                bits.resize(size * 8);
                for (size_t bit = 0; bit < bits.size(); ++bit)
                    ASSERT_EQ(area.data()[bit / 8] >> (7 - bit % 8) & 1, bits[bit])
                        << pending << " pending, " << first << " and " << second << " bits, bit " << bit;
            }
}
