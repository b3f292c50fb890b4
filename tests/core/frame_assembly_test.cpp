#include "core/frame_assembly.h"
#include "core/frame_layout.h"

#include "support/held_up.h"
#include "support/test_seed.h"
#include "threading/worker_pool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace core {
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

/// A frame of blocks of the given sizes, to be assembled by a test.
class AssembledFrame
{
  public:
    AssembledFrame(FrameAssembly& frameAssembly, std::vector<uint32_t> blockSizes, uint32_t largestSize,
                   int threads)
        : assembly(frameAssembly), sizes(std::move(blockSizes)), largest(largestSize), blocks(sizes.size()),
          frame(kOffset + sizes.size() * (kBlockHeaderBytes + size_t{largest}), 0xEE)
    {
        assembly.Prepare(blocks.size(), largest, threads);
        assembly.Begin(blocks, frame.data(), kOffset);
    }

    /// Takes the slot of block i and fills it.
    void Begin(size_t i)
    {
        const std::span<uint8_t> slot = assembly.SlotOf(i);
        ASSERT_GE(slot.size(), largest);
        for (size_t k = 0; k < sizes[i]; ++k)
            slot[k] = ByteOf(i, k);
    }

    void Finish(size_t i)
    {
        blocks[i].compressedSize = sizes[i];
        blocks[i].flags = static_cast<uint8_t>(i % 2);
        blocks[i].predictor = PredictMethod::Gradient;
        assembly.Finish(i);
    }

    /// Checks every byte from the offset table on.
    void Check() const
    {
        EXPECT_EQ(WordAt(frame.data()), kOffset);
        size_t offset = kOffset;
        for (size_t i = 0; i < blocks.size(); ++i) {
            ASSERT_EQ(WordAt(frame.data() + 4 * (i + 1)), offset);
            ASSERT_EQ(blocks[i].dataOffset, offset);
            ASSERT_EQ(frame[offset], i % 2);
            ASSERT_EQ(frame[offset + 1], static_cast<uint8_t>(PredictMethod::Gradient));
            offset += kBlockHeaderBytes;
            for (size_t k = 0; k < sizes[i]; ++k, ++offset)
                ASSERT_EQ(frame[offset], ByteOf(i, k));
        }
        EXPECT_EQ(assembly.End(), offset);
        EXPECT_TRUE(offset == frame.size() || frame[offset] == 0xEE);
    }

  private:
    FrameAssembly& assembly;
    std::vector<uint32_t> sizes;
    uint32_t largest;
    std::vector<BlockInfo> blocks;
    std::vector<uint8_t> frame;
};

/// Calls `assemble` with a new frame for some numbers of threads and of blocks.
template <class Assemble>
void ForFramesOfManyShapes(std::minstd_rand& random, Assemble assemble)
{
    FrameAssembly assembly;
    for (const int threads : {1, 2, 3, 8, 64, 2})
        for (const size_t count : {size_t{0}, size_t{1}, size_t{3}, size_t{40}, size_t{200}}) {
            const uint32_t largest = static_cast<uint32_t>(random() % 300);
            std::vector<uint32_t> sizes(count);
            for (uint32_t& size : sizes)
                size = static_cast<uint32_t>(random() % (largest + 1));
            SCOPED_TRACE(testing::Message() << threads << " threads, " << count << " blocks");
            AssembledFrame frame(assembly, sizes, largest, threads);
            assemble(frame, threads, count);
            frame.Check();
        }
}

} // namespace

// One thread plays all of them, so that the seed alone decides which block is done first.
TEST(FrameAssembly, BlocksStandInOrderWhicheverIsDoneFirst)
{
    std::minstd_rand random(TestSeed());
    ForFramesOfManyShapes(random, [&](AssembledFrame& frame, int threads, size_t count) {
        std::vector<size_t> begun; // and not finished: as many as there are threads at most
        for (size_t next = 0; next < count || !begun.empty();) {
            // No slot is waited for: there is one for each thread, counted from the first unfinished block.
            const size_t first = begun.empty() ? next : std::ranges::min(begun);
            if (next < count && next < first + static_cast<size_t>(threads) &&
                (begun.empty() || random() % 2)) {
                frame.Begin(next);
                begun.push_back(next++);
            } else {
                std::swap(begun[random() % begun.size()], begun.back());
                frame.Finish(begun.back());
                begun.pop_back();
            }
        }
    });
}

TEST(FrameAssembly, ThreadsAssembleAFrame)
{
    std::minstd_rand random(TestSeed());
    threading::WorkerPool pool;
    ForFramesOfManyShapes(random, [&](AssembledFrame& frame, int threads, size_t count) {
        pool.SetThreadCount(threads);
        pool.Run(static_cast<int>(count), [&](int index, int) {
            frame.Begin(static_cast<size_t>(index));
            frame.Finish(static_cast<size_t>(index));
        });
    });
}

TEST(FrameAssembly, ASlotIsWaitedForUntilItsBlockIsPlaced)
{
    constexpr size_t kBlocks = 100; // more than there are slots for two threads
    FrameAssembly assembly;
    AssembledFrame frame(assembly, std::vector<uint32_t>(kBlocks, 50), 50, 2);
    frame.Begin(0);
    std::atomic<size_t> finished{0};
    std::atomic<bool> released{false};
    std::thread other([&] {
        for (size_t i = 1; i < kBlocks; ++i) {
            frame.Begin(i);
            // The slot of block 0 goes to a later block only when block 0 is done.
            EXPECT_TRUE(released || i < kBlocks - 1);
            frame.Finish(i);
            finished = i;
        }
    });
    while (finished == 0)
        std::this_thread::yield();
    EXPECT_LT(finished, kBlocks - 1);
    released = true;
    frame.Finish(0);
    other.join();
    frame.Check();
}

TEST(FrameAssembly, WaitingForASlotTakesNoProcessorTime)
{
    FrameAssembly assembly;
    assembly.Prepare(2, 100, 1); // one slot for both
    std::vector<BlockInfo> blocks(2);
    std::vector<uint8_t> frame(1000);
    assembly.Begin(blocks, frame.data(), 100);
    assembly.SlotOf(0);
    HoldUp holdUp;
    std::thread slow([&] {
        holdUp.Here();
        assembly.Finish(0);
    });
    EXPECT_LT(ProcessorTimeWhileHeldUp(holdUp, [&] { assembly.SlotOf(1); }), kWaitingAllowance);
    slow.join();
    assembly.Finish(1);
    EXPECT_EQ(assembly.End(), 100 + 2 * kBlockHeaderBytes);
}

} // namespace core
