// From host picture to coded blocks.
//
// Pass 1 takes each row band through split, conversion, prediction and counting, normally in one pool run.
// Pass 2 builds one code for each plane from the counts of all its blocks, then writes every block's bit
// stream.

#include "core/block_list.h"
#include "core/orvane.h"
#include "entropy/bit_stream.h"
#include "entropy/count_symbols.h"

#include "common/trace.h"

#include <algorithm>

namespace {

/// Ties go to the cheaper end, so that a block with no scored samples is Left.
PredictMethod BestPredictor(const PredictorScores& scores)
{
    const uint32_t best = std::max({scores.left, scores.gradient, scores.median});
    if (scores.left == best)
        return PredictMethod::Left;
    return scores.gradient == best ? PredictMethod::Gradient : PredictMethod::Median;
}

/// What a block can take while it is coded; none is larger than a full one of plane 0. The writer stores eight bytes
/// at a time.
uint64_t LargestPayload(const CompressInfo& info)
{
    const ImgProcBackend& backend = *info.route.backend;
    const uint64_t samples = uint64_t{info.header.width} * EffectiveBlockHeight(info.header);
    return samples * CodeLengthLimit(backend.GetBitsPerSample()) / 8 + 128;
}

} // namespace

uint32_t Orvane::Compress(CompressInfo& info)
{
    if (!CheckImage(info))
        return 0;
    PreparePlanes(info);
    PrepareConvertedPlanes(info);
    CompressBlocksPass1(info);
    CompressBlocksPass2(info);
    return FinalizeFrame(info);
}

void Orvane::CompressBlocksPass1(const CompressInfo& info)
{
    steps.assign({{0, PassStep::Transform, 0}});
    AddConvertPasses(info, false, steps);
    steps.push_back({steps.back().step, PassStep::Predict, 0});

    const PlaneSet& source = info.route.converter ? convertedPlanes : imagePlanes;
    PrepareBandScratch(info, 1);
    PrepareResidualPlanes(info, source);

    const auto bands = static_cast<int>(CountBands(info.header));
    const int planes = info.route.backend->GetPlaneCount();
    for (int step = 0; step <= steps.back().step; ++step)
        pool.Run(bands, [&, step](int band, int thread) {
            for (const PassStep& entry : steps) {
                if (entry.step != step)
                    continue;
                if (entry.kind == PassStep::Transform) {
                    const StageScope timing(Timer(Stage::Split, thread));
                    TransformBlock(info, band, WindowsOf(info, imagePlanes, {band, band + 1}, thread));
                } else if (entry.kind == PassStep::ConvertPass) {
                    const StageScope timing(Timer(Stage::Convert, thread));
                    ConvertBlock(info, imagePlanes, convertedPlanes, entry.arg, band);
                } else {
                    const PlaneWindows windows = WindowsOf(info, source, {band, band + 1}, thread);
                    for (int plane = 0; plane < planes; ++plane)
                        PredictBlock(info, plane, band, windows[static_cast<size_t>(plane)], thread);
                }
            }
        });
}

void Orvane::PredictBlock(const CompressInfo& info, int plane, int band, const PlaneWindow& source,
                          int thread)
{
    BlockInfo* block = BlockOf(info, plane, band);
    if (!block)
        return;
    const ImgProcBackend& backend = *info.route.backend;
    const PlaneInfo from = source.From(block->firstRow);
    const PlaneInfo to = FromRow(residualPlanes.plane[static_cast<size_t>(plane)], block->firstRow);
    const bool inPlace = to.data == from.data;

    block->flags = 0;
    auto method = static_cast<PredictMethod>(encodeSettings.CompMethod);
    bool predicted = false;
    if (method == PredictMethod::Dynamic) {
        const StageScope timing(Timer(Stage::Scores, thread));
        // What the block took in the last frame is probably what it takes now, and then it is predicted, too.
        const PredictMethod guess = block->predictor;
        PredictorScores sum;
        for (const RowSet field : RowSets(info.header, block->rows))
            sum += inPlace ? backend.ScorePredictors(field.Of(from), block->width, field.rows)
                           : backend.ScoreAndPredict(field.Of(from), field.Of(to), block->width, field.rows,
                                                     guess);
        method = BestPredictor(sum);
        predicted = method == guess && !inPlace;
        block->NoteUse(method);
    }
    block->predictor = method;

    if (!predicted) {
        const StageScope timing(Timer(Stage::Predict, thread));
        for (const RowSet field : RowSets(info.header, block->rows)) {
            if (inPlace)
                backend.PredictInPlace(field.Of(to), block->width, field.rows, method);
            else
                backend.Predict(field.Of(from), field.Of(to), block->width, field.rows, method);
        }
    }
    if (CoderTypeOf(info.header) != CoderType::InFrame)
        return;
    const StageScope timing(Timer(Stage::CountFrequencies, thread));
    block->frequencies.assign(size_t{1} << backend.GetBitsPerSample(), 0);
    CountSymbols(to.data, block->width, block->rows, to.pitch, block->frequencies.data());
}

