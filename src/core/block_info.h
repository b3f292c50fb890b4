#pragma once

#include "common/settings_records.h"

#include <cstdint>
#include <vector>

/// Bit 0 of a block's first byte: the payload is the residuals themselves.
inline constexpr uint8_t kBlockRaw = 1;
/// In front of a block's payload: flags and predictor.
inline constexpr int kBlockHeadBytes = 2;

/// One block of one plane. Threads write neighbouring records at the same time, so each stands on cache lines
/// of its own (two, since processors fetch lines in pairs).
struct alignas(128) BlockInfo {
    std::vector<uint64_t> frequencies; ///< compress: sampled symbol counts of the residuals
    int leftUsed = 0;                  ///< statistics of the last frame: 1 for the predictor in use
    int gradientUsed = 0;
    int medianUsed = 0;
    uint64_t dataOffset = 0;     ///< decompress: the block in the frame; compress: behind the frame's header
    uint64_t dataSize = 0;       ///< decompress: its bytes, head included
    uint32_t compressedSize = 0; ///< compress: bytes of payload
    int coderId = 0;             ///< index in the coders; from a frame it may be out of range
    int plane = 0;
    int blockInPlane = 0; ///< from the top
    PredictMethod predictor = PredictMethod::Median;
    uint8_t flags = 0; ///< kBlockRaw
    int firstRow = 0;  ///< plane row
    int width = 0;     ///< samples
    int rows = 0;      ///< plane rows, 0 possible in frames with odd block heights

    void NoteUse(PredictMethod method)
    {
        leftUsed = method == PredictMethod::Left;
        gradientUsed = method == PredictMethod::Gradient;
        medianUsed = method == PredictMethod::Median;
    }
};
