#pragma once

#include "common/plane_info.h"
#include "core/arena.h"
#include "core/block_decoder.h"
#include "core/block_info.h"
#include "core/frame_parser.h"
#include "core/frame_planes.h"
#include "core/run_plan.h"
#include "core/workers.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace core {

/// Turns frames into pictures. It owns the memory of decompression: planes, coders, blocks on their way to
/// their planes. Used by one thread at a time, which shares its work with a pool.
class FrameDecoder
{
  public:
    /// Makes ready for the frames of a run: room for all of the plan's planes, zeroed, and nothing of an
    /// earlier run. Throws std::bad_alloc; the decoder can then be used for a new run only.
    /// record  the configuration record with the tables that follow it
    void Begin(const RunPlan& plan, std::span<const uint8_t> record);

    /// Decompresses a frame. The picture is untouched unless the result is Ok; then it depends on this frame
    /// alone, and where the frame leaves rows of the host's planes open, on what they held. Throws
    /// std::bad_alloc; the decoder stays usable.
    /// plan     the one of Begin
    /// picture  checked against the layout of the run
    FrameStatus Decode(const RunPlan& plan, FrameBytes frame, const PlaneArray& picture,
                       const Workers& workers);

    /// The blocks of the last frame, in plane order.
    std::span<const BlockInfo> Blocks() const { return blocks; }

  private:
    void ResizeCoders(size_t count);
    bool ReadCoders(FrameBytes frame, uint64_t tableOffset, size_t planeCount, const Workers& workers);
    void DecodePlanes(const CodedFrame& frame, const PlaneArray& picture, const Workers& workers);
    void ReserveScratch(size_t threads, size_t planeBytes, size_t symbolBytes);

    /// Memory of one thread, free again when its work item is done.
    struct Scratch {
        Arena planes;  ///< of the bands that it works on
        Arena symbols; ///< of blocks whose rows have gaps
    };

    PlaneArenas arenas;
    std::vector<Scratch> scratch; ///< by thread
    std::vector<FrameCoder> coders;
    std::vector<uint32_t> codeLengths; ///< of all coders of the frame that is being read
    /// After a frame of another block height that changed the number of blocks, the list stays as it is, and
    /// the frames that follow are read by it: part of the format's rules.
    std::vector<BlockInfo> blocks;
    uint32_t listBlockHeight = 0; ///< cuts `blocks`
};

} // namespace core