void Orvane::CompressBlocksPass2(const CompressInfo& info)
{
    const bool coded = CoderTypeOf(info.header) == CoderType::InFrame;
    if (coded) {
        const int planes = info.route.backend->GetPlaneCount();
        SetupCoders(static_cast<size_t>(planes));
        pool.Run(planes, [&](int coder, int thread) {
            const StageScope timing(Timer(Stage::TablesCompress, thread));
            BuildCoder(info, coder);
        });
    }
    // Without codes in the frame, blocks are but heads.
    assembly.Prepare(blocks.size(), coded ? LargestPayload(info) : 0, ThreadCount());
    WriteFrameStart(info);
    pool.Run(static_cast<int>(blocks.size()), [&](int index, int thread) {
        const StageScope timing(Timer(Stage::Encode, thread));
        const auto block = static_cast<size_t>(index);
        const std::span<uint8_t> slot = assembly.SlotOf(block);
        if (coded)
            EncodeBlock(info, blocks[block], slot);
        assembly.Finish(block);
    });
}

void Orvane::BuildCoder(const CompressInfo& info, int coder)
{
    const size_t symbols = size_t{1} << info.route.backend->GetBitsPerSample();
    std::vector<uint64_t>& totals = coderFrequencies[static_cast<size_t>(coder)];
    totals.assign(symbols, 0);
    for (BlockInfo& block : blocks) {
        if (block.plane != coder)
            continue;
        block.coderId = coder;
        std::ranges::transform(totals, block.frequencies, totals.begin(), std::plus());
    }
    coders[static_cast<size_t>(coder)]->BuildFromFrequencies(static_cast<int>(symbols), totals.data(), true);
}

void Orvane::EncodeBlock(const CompressInfo& info, BlockInfo& block, std::span<uint8_t> payload)
{
    const HuffCoder& coder = *coders[static_cast<size_t>(block.coderId)];
    const ImgProcBackend& backend = *info.route.backend;
    const BlockRows rows(block, {residualPlanes.plane[static_cast<size_t>(block.plane)]});

    // Contiguous rows are one run of symbols; otherwise each row is.
    const int runs = rows.contiguous ? 1 : rows.count;
    const auto run = static_cast<uint32_t>(rows.contiguous ? rows.width * rows.count : rows.width);
    const auto write = [&](auto&& put) {
        BitStream stream;
        BitStreamInit(stream, payload.data(), payload.size());
        for (int i = 0; i < runs; ++i)
            put(stream, RowAt(rows.plane, i));
        return static_cast<uint32_t>(BitStreamFinish(stream));
    };

    block.compressedSize =
        write([&](BitStream& stream, const uint8_t* at) { coder.Encode(stream, at, run); });
    const uint64_t samples = static_cast<uint64_t>(block.rows) * static_cast<uint64_t>(block.width);
    const uint64_t raw = (static_cast<uint64_t>(backend.GetBitsPerSample()) * samples + 7) / 8;
    // A tie goes to raw.
    if (block.compressedSize < raw)
        return;
    Trace("Entropy encode skipped (%d >= %d, cplane: %d, cplane blockid: %d, coderid: %d)\n",
          static_cast<int>(block.compressedSize), static_cast<int>(raw), block.plane, block.blockInPlane,
          block.coderId);
    block.compressedSize =
        write([&](BitStream& stream, const uint8_t* at) { coder.WriteRaw(stream, at, run); });
    block.flags |= kBlockRaw;
}
