// Frames made by hand: parts that no encoder writes, put together as a frame.
#pragma once

#include "vectors/vector.h"

#include <array>

namespace vectors {

/// Block flag: the payload is the residuals.
inline constexpr uint8_t kRaw = 1;

/// Code lengths by symbol.
using Lengths = std::array<uint8_t, 256>;

/// A complete code with short codes for symbols near 0, the longest of `longest` bits, 9 to 12.
Lengths UsualLengths(int longest = 12);
/// The same length for all.
Lengths FlatLengths(uint8_t length = 8);

/// The stored form of a code length table.
Bytes TableOf(const Lengths& lengths);

/// The residuals as a bit stream; `lengths` are a code.
Bytes Coded(const Bytes& residuals, const Lengths& lengths);

struct BlockParts {
    uint8_t flags = 0; ///< bit 0: `payload` is raw
    uint8_t predictor = 1;
    Bytes payload;
};

struct FrameParts {
    Bytes header; ///< all bytes in front of the offset table; none in a headerless frame
    bool hasCoders = true;
    uint8_t coderCount = 0;
    Bytes ids;
    std::vector<Bytes> tables;
    std::vector<BlockParts> blocks;

    /// The frame with rising offsets, no gaps and the usual tail.
    Bytes Join() const;
    /// The same without a tail.
    Bytes JoinBare() const;
    /// Where the offset table has the word of a block.
    size_t OffsetAt(size_t block) const { return header.size() + 4 * (block + 1); }
};

/// Rows and width of the blocks of a stream, in plane order, cut by `blockHeight`.
struct BlockSize {
    size_t plane;
    uint32_t width;
    uint32_t rows;
};
std::vector<BlockSize> BlocksOf(const FrameHeader& record, uint32_t blockHeight);

/// A header as the encoder writes it.
FrameHeader UsualHeader(uint8_t code, uint32_t width, uint32_t height);

/// Residuals that codes near 0 suit.
Bytes SomeResiduals(size_t count, uint32_t seed);

/// A frame of the stream with coded blocks of random residuals: coder p for plane p, all with `lengths`;
/// predictors 1, 2, 3 in turn. Frames differ by `seed`.
FrameParts SomeFrame(const FrameHeader& header, uint32_t seed, const Lengths& lengths = UsualLengths());

} // namespace vectors
