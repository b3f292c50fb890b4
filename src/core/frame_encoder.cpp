// From host picture to coded blocks.
//
// Pass 1 takes each row band through split, conversion, prediction and counting, normally in one pool run.
// Pass 2 builds one code for each plane from the counts of all its blocks, then writes every block's bit
// stream.

#include "core/frame_encoder.h"

#include "core/frame_layout.h"
#include "core/frame_writer.h"
#include "entropy/bit_stream.h"
#include "entropy/count_symbols.h"

#include "common/trace.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <functional>

namespace core {

namespace {

/// What the operations on one frame share; none of them changes it.
struct EncodeCall {
    const RunPlan& plan;
    const Workers& workers;
    const FramePlanes<const uint8_t> planes;
    const PlaneArray residuals; ///< of all planes
    const PredictMethod method;
};

/// Ties go to the cheaper end, so that a block with no scored samples is Left.
PredictMethod BestPredictor(const imgproc::PredictorScores& scores)
{
    const uint32_t best = std::max({scores.left, scores.gradient, scores.median});
    if (scores.left == best)
        return PredictMethod::Left;
    return scores.gradient == best ? PredictMethod::Gradient : PredictMethod::Median;
}

/// Where residuals are stored: a plane that is predicted in place becomes its own.
/// ownCoded  FramePlanes::ownCoded
PlaneArray PlaceResiduals(const RunPlan& plan, const PlaneArray& ownCoded, const Arena& arena)
{
    const PlaneLayout layout = LayOutPlanes(plan.residualShapes);
    assert(layout.size <= arena.Capacity());
    PlaneArray planes = ownCoded;
    for (size_t i = 0; i < plan.planeCount; ++i)
        if (!plan.PredictsInPlace(i))
            planes[i] = {arena.Base() + layout.offset[i], plan.residualShapes[i].pitch};
    return planes;
}

/// The rows below a set of a block's rows that this thread works on soon. Where there are several threads,
/// another one does.
imgproc::RowsBelow WorkBelow(const EncodeCall& call, const BlockInfo& block, const RowSet& set)
{
    if (call.workers.ThreadCount() > 1)
        return {};
    const PlanePlan& plane = call.plan.coded[block.plane];
    const int rows = (plane.rows - block.firstRow - block.rows) / set.stride;
    assert(rows >= 0);
    return {plane.storage == Storage::Scratch ? 0 : rows, rows};
}

/// The residuals of a block from its samples, and their counts.
void PredictBlock(const EncodeCall& call, BlockInfo& block, const ConstPlaneWindow& source, size_t thread)
{
    const imgproc::ImgProcBackend& backend = *call.plan.route.backend;
    const ConstPlaneInfo from = source.From(block.firstRow);
    const PlaneInfo to = FromRow(call.residuals[block.plane], block.firstRow);
    const bool inPlace = call.plan.PredictsInPlace(block.plane);
    assert(inPlace == (to.data == from.data));
    const RowSets sets(call.plan.header, block.rows);

    block.flags = 0;
    PredictMethod method = call.method;
    bool predicted = false;
    block.frequencies.assign(size_t{1} << backend.GetBitsPerSample(), 0);
    if (method == PredictMethod::Dynamic) {
        const StageScope timing(call.workers.Timer(Stage::Scores, thread));
        // What the block took in the last frame is probably what it takes now, and then it is predicted and
        // counted, too.
        const PredictMethod guess = block.predictor;
        imgproc::PredictorScores sum;
        for (const RowSet& set : sets)
            sum += inPlace ? backend.ScorePredictors(set.Of(from), block.width, set.rows)
                           : backend.ScoreAndPredict(set.Of(from), set.Of(to), block.width, set.rows, guess,
                                                     block.frequencies.data(), WorkBelow(call, block, set));
        method = BestPredictor(sum);
        predicted = method == guess && !inPlace;
    }
    block.predictor = method;

    if (!predicted) {
        const StageScope timing(call.workers.Timer(Stage::Predict, thread));
        std::ranges::fill(block.frequencies, 0); // of a wrong guess
        for (const RowSet& set : sets) {
            if (inPlace)
                backend.PredictInPlace(set.Of(to), block.width, set.rows, method);
            else
                backend.Predict(set.Of(from), set.Of(to), block.width, set.rows, method,
                                block.frequencies.data(), WorkBelow(call, block, set));
        }
    }
    if (call.plan.coderType != CoderType::InFrame)
        return;
    // Rows that are not counted yet: all in place, else those that are in no set.
    const int counted = inPlace ? 0 : sets.Rows();
    if (counted == block.rows)
        return;
    const StageScope timing(call.workers.Timer(Stage::CountFrequencies, thread));
    entropy::CountSymbols(RowAt(to, counted), block.width, block.rows - counted, to.pitch,
                          block.frequencies.data());
}

/// The operations of one pool run on one band.
void CompressBand(const EncodeCall& call, std::span<const PassStep> steps, std::span<BlockInfo> blocks,
                  size_t band, uint8_t* scratch, size_t thread)
{
    const RunPlan& plan = call.plan;
    const BandRange range{band, band + 1};
    for (const PassStep& entry : steps) {
        if (entry.kind == PassStep::Transform) {
            const StageScope timing(call.workers.Timer(Stage::Split, thread));
            TransformBlock(plan, call.planes.picture, band,
                           ImageWindows(plan, call.planes.imageShapes, call.planes.ownImage, range, scratch));
        } else if (entry.kind == PassStep::ConvertPass) {
            const StageScope timing(call.workers.Timer(Stage::Convert, thread));
            ConvertBlock(plan, call.planes.image, call.planes.ownCoded, entry.arg, band);
        } else {
            assert(entry.kind == PassStep::Predict);
            const ConstPlaneWindows windows =
                CodedWindows(plan, call.planes.imageShapes, call.planes.coded, range, scratch);
            for (size_t plane = 0; plane < plan.planeCount; ++plane)
                PredictBlock(call, blocks[plane * plan.bandCount + band], windows[plane], thread);
        }
    }
}

/// The code of one plane from the counts of all its blocks.
void BuildCoder(std::span<const BlockInfo> blocks, std::vector<uint64_t>& totals, entropy::HuffCoder8& coder)
{
    totals.assign(entropy::kSymbols, 0);
    for (const BlockInfo& block : blocks)
        std::ranges::transform(totals, block.frequencies, totals.begin(), std::plus());
    coder.BuildFromFrequencies(entropy::kSymbols, totals.data(), true);
}

/// Codes the residuals of a block, or stores them unchanged where that is no longer.
void EncodeBlock(const entropy::HuffCoder& coder, const ConstBlockRows& rows, BlockInfo& block,
                 std::span<uint8_t> payload)
{
    const auto write = [&](auto&& put) {
        entropy::OutBitStream stream;
        entropy::BitStreamInit(stream, payload.data(), payload.size());
        for (size_t run = 0; run < rows.RunCount(); ++run)
            put(stream, rows.Run(run));
        return static_cast<uint32_t>(entropy::BitStreamFinish(stream));
    };

    block.compressedSize = write([&](entropy::OutBitStream& stream, const uint8_t* at) {
        coder.Encode(stream, at, rows.RunLength());
    });
    assert(block.compressedSize <= payload.size());
    // A tie goes to raw.
    if (block.compressedSize < rows.Samples())
        return;
    Trace("Entropy encode skipped (%d >= %d, cplane: %d, cplane blockid: %d, coderid: %d)\n",
          static_cast<int>(block.compressedSize), static_cast<int>(rows.Samples()),
          static_cast<int>(block.plane), static_cast<int>(block.blockInPlane),
          static_cast<int>(block.coderId));
    block.compressedSize = write([&](entropy::OutBitStream& stream, const uint8_t* at) {
        coder.WriteRaw(stream, at, rows.RunLength());
    });
    block.flags |= kBlockRaw;
}

} // namespace

void FrameEncoder::Begin(const RunPlan& plan)
{
    assert(plan.compressing && plan.planeCount <= kMaxPlanes && !plan.separateRuns);
    arenas.Prepare(plan);
    residuals.ReserveZeroed(plan.residualBytes);
    scratch.clear();
    blocks = MakeBlockInfos(plan.blocks);
}

uint32_t FrameEncoder::Encode(const RunPlan& plan, const EncodeInput& input, const Workers& workers)
{
    assert(input.frame && input.record.size() >= kFrameHeaderSize);
    assert(blocks.size() == plan.planeCount * plan.bandCount && arenas.image.Capacity() >= plan.imageBytes);
    scratch.resize(workers.ThreadCount());
    for (Arena& arena : scratch)
        arena.Reserve(plan.ScratchBytes(1));

    const FramePlanes<const uint8_t> planes = PlacePlanes(plan, input.picture, arenas);
    const EncodeCall call{plan, workers, planes, PlaceResiduals(plan, planes.ownCoded, residuals),
                          input.method};
    ForEachRun(plan.steps, [&](std::span<const PassStep> steps) {
        workers.Run(plan.bandCount, [&](size_t band, size_t thread) {
            CompressBand(call, steps, blocks, band, scratch[thread].Base(), thread);
        });
    });

    const bool coded = plan.coderType == CoderType::InFrame;
    if (coded)
        workers.Run(plan.planeCount, [&](size_t plane, size_t thread) {
            const StageScope timing(workers.Timer(Stage::TablesCompress, thread));
            BuildCoder(std::span(blocks).subspan(plane * plan.bandCount, plan.bandCount), totals[plane],
                       coders[plane]);
        });

    std::copy(input.record.begin(), input.record.end(), input.frame);
    // All offsets count from the first byte of the offset table.
    uint8_t* const table = input.frame + input.record.size();
    size_t offset = OffsetTableBytes(blocks.size());
    if (coded) {
        std::array<CodeLengths, kMaxPlanes> lengths;
        for (size_t plane = 0; plane < plan.planeCount; ++plane)
            lengths[plane] = coders[plane].GetCodeLengths();
        offset += WriteCoderSection(blocks, std::span(lengths).first(plan.planeCount), table + offset);
    }

    assembly.Prepare(blocks.size(), plan.slotBytes, workers.pool.GetThreadCount());
    assembly.Begin(blocks, table, offset);
    workers.Run(blocks.size(), [&](size_t index, size_t thread) {
        const StageScope timing(workers.Timer(Stage::Encode, thread));
        BlockInfo& block = blocks[index];
        const std::span<uint8_t> slot = assembly.SlotOf(index);
        if (coded)
            EncodeBlock(coders[block.plane], {block, ConstPlaneWindow{call.residuals[block.plane]}}, block,
                        slot);
        assembly.Finish(index);
    });

    const StageScope timing(workers.Timer(Stage::Finalize));
    return FinalizeFrame(input.frame, input.record.size() + assembly.End());
}

} // namespace core
