#pragma once

#include "common/plane_info.h"
#include "common/settings_records.h"
#include "core/arena.h"
#include "core/block_info.h"
#include "core/frame_assembly.h"
#include "core/frame_planes.h"
#include "core/run_plan.h"
#include "core/workers.h"
#include "entropy/huff_coder_8.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace core {

/// One picture on its way into a frame.
struct EncodeInput {
    std::span<const uint8_t> record; ///< the configuration record, which opens the frame
    ConstPlaneArray picture;         ///< checked against the layout of the run
    PredictMethod method;            ///< of all blocks; Dynamic: the best for each
    uint8_t* frame;                  ///< room for the largest frame of the run
};

/// Turns pictures into frames. It owns the memory of compression: planes, residuals, coders, coded blocks.
/// Used by one thread at a time, which shares its work with a pool.
class FrameEncoder
{
  public:
    /// Makes ready for the frames of a run: room for all of the plan's planes, zeroed, and nothing of an
    /// earlier run. Throws std::bad_alloc; the encoder can then be used for a new run only.
    void Begin(const RunPlan& plan);

    /// Compresses a picture. Returns the bytes of the frame. Nothing of it depends on the number of threads
    /// or on earlier pictures. Throws std::bad_alloc; the encoder stays usable. plan  the one of Begin, or
    /// one that differs in its steps only
    uint32_t Encode(const RunPlan& plan, const EncodeInput& input, const Workers& workers);

    /// The blocks of the last frame, in plane order.
    std::span<const BlockInfo> Blocks() const { return blocks; }

  private:
    PlaneArenas arenas;
    Arena residuals;
    std::vector<Arena> scratch; ///< by thread: planes of the band that it works on
    std::vector<BlockInfo> blocks;
    std::array<entropy::HuffCoder8, kMaxPlanes> coders;
    std::array<std::vector<uint64_t>, kMaxPlanes> totals; ///< by plane: counts of all its blocks
    FrameAssembly assembly;
};

} // namespace core
