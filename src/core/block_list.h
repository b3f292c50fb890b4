// How planes are cut into blocks. The cut depends on the picture alone, never on the number of threads.
#pragma once

#include "common/frame_header.h"
#include "common/plane_info.h"
#include "core/block_info.h"
#include "core/plane_set.h"
#include "imgproc/backend/imgproc_backend.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Rows of the full-size picture in one block: a height above the picture's acts as the picture's. 0: no
/// blocks.
constexpr uint32_t EffectiveBlockHeight(const FrameHeader& header)
{
    return std::min(header.blockHeight, header.height);
}

/// Blocks of one plane, which is the number of row bands of the picture.
constexpr uint32_t CountBands(uint32_t height, uint32_t blockHeight)
{
    return blockHeight == 0 ? 0 : height / blockHeight + (height % blockHeight != 0);
}

constexpr uint32_t CountBands(const FrameHeader& header)
{
    return CountBands(header.height, header.blockHeight);
}

/// Picture rows of one band.
struct Band {
    int first;
    int rows;
};

constexpr Band BandOf(const FrameHeader& header, int band)
{
    const auto blockHeight = static_cast<int>(EffectiveBlockHeight(header));
    const auto height = static_cast<int>(header.height);
    const int first = band * blockHeight;
    return {first, std::min(height - first, blockHeight)};
}

/// Bands `first` to `end` - 1.
struct BandRange {
    int first;
    int end;
};

/// Where a block's samples stand in its plane.
struct BlockRows {
    BlockRows() = default;
    BlockRows(const BlockInfo& block, const PlaneWindow& window)
        : plane(window.From(block.firstRow)), width(block.width), count(block.rows),
          contiguous(plane.pitch == block.width)
    {}

    PlaneInfo plane; ///< from the block's first row on
    int width = 0;
    int count = 0;
    bool contiguous = false; ///< rows follow each other without a gap
};

/// The rows of a block that are predicted together: all of them, or one field.
struct RowSet {
    int first;  ///< 0 or 1
    int stride; ///< 1 or 2
    int rows;

    PlaneInfo Of(const PlaneInfo& block) const { return {RowAt(block, first), block.pitch * stride}; }
};

/// The row sets of a block of `rows` rows. Sets without rows are left out.
class RowSets
{
  public:
    RowSets(const FrameHeader& header, int rows)
    {
        const bool interlaced = IsInterlaced(header);
        for (int field = 0; field < (interlaced ? 2 : 1); ++field)
            sets[static_cast<size_t>(field)] = interlaced ? RowSet{field, 2, rows / 2} : RowSet{0, 1, rows};
        count = sets[0].rows <= 0 ? 0 : interlaced ? 2 : 1;
    }
    const RowSet* begin() const { return sets.data(); }
    const RowSet* end() const { return sets.data() + count; }

  private:
    std::array<RowSet, 2> sets{};
    size_t count;
};

/// The blocks of all planes of `backend`, in plane order, each on the coder of its plane.
std::vector<BlockInfo> MakeBlocks(const FrameHeader& header, const ImgProcBackend& backend);
