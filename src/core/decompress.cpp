// From frame to host picture.
//
// Every test of the frame runs on the calling thread before a plane byte is written; after them nothing can
// fail. Then a band goes on one worker from compressed bytes to finished host rows, normally in one pool run.

#include "common/trace.h"
#include "core/block_list.h"
#include "core/frame_parser.h"
#include "core/orvane.h"
#include "entropy/bit_stream.h"
#include "entropy/length_table.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <span>

namespace {

FrameBytes BytesOf(const CompressInfo& info)
{
    return {info.frame, info.frameSize};
}

/// The bits of a coded block. Heads and ends that lie outside the frame leave none.
FrameBytes PayloadOf(FrameBytes frame, const BlockInfo& block)
{
    const auto start =
        static_cast<size_t>(std::min<uint64_t>(block.dataOffset + kBlockHeadBytes, frame.size()));
    const uint64_t size = block.dataSize > kBlockHeadBytes ? block.dataSize - kBlockHeadBytes : 0;
    return frame.subspan(start, static_cast<size_t>(size));
}

void CopyRows(const uint8_t* from, const BlockRows& to)
{
    for (int row = 0; row < to.count; ++row, from += to.width)
        std::memcpy(RowAt(to.plane, row), from, static_cast<size_t>(to.width));
}

/// All bands in items of neighbours. Their sizes differ by one at most: bands that are decoded side by side help each
/// other, so that a small item would cost more than its share. The larger items come first: threads that take turns then
/// come out as even as can be.
struct BandItems {
    int bands;
    int count;

    int Largest() const { return count == 0 ? 0 : (bands + count - 1) / count; }
    BandRange Of(int item) const { return {Begin(item), Begin(item + 1)}; }

  private:
    int Begin(int item) const { return item * (bands / count) + std::min(item, bands % count); }
};

int FewestItems(int bands)
{
    return (bands + kMaxBandsPerItem - 1) / kMaxBandsPerItem;
}

/// As few items as go, though one for each thread if there are so many bands.
BandItems LargeItems(int bands, int threads)
{
    return {bands, std::max(FewestItems(bands), std::min(bands, threads))};
}

/// As few items as go, though as many for each thread as for the others if there are so many bands.
BandItems EvenItems(int bands, int threads)
{
    return {bands, std::min(bands, (FewestItems(bands) + threads - 1) / threads * threads)};
}

/// Puts a value back at the end of a scope, however it is left.
class RestoreAtExit
{
  public:
    explicit RestoreAtExit(uint32_t& variable) : target(variable), kept(variable) {}
    RestoreAtExit(const RestoreAtExit&) = delete;
    RestoreAtExit& operator=(const RestoreAtExit&) = delete;
    ~RestoreAtExit() { target = kept; }

  private:
    uint32_t& target;
    const uint32_t kept;
};

} // namespace

FrameStatus Orvane::Decompress(CompressInfo& info)
{
    if (!CheckImage(info))
        return FrameStatus::BadPlanes;
    // A frame's own block height holds for this call only. The block list that was made for it stays: the
    // next frame's block count is that list's.
    const RestoreAtExit blockHeightGuard(info.header.blockHeight);
    bool foreignBlockHeight = false;
    const FrameStatus status = ParseFrame(info, foreignBlockHeight);
    if (status != FrameStatus::Ok)
        return status;
    PreparePlanes(info);
    PrepareConvertedPlanes(info);
    // The rows of a list that was made for another height are not those of the bands: every stage then waits for the
    // one before it to be done in all bands.
    DecompressBlocks(info, foreignBlockHeight || listBlockHeight != info.header.blockHeight);
    return FrameStatus::Ok;
}

