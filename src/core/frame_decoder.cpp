// From frame to host picture.
//
// Every test of the frame runs on the calling thread before a plane byte is written; after them nothing can
// fail but memory. Then a band goes on one thread from compressed bytes to finished host rows, normally in
// one pool run.

#include "core/frame_decoder.h"

#include "common/frame_match.h"
#include "entropy/length_table.h"

#include <algorithm>
#include <atomic>
#include <cassert>

namespace core {

namespace {

/// The plan for a frame of another block height, or by a list of one.
RunPlan PlanOfFrame(const RunPlan& run, uint32_t blockHeight, uint32_t listBlockHeight)
{
    RunInputs inputs = run;
    inputs.header.blockHeight = blockHeight;
    inputs.listBlockHeight = listBlockHeight;
    inputs.separateRuns = true;
    return MakeRunPlan(inputs);
}

/// Whether rows of blocks have gaps between them, so that blocks are decoded to scratch memory first.
bool HasGaps(const RunPlan& plan, const FramePlanes<uint8_t>& planes)
{
    for (size_t i = 0; i < plan.planeCount; ++i) {
        const bool scratch = plan.coded[i].storage == Storage::Scratch;
        const int pitch = scratch ? planes.imageShapes[i].pitch : planes.coded[i].pitch;
        if (pitch != plan.coded[i].width)
            return true;
    }
    return false;
}

/// What the threads share while they turn a frame into a picture.
struct FrameWork {
    const CodedFrame& frame;
    const FramePlanes<uint8_t>& planes;
    const Workers& workers;
};

/// One of these threads, with the addresses of its scratch memory.
struct WorkThread {
    size_t number;
    uint8_t* planes;
    uint8_t* symbols;
};

void DecodePlane(const FrameWork& work, size_t plane, BandRange range, const PlaneWindow& window,
                 const WorkThread& thread)
{
    {
        const StageScope timing(work.workers.Timer(Stage::Decode, thread.number));
        DecodeBlocks(work.frame, plane, range, window, thread.symbols);
    }
    const StageScope timing(work.workers.Timer(Stage::Unpredict, thread.number));
    UnpredictBlocks(work.frame, plane, range, window);
}

void DecodeBands(const FrameWork& work, BandRange range, const WorkThread& thread)
{
    const RunPlan& plan = work.frame.plan;
    const PlaneWindows windows =
        CodedWindows(plan, work.planes.imageShapes, work.planes.coded, range, thread.planes);
    for (size_t plane = 0; plane < plan.planeCount; ++plane)
        DecodePlane(work, plane, range, windows[plane], thread);
}

void ConvertBands(const FrameWork& work, int pass, BandRange range, const WorkThread& thread)
{
    const StageScope timing(work.workers.Timer(Stage::Convert, thread.number));
    for (size_t band = range.first; band < range.end; ++band)
        ConvertBlock(work.frame.plan, ReadOnly(work.planes.coded), work.planes.image, pass, band);
}

void JoinBands(const FrameWork& work, BandRange range, const WorkThread& thread)
{
    const RunPlan& plan = work.frame.plan;
    const StageScope timing(work.workers.Timer(Stage::Join, thread.number));
    const ConstPlaneWindows windows =
        ImageWindows(plan, work.planes.imageShapes, ReadOnly(work.planes.image), range, thread.planes);
    for (size_t band = range.first; band < range.end; ++band)
        TransformBlock(plan, work.planes.picture, band, windows);
}

void RunStep(const PassStep& entry, const FrameWork& work, BandRange range, const WorkThread& thread)
{
    switch (entry.kind) {
    case PassStep::Decode:
        DecodeBands(work, range, thread);
        break;
    case PassStep::ConvertPass:
        ConvertBands(work, entry.arg, range, thread);
        break;
    default:
        assert(entry.kind == PassStep::JoinPicture);
        JoinBands(work, range, thread);
    }
}

} // namespace

void FrameDecoder::Begin(const RunPlan& plan, std::span<const uint8_t> record)
{
    assert(!plan.compressing && !plan.separateRuns && record.size() >= kFrameHeaderSize);
    arenas.Prepare(plan);
    scratch.clear();
    blocks = MakeBlockInfos(plan.blocks);
    listBlockHeight = plan.listBlockHeight;

    if (plan.coderType == CoderType::InFrame)
        return; // each frame brings its own
    ResizeCoders(plan.coderType == CoderType::InRecord ? plan.planeCount : 0);
    codeLengths.assign(coders.size() * entropy::kSymbols, 0);
    // A table that is cut off ends the reading; the planes not reached keep all lengths 0, which are no code.
    ReadCodeLengths({coders.size(), {}, record.subspan(kFrameHeaderSize)}, codeLengths);
    for (size_t i = 0; i < coders.size(); ++i)
        coders[i].hasCode =
            coders[i].coder->BuildFromLengths(entropy::kSymbols, &codeLengths[i * entropy::kSymbols], false);
}

FrameStatus FrameDecoder::Decode(const RunPlan& plan, FrameBytes frame, const PlaneArray& picture,
                                 const Workers& workers)
{
    assert(!plan.compressing && !plan.separateRuns);
    const FrameStart start = ParseFrameStart(frame, plan.header);
    if (start.status != FrameStatus::Ok)
        return start.status;

    // A frame of another block height gets a plan of its own, and so do frames that are read by its list.
    uint32_t listHeight = listBlockHeight;
    if (start.blockHeight != plan.header.blockHeight) {
        const uint64_t count = CountBands(plan.header.height, start.blockHeight) * uint64_t{plan.planeCount};
        // A small frame must not make us build a large list.
        if (count > kMaxBlocks || !HasOffsetTable(frame, start.tableOffset, count))
            return FrameStatus::DamagedFrame;
        if (count != blocks.size())
            listHeight = start.blockHeight;
    }
    std::optional<RunPlan> ownPlan;
    if (start.blockHeight != plan.header.blockHeight || listHeight != plan.header.blockHeight)
        ownPlan = PlanOfFrame(plan, start.blockHeight, listHeight);
    if (listHeight != listBlockHeight) {
        blocks = MakeBlockInfos(ownPlan->blocks);
        listBlockHeight = listHeight;
    }

    if (!LocateBlocks(frame, start.tableOffset, blocks))
        return FrameStatus::DamagedFrame;
    if (plan.coderType == CoderType::InFrame &&
        !ReadCoders(frame, start.tableOffset, plan.planeCount, workers))
        return FrameStatus::DamagedFrame;
    DecodePlanes({ownPlan ? *ownPlan : plan, frame, blocks, coders}, picture, workers);
    return FrameStatus::Ok;
}

void FrameDecoder::ResizeCoders(size_t count)
{
    coders.resize(count);
    for (FrameCoder& coder : coders) {
        if (!coder.coder)
            coder.coder = std::make_unique<entropy::HuffCoder8>();
        coder.hasCode = false;
    }
}

bool FrameDecoder::ReadCoders(FrameBytes frame, uint64_t tableOffset, size_t planeCount,
                              const Workers& workers)
{
    const StageScope timing(workers.Timer(Stage::TablesDecompress));
    const auto section = LocateCoders(frame, tableOffset, blocks.size());
    if (!section)
        return false;

    const bool idsValid =
        std::ranges::all_of(section->ids, [&](uint8_t id) { return id < section->coderCount; });
    if (!idsValid && section->coderCount != planeCount)
        return false;
    // Ids that make no sense in a frame with one coder for each plane are all thrown away: each block gets
    // the coder of its plane. There are such streams.
    for (size_t i = 0; i < blocks.size(); ++i)
        blocks[i].coderId = idsValid ? section->ids[i] : blocks[i].plane;

    codeLengths.assign(section->coderCount * entropy::kSymbols, 0);
    if (!ReadCodeLengths(*section, codeLengths))
        return false;
    ResizeCoders(section->coderCount);
    std::atomic<bool> usable = true;
    workers.Run(coders.size(), [&](size_t i, size_t) {
        coders[i].hasCode =
            coders[i].coder->BuildFromLengths(entropy::kSymbols, &codeLengths[i * entropy::kSymbols], false);
        if (!coders[i].hasCode)
            usable = false;
    });
    return usable;
}

void FrameDecoder::DecodePlanes(const CodedFrame& frame, const PlaneArray& picture, const Workers& workers)
{
    const RunPlan& plan = frame.plan;
    // Rows that no block covers must not show an earlier frame. In the usual case there are none.
    if (plan.separateRuns || !plan.wholeRows)
        arenas.Prepare(plan);
    const FramePlanes<uint8_t> planes = PlacePlanes(plan, picture, arenas);
    const FrameWork work{frame, planes, workers};

    // Where nothing is to be joined, planes need not keep together: work items can be as large as is best for
    // decoding and still finish evenly, the small ones of the chroma planes last.
    const bool hostPlanesOnly = plan.steps.size() == 1 && plan.image[0].storage == Storage::Picture;
    const BandItems items = hostPlanesOnly ? LargeItems(plan.bandCount, workers.ThreadCount())
                                           : EvenItems(plan.bandCount, workers.ThreadCount());
    ReserveScratch(workers.ThreadCount(), plan.ScratchBytes(items.Largest()),
                   HasGaps(plan, planes) ? plan.symbolsPerBlock * items.Largest() : 0);
    const auto threadOf = [&](size_t number) {
        return WorkThread{number, scratch[number].planes.Base(), scratch[number].symbols.Base()};
    };

    if (hostPlanesOnly) {
        workers.Run(items.count * plan.planeCount, [&](size_t item, size_t thread) {
            const size_t plane = item / items.count;
            DecodePlane(work, plane, items.Of(item % items.count), {planes.coded[plane]}, threadOf(thread));
        });
        return;
    }
    ForEachRun(plan.steps, [&](std::span<const PassStep> steps) {
        workers.Run(items.count, [&](size_t item, size_t thread) {
            for (const PassStep& entry : steps)
                RunStep(entry, work, items.Of(item), threadOf(thread));
        });
    });
}

void FrameDecoder::ReserveScratch(size_t threads, size_t planeBytes, size_t symbolBytes)
{
    scratch.resize(threads);
    for (Scratch& own : scratch) {
        own.planes.Reserve(planeBytes);
        own.symbols.Reserve(symbolBytes);
    }
}

} // namespace core
