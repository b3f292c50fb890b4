// From the bytes of blocks to the samples of their planes.
#pragma once

#include "core/band_items.h"
#include "core/block_info.h"
#include "core/block_list.h"
#include "core/frame_parser.h"
#include "core/run_plan.h"
#include "entropy/huff_coder_8.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace core {

/// A coder of the frame that is being read.
struct FrameCoder {
    std::unique_ptr<entropy::HuffCoder8> coder;
    bool hasCode = false; ///< whether its tables belong to the current frame, or run
};

/// A parsed frame with all that its blocks are decoded by. Nothing here changes while threads work on it.
struct CodedFrame {
    const RunPlan& plan;
    FrameBytes bytes;
    std::span<const BlockInfo> blocks; ///< located in `bytes`
    std::span<const FrameCoder> coders;

    /// The block of a band; null where the list was made for another block height and has none.
    const BlockInfo* BlockOf(size_t plane, size_t band) const
    {
        const size_t index = plane * plan.bandCount + band;
        return index < blocks.size() && blocks[index].plane == plane ? &blocks[index] : nullptr;
    }
};

/// Decodes the blocks of a plane in a range of bands to residuals. Rows without a code are zeros; in the
/// host's picture they stay as they are. scratch  room for the symbols of all these blocks; null where the
/// rows of planes have no gaps
void DecodeBlocks(const CodedFrame& frame, size_t plane, BandRange range, const PlaneWindow& window,
                  uint8_t* scratch);

/// Turns the residuals of the same blocks into samples, in place.
void UnpredictBlocks(const CodedFrame& frame, size_t plane, BandRange range, const PlaneWindow& window);

} // namespace core
