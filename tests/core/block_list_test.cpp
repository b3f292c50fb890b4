#include "core/block_list.h"
#include "imgproc/backend/t_imgproc_backend.h"

#include <gtest/gtest.h>

using namespace imgproc;

namespace core {
namespace {

FrameHeader HeaderOf(uint32_t width, uint32_t height, uint32_t blockHeight = 28)
{
    FrameHeader header{};
    header.width = width;
    header.height = height;
    header.blockHeight = blockHeight;
    return header;
}

std::vector<int> RowsOf(const std::vector<BlockShape>& blocks, size_t plane)
{
    std::vector<int> rows;
    for (const BlockShape& block : blocks)
        if (block.plane == plane)
            rows.push_back(block.rows);
    return rows;
}

TEST(BlockList, CutsEveryPlaneAtTheSamePictureRows)
{
    const TImgProcBackend<unsigned char, 8, 3, 2, 2> yuv420;
    const auto blocks = MakeBlocks(HeaderOf(64, 100), yuv420);
    ASSERT_EQ(blocks.size(), 12U);
    EXPECT_EQ(RowsOf(blocks, 0), (std::vector{28, 28, 28, 16}));
    EXPECT_EQ(RowsOf(blocks, 1), (std::vector{14, 14, 14, 8}));
    EXPECT_EQ(RowsOf(blocks, 2), (std::vector{14, 14, 14, 8}));
    for (size_t i = 0; i < blocks.size(); ++i) {
        EXPECT_EQ(blocks[i].plane, i / 4);
        EXPECT_EQ(BlockInfo(blocks[i]).coderId, i / 4);
        EXPECT_EQ(blocks[i].blockInPlane, i % 4);
        EXPECT_EQ(blocks[i].firstRow, static_cast<int>(i % 4) * (i / 4 ? 14 : 28));
        EXPECT_EQ(blocks[i].width, blocks[i].plane ? 32 : 64);
    }
}

TEST(BlockList, ShortLastBlocks)
{
    const TImgProcBackend<unsigned char, 8, 3, 2, 2> yuv420;
    const TImgProcBackend<unsigned char, 8, 1, 1, 1> gray;
    EXPECT_EQ(RowsOf(MakeBlocks(HeaderOf(8, 28), gray), 0), (std::vector{28}));
    EXPECT_EQ(RowsOf(MakeBlocks(HeaderOf(8, 29), gray), 0), (std::vector{28, 1}));
    EXPECT_EQ(RowsOf(MakeBlocks(HeaderOf(8, 30), yuv420), 1), (std::vector{14, 1}));
    EXPECT_EQ(MakeBlocks(HeaderOf(8, 30, 0), yuv420).size(), 0U);
    EXPECT_EQ(MakeBlocks(HeaderOf(8, 0), yuv420).size(), 0U);
}

TEST(BlockList, AnyBlockHeightKeepsBlocksInsideTheirPlane)
{
    const TImgProcBackend<unsigned char, 8, 3, 2, 2> yuv420;
    for (uint32_t height = 2; height <= 80; height += 2)
        for (uint32_t blockHeight = 1; blockHeight <= 90; ++blockHeight)
            for (const BlockShape& block : MakeBlocks(HeaderOf(8, height, blockHeight), yuv420)) {
                ASSERT_GE(block.rows, 0);
                ASSERT_LE(block.firstRow + block.rows,
                          yuv420.GetPlaneHeight(block.plane, static_cast<int>(height)));
            }
}

TEST(RowSets, GivesTheWholeBlockOrItsTwoFields)
{
    FrameHeader header = HeaderOf(8, 8);
    uint8_t sample = 0;
    const PlaneInfo block{&sample, 10};
    for (const RowSet& set : RowSets(header, 5)) {
        EXPECT_EQ(set.rows, 5);
        EXPECT_EQ(set.Of(block).pitch, 10);
    }
    header.flags = kFlagInterlaced;
    int field = 0;
    for (const RowSet& set : RowSets(header, 5)) {
        EXPECT_EQ(set.rows, 2);
        EXPECT_EQ(set.Of(block).data, &sample + 10 * field);
        EXPECT_EQ(set.Of(block).pitch, 20);
        ++field;
    }
    EXPECT_EQ(field, 2);
    const RowSets none(header, 1);
    EXPECT_EQ(none.begin(), none.end());
}

} // namespace
} // namespace core
