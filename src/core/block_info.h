#pragma once

#include "common/settings_records.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// Bit 0 of a block's first byte: the payload is the residuals themselves.
inline constexpr uint8_t kBlockRaw = 1;

/// Where a block lies in its plane.
struct BlockShape {
    size_t plane = 0;
    size_t blockInPlane = 0; ///< from the top
    int firstRow = 0;        ///< plane row
    int width = 0;           ///< samples
    int rows = 0;            ///< plane rows; 0 is possible with odd block heights
};

/// One block of one plane. Threads write neighboring records at the same time, so each has its own cache
/// lines (two, since processors fetch lines in pairs).
struct alignas(128) BlockInfo : BlockShape {
    BlockInfo() = default;
    explicit BlockInfo(const BlockShape& shape) : BlockShape(shape), coderId(shape.plane) {}

    std::vector<uint64_t> frequencies; ///< compress: sampled symbol counts of the residuals
    uint64_t dataOffset = 0;     ///< decompress: the block in the frame; compress: from the offset table
    uint64_t dataSize = 0;       ///< decompress: its bytes, header included
    uint32_t compressedSize = 0; ///< compress: bytes of payload
    size_t coderId = 0;          ///< index in the coders; from a frame it may be out of range
    PredictMethod predictor = PredictMethod::Median;
    uint8_t flags = 0; ///< kBlockRaw
};
