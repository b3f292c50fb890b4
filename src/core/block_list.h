// How planes are cut into bands and blocks. The cut depends on the picture alone, never on the number of
// threads.
#pragma once

#include "common/as_size.h"
#include "common/frame_header.h"
#include "common/plane_info.h"
#include "core/block_info.h"
#include "imgproc/backend/imgproc_backend.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

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

/// Whether the block height gives every plane of a frame, and each field of an interlaced one, whole rows. A
/// single block always does.
/// verticalSubsampling  of the planes: 1, or 2 for 4:2:0
bool GivesWholeRows(const FrameHeader& header, int verticalSubsampling);

/// Picture rows of one band.
struct Band {
    int first;
    int rows;
};

constexpr Band BandOf(const FrameHeader& header, size_t band)
{
    assert(band < CountBands(header));
    const uint32_t blockHeight = EffectiveBlockHeight(header);
    const uint32_t first = static_cast<uint32_t>(band) * blockHeight;
    return {static_cast<int>(first), static_cast<int>(std::min(header.height - first, blockHeight))};
}

/// Bands `first` to `end` - 1.
struct BandRange {
    size_t first;
    size_t end;
};

/// Rows of a plane from `firstRow` on, wherever they are stored.
template <class Sample>
struct BasicPlaneWindow {
    BasicPlane<Sample> rows;
    int firstRow = 0; ///< plane row

    BasicPlane<Sample> From(int planeRow) const
    {
        assert(planeRow >= firstRow);
        return FromRow(rows, planeRow - firstRow);
    }
};

template <class Sample>
using BasicPlaneWindows = std::array<BasicPlaneWindow<Sample>, kMaxPlanes>;

using PlaneWindow = BasicPlaneWindow<uint8_t>;
using PlaneWindows = BasicPlaneWindows<uint8_t>;
/// Rows that are only read.
using ConstPlaneWindow = BasicPlaneWindow<const uint8_t>;
using ConstPlaneWindows = BasicPlaneWindows<const uint8_t>;

/// The samples of a block.
template <class Sample>
struct BasicBlockRows {
    BasicBlockRows() = default;
    BasicBlockRows(const BlockShape& block, const BasicPlaneWindow<Sample>& window)
        : plane(window.From(block.firstRow)), width(AsSize(block.width)), count(AsSize(block.rows)),
          contiguous(plane.pitch == block.width)
    {}

    /// Samples of one run without a gap, of which the block has RunCount().
    size_t RunLength() const { return contiguous ? Samples() : width; }
    size_t RunCount() const { return contiguous ? 1 : count; }
    size_t Samples() const { return width * count; }
    Sample* Run(size_t run) const
    {
        assert(run < RunCount());
        return RowAt(plane, static_cast<ptrdiff_t>(run));
    }

    BasicPlane<Sample> plane; ///< from the block's first row on
    size_t width = 0;
    size_t count = 0;
    bool contiguous = false; ///< rows follow each other without a gap
};

using BlockRows = BasicBlockRows<uint8_t>;
using ConstBlockRows = BasicBlockRows<const uint8_t>;

/// The rows of a block that are predicted together: all of them, or one field.
struct RowSet {
    int first;  ///< 0 or 1
    int stride; ///< 1 or 2
    int rows;

    template <class Sample>
    BasicPlane<Sample> Of(const BasicPlane<Sample>& block) const
    {
        return {RowAt(block, first), block.pitch * stride};
    }
};

/// The row sets of a block of `rows` rows. Sets without rows are left out.
class RowSets
{
  public:
    RowSets(const FrameHeader& header, int rows)
    {
        const bool interlaced = IsInterlaced(header);
        sets = interlaced ? std::array{RowSet{0, 2, rows / 2}, RowSet{1, 2, rows / 2}}
                          : std::array{RowSet{0, 1, rows}, RowSet{}};
        count = sets[0].rows <= 0 ? 0 : interlaced ? 2 : 1;
    }
    const RowSet* begin() const { return sets.data(); }
    const RowSet* end() const { return sets.data() + count; }

    /// Rows of all sets, which are the block's first ones.
    int Rows() const { return static_cast<int>(count) * sets[0].rows; }

  private:
    std::array<RowSet, 2> sets;
    size_t count;
};

/// The blocks of all planes of `backend`, in plane order.
std::vector<BlockShape> MakeBlocks(const FrameHeader& header, const imgproc::ImgProcBackend& backend);

/// The record of each block, on the coder of its plane.
inline std::vector<BlockInfo> MakeBlockInfos(const std::vector<BlockShape>& shapes)
{
    return {shapes.begin(), shapes.end()};
}

} // namespace core