FrameStatus Orvane::ParseFrame(CompressInfo& info, bool& foreignBlockHeight)
{
    const FrameBytes frame = BytesOf(info);
    const FrameStart start = ParseFrameStart(frame, info.header);
    if (start.status != FrameStatus::Ok)
        return start.status;

    if (start.blockHeight != info.header.blockHeight) {
        foreignBlockHeight = true;
        info.header.blockHeight = start.blockHeight;
        const uint64_t count =
            uint64_t{CountBands(info.header)} * static_cast<uint64_t>(info.route.backend->GetPlaneCount());
        // A small frame must not make us build a large list.
        if (count > kMaxBlocks || !HasOffsetTable(frame, start.tableOffset, count))
            return FrameStatus::DamagedFrame;
        if (count != blocks.size())
            SetupBlocks(info);
    }

    const uint64_t count = blocks.size();
    if (!HasOffsetTable(frame, start.tableOffset, count))
        return FrameStatus::DamagedFrame;
    for (uint64_t i = 0; i < count; ++i) {
        const auto range = LocateBlock(frame, start.tableOffset, count, i);
        if (!range)
            return FrameStatus::DamagedFrame;
        blocks[static_cast<size_t>(i)].dataOffset = range->offset;
        blocks[static_cast<size_t>(i)].dataSize = range->size;
    }
    if (CoderTypeOf(info.header) == CoderType::InFrame && !ReadCoders(info, start.tableOffset))
        return FrameStatus::DamagedFrame;
    return FrameStatus::Ok;
}

bool Orvane::ReadCoders(const CompressInfo& info, uint64_t tableOffset)
{
    const StageScope timing(Timer(Stage::TablesDecompress));
    const auto section = LocateCoders(BytesOf(info), tableOffset, blocks.size());
    if (!section)
        return false;

    const auto planes = static_cast<uint32_t>(info.route.backend->GetPlaneCount());
    const bool idsValid =
        std::ranges::all_of(section->ids, [&](uint8_t id) { return id < section->coderCount; });
    if (!idsValid && section->coderCount != planes)
        return false;
    // Ids that make no sense in a frame with one coder for each plane are all thrown away: each block gets
    // the coder of its plane. There are such streams.
    for (size_t i = 0; i < blocks.size(); ++i)
        blocks[i].coderId = idsValid ? section->ids[i] : blocks[i].plane;

    const size_t symbols = size_t{1} << info.route.backend->GetBitsPerSample();
    codeLengths.assign(section->coderCount * symbols, 0);
    const uint8_t* at = section->tables.data();
    const uint8_t* const end = at + section->tables.size();
    for (uint32_t coder = 0; coder < section->coderCount; ++coder) {
        at = ReadLengthTable(at, end, static_cast<int>(symbols), codeLengths.data() + coder * symbols);
        if (!at)
            return false;
    }

    SetupCoders(section->coderCount);
    std::atomic<bool> usable = true;
    pool.Run(static_cast<int>(section->coderCount), [&](int coder, int) {
        const auto index = static_cast<size_t>(coder);
        if (!coders[index]->BuildFromLengths(static_cast<int>(symbols), codeLengths.data() + index * symbols,
                                             false))
            usable = false;
    });
    return usable;
}

void Orvane::DecompressBlocks(const CompressInfo& info, bool separateRuns)
{
    const auto planes = static_cast<size_t>(info.route.backend->GetPlaneCount());
    const bool hostPlanesOnly =
        !info.route.converter &&
        std::ranges::all_of(std::span(imagePlanes.plane).first(planes), &PlaneRecord::external);
    if (hostPlanesOnly && !separateRuns)
        DecompressHostPlanes(info);
    else
        DecompressBandByBand(info, separateRuns);
}

void Orvane::DecompressHostPlanes(const CompressInfo& info)
{
    // Nothing is to be joined, so planes need not keep together: items can be as large as is best for decoding and
    // still come out even, the small ones of the chroma planes last.
    const BandItems items = LargeItems(static_cast<int>(CountBands(info.header)), ThreadCount());
    PrepareScratch(info, imagePlanes, items.Largest());
    pool.Run(items.count * info.route.backend->GetPlaneCount(), [&](int item, int thread) {
        const int plane = item / items.count;
        DecompressPlane(info, plane, items.Of(item % items.count),
                        {imagePlanes.plane[static_cast<size_t>(plane)]}, thread);
    });
}

