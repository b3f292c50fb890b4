// Encoder, decoder, writer and parser, each built alone: no class Orvane.

#include "core/frame_decoder.h"
#include "core/frame_encoder.h"
#include "core/frame_layout.h"
#include "core/frame_writer.h"
#include "support/exact_buffer.h"
#include "support/picture_maker.h"
#include "support/plan_maker.h"
#include "support/same_bytes.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

namespace core {
namespace {

using Bytes = std::vector<uint8_t>;

/// A pool with timers for its threads.
struct Crew {
    explicit Crew(int threads) : stages(kStageCount)
    {
        pool.SetThreadCount(threads);
        for (StageTimers& stage : stages)
            stage.perThread.resize(AsSize(threads));
    }
    Workers Get() { return {pool, stages}; }

    threading::WorkerPool pool;
    std::vector<StageTimers> stages;
};

Bytes RecordBytes(const FrameHeader& header)
{
    Bytes bytes(sizeof header);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

Bytes EncodeGray(FrameEncoder& encoder, const RunPlan& plan, const Bytes& picture, const Workers& workers)
{
    const ExactBuffer source(picture);
    Bytes frame(0x40000 + picture.size(), 0xA5);
    const ConstPlaneArray planes{{{source.data(), static_cast<int32_t>(plan.header.width)}}};
    const Bytes record = RecordBytes(plan.header);
    frame.resize(encoder.Encode(plan, {record, planes, PredictMethod::Dynamic, frame.data()}, workers));
    EXPECT_TRUE(SameBytes(source.Bytes(), picture)) << "the picture is only read";
    return frame;
}

TEST(FrameEncoder, AloneMakesFramesThatADecoderAloneReads)
{
    PlanMaker maker;
    const PlanChoice choice{.host = kHostY8, .code = kCodeGray, .width = 50, .height = 70};
    PlanChoice reading = choice;
    reading.compressing = false;
    const RunPlan encodePlan = maker.Make(choice);
    const RunPlan decodePlan = maker.Make(reading);
    for (const int threads : {1, 3}) {
        Crew crew(threads);
        FrameEncoder encoder;
        FrameDecoder decoder;
        encoder.Begin(encodePlan);
        decoder.Begin(decodePlan, RecordBytes(decodePlan.header));
        for (const Content content : kAllContents) {
            const Bytes picture = MakePicture(content, 50 * 70, 50, 1);
            const Bytes frame = EncodeGray(encoder, encodePlan, picture, crew.Get());
            ASSERT_EQ(encoder.Blocks().size(), 3U);
            ExactBuffer back(picture.size(), 0, 0xEE);
            ASSERT_EQ(decoder.Decode(decodePlan, frame, {{{back.data(), 50}}}, crew.Get()), FrameStatus::Ok);
            EXPECT_TRUE(SameBytes(back.Bytes(), picture));
        }
    }
}

TEST(FrameEncoder, GivesTheSameBytesWhateverItCodedBefore)
{
    PlanMaker maker;
    const RunPlan plan = maker.Make({.host = kHostY8, .code = kCodeGray});
    const Bytes picture = MakePicture(Content::Smooth, 64 * 60, 64, 1);
    Crew crew(1);
    FrameEncoder fresh, used;
    fresh.Begin(plan);
    used.Begin(plan);
    for (const Content content : kAllContents)
        EncodeGray(used, plan, MakePicture(content, 64 * 60, 64, 2), crew.Get());
    EXPECT_EQ(EncodeGray(used, plan, picture, crew.Get()), EncodeGray(fresh, plan, picture, crew.Get()));
}

TEST(FrameDecoder, LeavesThePictureAloneUnlessTheFrameIsSound)
{
    PlanMaker maker;
    const RunPlan plan = maker.Make({.host = kHostY8, .code = kCodeGray, .compressing = false});
    Crew crew(1);
    FrameDecoder decoder;
    decoder.Begin(plan, RecordBytes(plan.header));
    ExactBuffer picture(64 * 60, 0, 0xEE);
    for (const size_t size : {size_t{0}, size_t{3}, size_t{4}, size_t{32}, size_t{60}}) {
        EXPECT_EQ(decoder.Decode(plan, Bytes(size, 0), {{{picture.data(), 64}}}, crew.Get()),
                  FrameStatus::DamagedFrame);
        EXPECT_TRUE(SameBytes(picture.Bytes(), Bytes(64 * 60, 0xEE)));
    }
}

TEST(FrameWriter, WritesCodersAndAnEvenTail)
{
    std::vector<BlockInfo> blocks(3);
    blocks[2].coderId = 1;
    const std::vector<uint32_t> eights(256, 8), nines(256, 9);
    const std::array<CodeLengths, 2> lengths{eights, nines};
    Bytes out(100, 0xEE);
    ASSERT_EQ(WriteCoderSection(blocks, lengths, out.data()), 8U);
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 9), (Bytes{2, 0, 0, 1, 0x88, 0xFF, 0x89, 0xFF, 0xEE}));

    for (const size_t end : {size_t{40}, size_t{41}}) {
        Bytes frame(60, 0xEE);
        const uint32_t size = FinalizeFrame(frame.data(), end);
        EXPECT_EQ(size, 56U) << end;
        for (size_t i = 0; i < frame.size(); ++i)
            EXPECT_EQ(frame[i], i >= end && i < end + kTailBytes ? 0 : 0xEE) << i;
    }
}

TEST(FrameParser, FindsBlocksAndReadsLengths)
{
    // A table of two blocks at offset 0, then payload.
    Bytes frame(30, 0);
    frame[4] = 12;
    frame[8] = 20;
    std::vector<BlockInfo> blocks(2);
    ASSERT_TRUE(LocateBlocks(frame, 0, blocks));
    EXPECT_EQ(blocks[0].dataOffset, 12U);
    EXPECT_EQ(blocks[0].dataSize, 8U);
    EXPECT_EQ(PayloadOf(frame, blocks[0]).size(), 6U);
    EXPECT_EQ(blocks[1].dataSize, 10U) << "the last one ends with the frame";
    frame[8] = 31;
    EXPECT_FALSE(LocateBlocks(frame, 0, blocks)) << "past the end";

    const Bytes tables{0x88, 0xFF, 0x89, 0xFF};
    std::vector<uint32_t> lengths(512);
    ASSERT_TRUE(ReadCodeLengths({2, {}, tables}, lengths));
    EXPECT_EQ(lengths.front(), 8U);
    EXPECT_EQ(lengths.back(), 9U);
    EXPECT_FALSE(ReadCodeLengths({2, {}, FrameBytes(tables).first(3)}, lengths)) << "cut off";
}

} // namespace
} // namespace core
