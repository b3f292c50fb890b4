// The structure of a compressed frame, read without decoding it: which blocks it has, how each is predicted
// and stored.
#pragma once

#include "common/frame_header.h"
#include "files/byte_source.h"
#include "files/pixel_layout.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

struct BlockStructure {
    uint32_t offset = 0; ///< from the frame's start
    uint32_t size = 0;   ///< bytes, with the two bytes of its head; the last block has the tail in it
    uint8_t plane = 0;
    uint8_t predictor = 0; ///< as it stands in the block: 1 Left, 2 Gradient, 3 Median
    bool raw = false;
};

struct FrameStructure {
    std::string fault;                  ///< why the frame cannot be read; empty when it can
    uint32_t blockHeight = 0;           ///< picture rows of a block
    uint32_t tableOffset = 0;           ///< of the offset table, from the frame's start
    std::vector<BlockStructure> blocks; ///< in plane order; empty with a fault

    /// Blocks by predictor: index 0 counts those with a value of no predictor.
    std::array<uint64_t, 4> CountPredictors() const;
    uint64_t CountRaw() const;

    /// Blocks of one plane.
    size_t Bands(size_t planes) const { return blocks.size() / planes; }
    /// "block 3 (Y, rows 84-111)" or "blocks 12-13 (U, rows 28-83)", with the rows of the picture.
    /// first, last  blocks of one plane
    std::string BlocksText(const CompressedFormat& format, uint32_t height, size_t first, size_t last) const;
};

/// Stretches of set flags: first and last of each.
std::vector<std::pair<size_t, size_t>> Stretches(const std::vector<bool>& flags);

/// "7" or "7-9".
std::string RangeText(uint64_t first, uint64_t last);

/// The rows of a picture that flagged bands cover, as "rows 28-55, 112-139"; empty without any.
/// bandRows  picture rows of a band
/// height    of the picture
std::string RowsOfBands(const std::vector<bool>& bands, uint32_t bandRows, uint32_t height);

/// Why a frame with this header does not belong to a stream with this record; nothing when it does. The
/// versions may differ.
std::optional<std::string> HeaderFault(const FrameHeader& header, const FrameHeader& record);

/// Reads header, offset table and block heads, no more. Nothing outside offset .. offset + size is looked at.
/// record  of the stream
/// planes  of its format
FrameStructure ReadFrameStructure(const ByteSource& source, uint64_t offset, uint32_t size,
                                  const FrameHeader& record, int planes);
