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
#include <atomic>

namespace {

FrameBytes BytesOf(const CompressInfo& info)
{
    return {info.frame, info.frameSize};
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
    DecompressBlocks(info, foreignBlockHeight);
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

void Orvane::DecompressBlocks(const CompressInfo& info, bool foreignBlockHeight)
{
    // The list of a foreign block height may not match the bands row by row: every stage then waits for the
    // one before it to be done in all bands.
    steps.assign({{0, PassStep::Decode, 0}});
    AddConvertPasses(info, foreignBlockHeight, steps);
    steps.push_back({steps.back().step + (foreignBlockHeight ? 1 : 0), PassStep::JoinPicture, 0});

    const PlaneSet& target = info.route.converter ? convertedPlanes : imagePlanes;
    const auto bands = static_cast<int>(CountBands(info.header));
    const int planes = info.route.backend->GetPlaneCount();
    for (int step = 0; step <= steps.back().step; ++step)
        pool.Run(bands, [&, step](int band, int thread) {
            for (const PassStep& entry : steps) {
                if (entry.step != step)
                    continue;
                if (entry.kind == PassStep::Decode) {
                    for (int plane = 0; plane < planes; ++plane) {
                        {
                            const StageScope timing(Timer(Stage::Decode, thread));
                            DecodeBlock(info, plane, band, target);
                        }
                        const StageScope timing(Timer(Stage::Unpredict, thread));
                        UnpredictBlock(info, plane, band, target);
                    }
                } else if (entry.kind == PassStep::ConvertPass) {
                    const StageScope timing(Timer(Stage::Convert, thread));
                    ConvertBlock(info, convertedPlanes, imagePlanes, entry.arg, band);
                } else {
                    const StageScope timing(Timer(Stage::Join, thread));
                    TransformBlock(info, band);
                }
            }
        });
}

BlockInfo* Orvane::BlockOf(const CompressInfo& info, int plane, int band)
{
    const size_t index = static_cast<size_t>(plane) * CountBands(info.header) + static_cast<size_t>(band);
    // Only behind a frame of another block height can the list be another than the bands ask for.
    if (index >= blocks.size() || blocks[index].plane != plane)
        return nullptr;
    return &blocks[index];
}

void Orvane::DecodeBlock(const CompressInfo& info, int plane, int band, const PlaneSet& planes)
{
    const BlockInfo* block = BlockOf(info, plane, band);
    // Without a coder the rows stay as they are.
    if (!block || block->coderId < 0 || static_cast<size_t>(block->coderId) >= coders.size())
        return;
    const HuffCoder& coder = *coders[static_cast<size_t>(block->coderId)];
    const PlaneInfo rows = FromRow(planes.plane[static_cast<size_t>(plane)], block->firstRow);
    const bool contiguous = rows.pitch == block->width * info.route.backend->GetBytesPerSample();
    const int runs = contiguous ? 1 : block->rows;
    const auto run = static_cast<uint32_t>(contiguous ? block->width * block->rows : block->width);

    const FrameBytes frame = BytesOf(info);
    const bool raw = (ByteAt(frame, block->dataOffset) & kBlockRaw) != 0;
    const uint64_t payload = std::min<uint64_t>(block->dataOffset + kBlockHeadBytes, frame.size());
    // A coded block reads zero bits behind its end; a raw block that is too short reads on behind it.
    const uint64_t coded = block->dataSize > kBlockHeadBytes ? block->dataSize - kBlockHeadBytes : 0;
    BitStream stream;
    BitStreamInit(stream, frame.data() + payload, raw ? frame.size() - payload : coded);
    for (int i = 0; i < runs; ++i) {
        if (raw)
            coder.ReadRaw(stream, RowAt(rows, i), run);
        else
            coder.Decode(stream, RowAt(rows, i), run);
    }
    if (raw)
        Trace("Entropy decode skipped (cplane: %d, cplane blockId: %d)\n", plane, block->blockInPlane);
}

void Orvane::UnpredictBlock(const CompressInfo& info, int plane, int band, const PlaneSet& planes)
{
    BlockInfo* block = BlockOf(info, plane, band);
    if (!block)
        return;
    const auto method = static_cast<PredictMethod>(ByteAt(BytesOf(info), block->dataOffset + 1));
    block->NoteUse(method);
    const PlaneInfo rows = FromRow(planes.plane[static_cast<size_t>(plane)], block->firstRow);
    for (const RowSet field : RowSets(info.header, block->rows))
        info.route.backend->Unpredict(field.Of(rows), block->width, field.rows, method);
}