void Orvane::DecompressBandByBand(const CompressInfo& info, bool separateRuns)
{
    steps.assign({{0, PassStep::Decode, 0}});
    AddConvertPasses(info, separateRuns, steps);
    steps.push_back({steps.back().step + (separateRuns ? 1 : 0), PassStep::JoinPicture, 0});

    const PlaneSet& target = info.route.converter ? convertedPlanes : imagePlanes;
    const BandItems items = EvenItems(static_cast<int>(CountBands(info.header)), ThreadCount());
    // Where a block may stay undecoded, planes of our own keep what they held.
    const bool everyBlockIsDecoded = CoderTypeOf(info.header) == CoderType::InFrame && !separateRuns;
    PrepareBandScratch(info, everyBlockIsDecoded ? items.Largest() : 0);
    PrepareScratch(info, target, separateRuns ? 0 : items.Largest());
    for (int step = 0; step <= steps.back().step; ++step)
        pool.Run(items.count, [&, step](int item, int thread) {
            for (const PassStep& entry : steps)
                if (entry.step == step)
                    DecompressBands(info, entry, items.Of(item), target, thread);
        });
}

void Orvane::DecompressBands(const CompressInfo& info, const PassStep& entry, BandRange range,
                             const PlaneSet& target, int thread)
{
    switch (entry.kind) {
    case PassStep::Decode: {
        const PlaneWindows windows = WindowsOf(info, target, range, thread);
        for (int plane = 0; plane < info.route.backend->GetPlaneCount(); ++plane)
            DecompressPlane(info, plane, range, windows[static_cast<size_t>(plane)], thread);
        break;
    }
    case PassStep::ConvertPass: {
        const StageScope timing(Timer(Stage::Convert, thread));
        for (int band = range.first; band < range.end; ++band)
            ConvertBlock(info, convertedPlanes, imagePlanes, entry.arg, band);
        break;
    }
    default: {
        const StageScope timing(Timer(Stage::Join, thread));
        const PlaneWindows windows = WindowsOf(info, imagePlanes, range, thread);
        for (int band = range.first; band < range.end; ++band)
            TransformBlock(info, band, windows);
    }
    }
}

void Orvane::DecompressPlane(const CompressInfo& info, int plane, BandRange range, const PlaneWindow& window,
                             int thread)
{
    {
        const StageScope timing(Timer(Stage::Decode, thread));
        DecodeBlocks(info, plane, range, window, thread);
    }
    const StageScope timing(Timer(Stage::Unpredict, thread));
    UnpredictBlocks(info, plane, range, window);
}

void Orvane::PrepareScratch(const CompressInfo& info, const PlaneSet& target, int blockCount)
{
    const int planes = info.route.backend->GetPlaneCount();
    const bool needed = std::ranges::any_of(blocks, [&](const BlockInfo& block) {
        return block.plane < planes && target.plane[static_cast<size_t>(block.plane)].pitch != block.width;
    });
    decodeScratch.resize(static_cast<size_t>(ThreadCount()));
    // All blocks but the last of a plane are as large as its first, and none is larger than plane 0's.
    const size_t blockBytes =
        blocks.empty() ? 0 : static_cast<size_t>(blocks[0].width) * static_cast<size_t>(blocks[0].rows);
    for (auto& scratch : decodeScratch)
        scratch.resize(needed ? blockBytes * static_cast<size_t>(blockCount) : 0);
}

BlockInfo* Orvane::BlockOf(const CompressInfo& info, int plane, int band)
{
    const size_t index = static_cast<size_t>(plane) * CountBands(info.header) + static_cast<size_t>(band);
    // Only behind a frame of another block height can the list be another than the bands ask for.
    if (index >= blocks.size() || blocks[index].plane != plane)
        return nullptr;
    return &blocks[index];
}

