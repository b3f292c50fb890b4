#include "core/frame_assembly.h"

#include "support/test_seed.h"
#include "threading/worker_pool.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <random>
#include <thread>

namespace {

constexpr size_t kOffset = 1000;

uint8_t ByteOf(size_t block, size_t i)
{
    return static_cast<uint8_t>(block * 37 + i * 11);
}

uint32_t WordAt(const uint8_t* at)
{
    uint32_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
}

/// Assembles a frame of blocks of the given sizes and checks every byte from the offset table on. A third of the blocks
/// are slow, so that others overtake them.
void AssembleAndCheck(FrameAssembly& assembly, threading::WorkerPool& pool,
                      const std::vector<uint32_t>& sizes, uint32_t largest)
{
    std::vector<BlockInfo> blocks(sizes.size());
    std::vector<uint8_t> frame(kOffset + sizes.size() * (kBlockHeadBytes + size_t{largest}), 0xEE);
    assembly.Prepare(blocks.size(), largest, pool.GetThreadCount());
    assembly.Begin(blocks, frame.data(), kOffset);
    pool.Run(static_cast<int>(blocks.size()), [&](int index, int) {
        const auto i = static_cast<size_t>(index);
        const std::span<uint8_t> slot = assembly.SlotOf(i);
        EXPECT_GE(slot.size(), largest);
        for (size_t k = 0; k < sizes[i]; ++k)
            slot[k] = ByteOf(i, k);
        if (i % 3 == 1)
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        blocks[i].compressedSize = sizes[i];
        blocks[i].flags = static_cast<uint8_t>(i % 2);
        blocks[i].predictor = PredictMethod::Gradient;
        assembly.Finish(i);
    });

    EXPECT_EQ(WordAt(frame.data()), kOffset);
    size_t offset = kOffset;
    for (size_t i = 0; i < blocks.size(); ++i) {
        ASSERT_EQ(WordAt(frame.data() + 4 * (i + 1)), offset);
        ASSERT_EQ(blocks[i].dataOffset, offset);
        ASSERT_EQ(frame[offset], i % 2);
        ASSERT_EQ(frame[offset + 1], static_cast<uint8_t>(PredictMethod::Gradient));
        offset += kBlockHeadBytes;
        for (size_t k = 0; k < sizes[i]; ++k, ++offset)
            ASSERT_EQ(frame[offset], ByteOf(i, k));
    }
    EXPECT_EQ(assembly.End(), offset);
    EXPECT_TRUE(offset == frame.size() || frame[offset] == 0xEE);
}

} // namespace

TEST(FrameAssembly, BlocksStandInOrderWhicheverIsDoneFirst)
{
    std::minstd_rand random(TestSeed());
    FrameAssembly assembly;
    threading::WorkerPool pool;
    for (const int threads : {1, 2, 3, 8, 64, 2}) {
        pool.SetThreadCount(threads);
        for (const size_t count : {size_t{0}, size_t{1}, size_t{3}, size_t{40}, size_t{200}}) {
            const uint32_t largest = static_cast<uint32_t>(random() % 300);
            std::vector<uint32_t> sizes(count);
            for (uint32_t& size : sizes)
                size = static_cast<uint32_t>(random() % (largest + 1));
            SCOPED_TRACE(testing::Message() << threads << " threads, " << count << " blocks");
            AssembleAndCheck(assembly, pool, sizes, largest);
        }
    }
}
