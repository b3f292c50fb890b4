#include "files/frame_structure.h"
#include "support/test_seed.h"
#include "tool/run_command.h"

#include <cstring>
#include <numeric>
#include <random>

namespace {

/// Frames of a real stream: 32 x 60, 4:2:0, so nine blocks each.
class FrameStructureTest : public CommandTest
{
  protected:
    void SetUp() override
    {
        RunGood({"encode", "-", "-o", Name("clip.avi"), "--method", "gradient"},
                MakeY4m(32, 60, "C420jpeg", 2880, 1));
        const Bytes bytes = ReadFile(Name("clip.avi"));
        const AviFile file = ReadAviBytes(bytes);
        frame = FramesOf(bytes, file).front();
        record = ReadHeader(file.bitmapInfo.data() + 40);
    }

    FrameStructure Read(const Bytes& bytes) const
    {
        return ReadFrameStructure(MemorySource(bytes), 0, static_cast<uint32_t>(bytes.size()), record, 3);
    }

    Bytes frame;
    FrameHeader record{};
};

} // namespace

TEST_F(FrameStructureTest, BlocksFillTheFrameBehindItsTables)
{
    const FrameStructure structure = Read(frame);
    EXPECT_EQ(structure.fault, "");
    EXPECT_EQ(structure.blockHeight, 28u);
    ASSERT_EQ(structure.blocks.size(), 9u);
    uint32_t total = 0;
    for (size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(structure.blocks[i].plane, i / 3);
        EXPECT_EQ(structure.blocks[i].predictor, 2);
        total += structure.blocks[i].size;
    }
    EXPECT_EQ(structure.CountPredictors()[2], 9u);
    uint32_t firstBlock;
    std::memcpy(&firstBlock, frame.data() + 32 + 4, sizeof firstBlock);
    EXPECT_EQ(32 + firstBlock + total, frame.size());
}

TEST_F(FrameStructureTest, HeaderlessFrameTakesItsFieldsFromTheRecord)
{
    const FrameStructure structure = Read(Bytes(frame.begin() + 32, frame.end()));
    EXPECT_EQ(structure.fault, "");
    EXPECT_EQ(structure.blocks.size(), 9u);
}

TEST_F(FrameStructureTest, EveryFieldOfAnotherStreamIsAFault)
{
    // version, format, code length, matrix, flags (interlaced), width, height
    for (const size_t at : {8u, 9u, 10u, 11u, 12u, 16u, 20u}) {
        Bytes other = frame;
        other[at] = static_cast<uint8_t>(other[at] ^ (at == 8 ? 8 : at == 12 ? 2 : 1));
        EXPECT_NE(Read(other).fault, "") << "byte " << at;
        EXPECT_TRUE(Read(other).blocks.empty());
    }
}

TEST_F(FrameStructureTest, CutFramesAndWildBytesAreFaultsOrStayInside)
{
    for (size_t size = 0; size < 32 + 40; ++size)
        EXPECT_NE(Read(Bytes(frame.begin(), frame.begin() + static_cast<ptrdiff_t>(size))).fault, "") << size;
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes = frame;
        for (size_t n = 1 + random() % 3; n > 0; --n)
            bytes[random() % 90] = static_cast<uint8_t>(random());
        const FrameStructure structure = Read(bytes);
        for (const BlockStructure& block : structure.blocks)
            ASSERT_LE(block.size, bytes.size()) << "seed " << seed;
        ASSERT_LE(structure.blocks.size(), bytes.size()) << "seed " << seed;
    }
}