void Orvane::DecodeBlocks(const CompressInfo& info, int plane, BandRange range, const PlaneWindow& window,
                          int thread)
{
    const FrameBytes frame = BytesOf(info);
    std::vector<uint8_t>& scratch = decodeScratch[static_cast<size_t>(thread)];
    size_t scratchUsed = 0;
    std::array<DecodeJob, kMaxBandsPerItem> jobs;
    std::array<BlockRows, kMaxBandsPerItem> targets;
    size_t count = 0;
    int coderId = 0;
    const auto flush = [&] {
        if (count == 0)
            return;
        coders[static_cast<size_t>(coderId)]->DecodeBlocks({jobs.data(), count});
        for (size_t i = 0; i < count; ++i)
            if (!targets[i].contiguous)
                CopyRows(jobs[i].out, targets[i]);
        count = scratchUsed = 0;
    };

    for (int band = range.first; band < range.end; ++band) {
        const BlockInfo* block = BlockOf(info, plane, band);
        // Without a coder the rows stay as they are.
        if (!block || block->coderId < 0 || static_cast<size_t>(block->coderId) >= coders.size())
            continue;
        const BlockRows rows(*block, window);
        const bool raw = (ByteAt(frame, block->dataOffset) & kBlockRaw) != 0;
        if (raw || (!rows.contiguous && scratch.empty())) {
            DecodeBlock(info, *block, rows, raw);
            continue;
        }
        // The blocks of a plane share a coder, as a rule.
        if (block->coderId != coderId)
            flush();
        coderId = block->coderId;
        const FrameBytes payload = PayloadOf(frame, *block);
        const auto symbols = static_cast<uint32_t>(rows.width * rows.count);
        uint8_t* const out = rows.contiguous ? rows.plane.data : scratch.data() + scratchUsed;
        scratchUsed += rows.contiguous ? 0 : symbols;
        jobs[count] = {payload.data(), payload.data() + payload.size(), out, symbols};
        targets[count++] = rows;
    }
    flush();
}

void Orvane::DecodeBlock(const CompressInfo& info, const BlockInfo& block, const BlockRows& rows, bool raw)
{
    const FrameBytes frame = BytesOf(info);
    const HuffCoder& coder = *coders[static_cast<size_t>(block.coderId)];
    const FrameBytes payload = PayloadOf(frame, block);
    // A raw block that is too short reads on behind it.
    const auto size =
        raw ? static_cast<size_t>(frame.data() + frame.size() - payload.data()) : payload.size();
    BitStream stream;
    BitStreamInit(stream, payload.data(), size);
    const int runs = rows.contiguous ? 1 : rows.count;
    const auto run = static_cast<uint32_t>(rows.contiguous ? rows.width * rows.count : rows.width);
    for (int i = 0; i < runs; ++i) {
        if (raw)
            coder.ReadRaw(stream, RowAt(rows.plane, i), run);
        else
            coder.Decode(stream, RowAt(rows.plane, i), run);
    }
    if (raw)
        Trace("Entropy decode skipped (cplane: %d, cplane blockId: %d)\n", block.plane, block.blockInPlane);
}

void Orvane::UnpredictBlocks(const CompressInfo& info, int plane, BandRange range, const PlaneWindow& window)
{
    std::array<BlockView, 2 * kMaxBandsPerItem> views; // fields are two
    size_t count = 0;
    PredictMethod method{};
    int width = 0;
    const auto flush = [&] {
        info.route.backend->Unpredict({views.data(), count}, width, method);
        count = 0;
    };

    for (int band = range.first; band < range.end; ++band) {
        BlockInfo* block = BlockOf(info, plane, band);
        if (!block)
            continue;
        const auto own = static_cast<PredictMethod>(ByteAt(BytesOf(info), block->dataOffset + 1));
        block->NoteUse(own);
        if (own != method)
            flush();
        method = own;
        width = block->width;
        const PlaneInfo rows = window.From(block->firstRow);
        for (const RowSet field : RowSets(info.header, block->rows))
            views[count++] = {field.Of(rows), field.rows};
    }
    flush();
}
