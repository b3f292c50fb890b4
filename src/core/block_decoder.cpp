#include "core/block_decoder.h"

#include "common/trace.h"
#include "core/frame_layout.h"
#include "entropy/bit_stream.h"
#include "entropy/interleaved_decode.h"

#include <array>
#include <cassert>
#include <cstring>

namespace core {

namespace {

void CopyRows(const uint8_t* from, const BlockRows& to)
{
    for (size_t row = 0; row < to.count; ++row, from += to.width)
        std::memcpy(RowAt(to.plane, static_cast<ptrdiff_t>(row)), from, to.width);
}

void ClearRows(const BlockRows& rows)
{
    for (size_t run = 0; run < rows.RunCount(); ++run)
        std::memset(rows.Run(run), 0, rows.RunLength());
}

bool IsRaw(const CodedFrame& frame, const BlockInfo& block)
{
    return (ByteAt(frame.bytes, block.dataOffset) & kBlockRaw) != 0;
}

/// Residuals that are stored unchanged. A block that is too short reads on after its end.
void ReadRawBlock(const CodedFrame& frame, const entropy::HuffCoder& coder, const BlockInfo& block,
                  const BlockRows& rows)
{
    const FrameBytes rest = frame.bytes.subspan(PayloadStart(frame.bytes, block));
    entropy::InBitStream stream;
    entropy::BitStreamInit(stream, rest.data(), rest.size());
    for (size_t run = 0; run < rows.RunCount(); ++run)
        coder.ReadRaw(stream, rows.Run(run), rows.RunLength());
    Trace("Entropy decode skipped (cplane: %d, cplane blockId: %d)\n", static_cast<int>(block.plane),
          static_cast<int>(block.blockInPlane));
}

/// Blocks of one code, which are decoded interleaved.
class JobQueue
{
  public:
    explicit JobQueue(uint8_t* scratchMemory) : scratch(scratchMemory) {}

    void Add(const entropy::HuffCoder8& jobCoder, FrameBytes payload, const BlockRows& rows)
    {
        assert(count < jobs.size() && (rows.contiguous || scratch));
        if (coder != &jobCoder)
            Flush();
        coder = &jobCoder;
        uint8_t* const out = rows.contiguous ? rows.plane.data : scratch + scratchUsed;
        scratchUsed += rows.contiguous ? 0 : rows.Samples();
        jobs[count] = {payload, {out, rows.Samples()}};
        targets[count++] = rows;
    }

    void Flush()
    {
        if (count == 0)
            return;
        coder->DecodeBlocks({jobs.data(), count});
        for (size_t i = 0; i < count; ++i)
            if (!targets[i].contiguous)
                CopyRows(jobs[i].symbols.data(), targets[i]);
        count = scratchUsed = 0;
    }

  private:
    const entropy::HuffCoder8* coder = nullptr;
    std::array<entropy::DecodeJob, kMaxBandsPerItem> jobs;
    std::array<BlockRows, kMaxBandsPerItem> targets;
    size_t count = 0;
    uint8_t* const scratch;
    size_t scratchUsed = 0;
};

} // namespace

void DecodeBlocks(const CodedFrame& frame, size_t plane, BandRange range, const PlaneWindow& window,
                  uint8_t* scratch)
{
    assert(range.end - range.first <= kMaxBandsPerItem);
    const bool ownPlane = frame.plan.coded[plane].storage != Storage::Picture;
    JobQueue queue(scratch);
    for (size_t band = range.first; band < range.end; ++band) {
        const BlockInfo* block = frame.BlockOf(plane, band);
        if (!block)
            continue;
        const BlockRows rows(*block, window);
        const FrameCoder* coder =
            block->coderId < frame.coders.size() ? &frame.coders[block->coderId] : nullptr;
        if (coder && IsRaw(frame, *block))
            ReadRawBlock(frame, *coder->coder, *block, rows);
        else if (coder && coder->hasCode)
            queue.Add(*coder->coder, PayloadOf(frame.bytes, *block), rows);
        else if (ownPlane)
            ClearRows(rows);
    }
    queue.Flush();
}

void UnpredictBlocks(const CodedFrame& frame, size_t plane, BandRange range, const PlaneWindow& window)
{
    assert(range.end - range.first <= kMaxBandsPerItem);
    std::array<imgproc::BlockView, 2 * kMaxBandsPerItem> views; // fields are two
    size_t count = 0;
    PredictMethod method{};
    int width = 0;
    const auto flush = [&] {
        frame.plan.route.backend->Unpredict({views.data(), count}, width, method);
        count = 0;
    };

    for (size_t band = range.first; band < range.end; ++band) {
        const BlockInfo* block = frame.BlockOf(plane, band);
        if (!block)
            continue;
        const auto own = static_cast<PredictMethod>(ByteAt(frame.bytes, block->dataOffset + 1));
        if (own != method)
            flush();
        method = own;
        width = block->width;
        const PlaneInfo rows = window.From(block->firstRow);
        for (const RowSet& set : RowSets(frame.plan.header, block->rows))
            views[count++] = {set.Of(rows), set.rows};
    }
    flush();
}

} // namespace core
