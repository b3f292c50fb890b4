#include "core/block_list.h"

namespace core {

bool GivesWholeRows(const FrameHeader& header, int verticalSubsampling)
{
    const auto granule =
        static_cast<uint32_t>(IsInterlaced(header) ? 2 * verticalSubsampling : verticalSubsampling);
    return header.blockHeight >= header.height ||
           (header.blockHeight > 0 && header.blockHeight % granule == 0);
}

std::vector<BlockShape> MakeBlocks(const FrameHeader& header, const imgproc::ImgProcBackend& backend)
{
    const auto blockHeight = static_cast<int>(EffectiveBlockHeight(header));
    const size_t bands = CountBands(header);

    std::vector<BlockShape> blocks;
    blocks.reserve(bands * backend.GetPlaneCount());
    for (size_t plane = 0; plane < backend.GetPlaneCount(); ++plane) {
        const int width = backend.GetPlaneWidth(plane, static_cast<int>(header.width));
        const int planeRows = backend.GetPlaneHeight(plane, static_cast<int>(header.height));
        const int blockRows = backend.GetPlaneHeight(plane, blockHeight);
        int firstRow = 0;
        for (size_t band = 0; band < bands; ++band, firstRow += blockRows) {
            const int rows = std::min(firstRow + blockRows, planeRows) - firstRow;
            assert(rows >= 0);
            blocks.push_back({plane, band, firstRow, width, rows});
        }
    }
    return blocks;
}

} // namespace core
