// Coded blocks on their way into a frame.
//
// A block's place in the frame is known when all blocks before it are coded. Until then it stands in a slot.
// Who finishes the block that those behind it have waited for copies it and them, while they are still in a
// cache; the slots are few and go round, so that they stay there, too.
#pragma once

#include "core/arena.h"
#include "core/block_info.h"
#include "platform/turn.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

namespace core {

class FrameAssembly
{
  public:
    /// Makes room for coding blocks of `blockBytes` at most, on `threads` threads. Called between frames.
    /// Throws std::bad_alloc.
    void Prepare(size_t blockCount, size_t blockBytes, int threads);

    /// Begins with a frame.
    /// blocks  in frame order; none of them is coded yet
    /// table   the frame's offset table, from which offsets count; room behind it for the whole frame
    /// offset  of the first block
    void Begin(std::span<BlockInfo> blocks, uint8_t* table, size_t offset);

    // Any thread, once for each block. Blocks are begun in rising order, and each that is begun must be
    // finished: others wait for it.

    /// Where to code block `index`. Waits for the block that had the slot before.
    std::span<uint8_t> SlotOf(size_t index);
    /// The block's payload stands in its slot, and its size, flags and predictor are known.
    void Finish(size_t index);

    /// The offset behind the last block. Called when all are finished and the threads have met.
    size_t End() const { return end; }

  private:
    /// Threads write to neighbouring slots' records at the same time.
    struct alignas(128) Slot {
        platform::Turn block; ///< the one that may use it now
    };

    uint8_t* SlotBytes(size_t index) { return memory.Base() + index % slots.size() * slotBytes; }
    void Copy(const BlockInfo& block, size_t index);

    Arena memory;
    size_t slotBytes = 0;
    std::chrono::microseconds spin{0}; ///< of waits for a slot
    std::vector<Slot> slots;

    std::span<BlockInfo> frameBlocks;
    uint8_t* offsetTable = nullptr;

    std::mutex lock;         ///< of what follows, the offset table and the blocks' offsets
    size_t placed = 0;       ///< blocks whose place is known
    size_t end = 0;          ///< the offset behind them
    std::vector<bool> coded; ///< by block
};

} // namespace core
