#include "core/block_list.h"

#include "core/orvane.h"

std::vector<BlockInfo> MakeBlocks(const FrameHeader& header, const ImgProcBackend& backend)
{
    const auto height = static_cast<int>(header.height);
    const auto blockHeight = static_cast<int>(EffectiveBlockHeight(header));
    const auto bands = static_cast<int>(CountBands(header));

    std::vector<BlockInfo> blocks(static_cast<size_t>(bands) * static_cast<size_t>(backend.GetPlaneCount()));
    auto block = blocks.begin();
    for (int plane = 0; plane < backend.GetPlaneCount(); ++plane) {
        const int width = backend.GetPlaneWidth(plane, static_cast<int>(header.width));
        const int planeRows = backend.GetPlaneHeight(plane, height);
        const int blockRows = backend.GetPlaneHeight(plane, blockHeight);
        for (int band = 0; band < bands; ++band, ++block) {
            block->plane = plane;
            block->coderId = plane;
            block->blockInPlane = band;
            block->width = width;
            block->firstRow = band * blockRows;
            block->rows = std::min(block->firstRow + blockRows, planeRows) - block->firstRow;
        }
    }
    return blocks;
}

void Orvane::SetupBlocks(const CompressInfo& info)
{
    const ImgProcBackend& planes = info.route.frontend->planeBackend;
    // 128 more samples a row than the picture: what PrepareBuffers needs to align rows.
    const uint64_t rowBytes =
        (uint64_t{info.header.width} + 128) * static_cast<uint64_t>(planes.GetBytesPerSample());
    const uint64_t arena =
        rowBytes * info.header.height * static_cast<uint64_t>(planes.GetPlaneCount()) + 8192;
    imagePlanes.arena.Reserve(arena);
    // Built aside: if memory runs out, the list of the last run stays whole.
    blocks = MakeBlocks(info.header, *info.route.backend);
    listBlockHeight = info.header.blockHeight;
}
