#include "core/frame_assembly.h"

#include "common/align_up.h"
#include "common/as_size.h"
#include "core/frame_layout.h"
#include "threading/spin_time.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace core {

namespace {

/// Slots for each thread where there are several: a thread that is held up stops the others when they are so
/// many blocks ahead.
constexpr size_t kSlotsPerThread = 4;
/// Slots do not share cache lines.
constexpr size_t kSlotAlignment = 64;

void StoreWord(uint8_t* at, size_t value)
{
    const auto word = static_cast<uint32_t>(value);
    std::memcpy(at, &word, sizeof word);
}

} // namespace

void FrameAssembly::Prepare(size_t blockCount, size_t blockBytes, int threads)
{
    const size_t wanted = threads == 1 ? 1 : kSlotsPerThread * AsSize(threads);
    const size_t count = std::clamp<size_t>(blockCount, 1, wanted);
    const size_t bytes = alignUp(blockBytes, kSlotAlignment);
    memory.Reserve(bytes * count);
    slotBytes = bytes;
    spin = threading::SpinTime(threads);
    if (slots.size() != count)
        slots = std::vector<Slot>(count);
    coded.resize(blockCount);
}

void FrameAssembly::Begin(std::span<BlockInfo> blocks, uint8_t* table, size_t offset)
{
    frameBlocks = blocks;
    offsetTable = table;
    StoreWord(table, offset); // the first block's offset once more
    for (size_t i = 0; i < slots.size(); ++i)
        slots[i].block.Set(static_cast<uint32_t>(i));
    placed = 0;
    end = offset;
    coded.assign(blocks.size(), false);
}

std::span<uint8_t> FrameAssembly::SlotOf(size_t index)
{
    // The thread with the first unplaced block never waits long: all blocks before it are on their way into
    // the frame.
    assert(index < frameBlocks.size());
    slots[index % slots.size()].block.Wait(static_cast<uint32_t>(index), spin);
    return {SlotBytes(index), slotBytes};
}

void FrameAssembly::Finish(size_t index)
{
    size_t first;
    size_t last;
    {
        const std::lock_guard guard(lock);
        assert(index < coded.size() && !coded[index]);
        coded[index] = true;
        first = placed;
        for (; placed < frameBlocks.size() && coded[placed]; ++placed) {
            BlockInfo& block = frameBlocks[placed];
            block.dataOffset = end;
            StoreWord(offsetTable + sizeof(uint32_t) * (placed + 1), end);
            end += kBlockHeaderBytes + block.compressedSize;
        }
        last = placed;
    }
    for (size_t i = first; i < last; ++i)
        Copy(frameBlocks[i], i);
}

void FrameAssembly::Copy(const BlockInfo& block, size_t index)
{
    uint8_t* const out = offsetTable + block.dataOffset;
    out[0] = block.flags;
    out[1] = static_cast<uint8_t>(block.predictor);
    std::copy_n(SlotBytes(index), block.compressedSize, out + kBlockHeaderBytes);
    slots[index % slots.size()].block.Set(static_cast<uint32_t>(index + slots.size()));
}

} // namespace core
