#include "support/codec_run.h"
#include "support/picture_maker.h"

#include <gtest/gtest.h>

namespace {

void Enable(Orvane& codec)
{
    for (StageTimers& stage : codec.Stages())
        for (StageTimer& timer : stage.perThread)
            timer.disabled = false;
}

uint64_t CountOf(Orvane& codec, Stage stage)
{
    uint64_t count = 0;
    for (const StageTimer& timer : codec.Stages()[IndexOf(stage)].perThread)
        count += timer.count;
    return count;
}

TEST(StageTimers, StandByNameWithOneRecordForEachThreadAndOff)
{
    Orvane codec(true, true);
    codec.SetThreadCount(3);
    ASSERT_EQ(codec.Stages().size(), 12U);
    EXPECT_STREQ(codec.Stages()[0].name, "hufftables init comp");
    EXPECT_STREQ(codec.Stages()[11].name, "undecorrjoin");
    for (const StageTimers& stage : codec.Stages()) {
        ASSERT_EQ(stage.perThread.size(), 3U) << stage.name;
        for (const StageTimer& timer : stage.perThread)
            EXPECT_TRUE(timer.disabled) << stage.name;
    }
}

TEST(StageTimers, CountNothingWhileTheyAreOff)
{
    CodecRun run({});
    run.Decode(run.Encode(MakePicture(Content::Smooth, run.InputBytes(), 64, 1)));
    for (Orvane* codec : {&run.encoder, &run.decoder})
        for (size_t stage = 0; stage < kStageCount; ++stage)
            EXPECT_EQ(CountOf(*codec, static_cast<Stage>(stage)), 0U) << kStageNames[stage];
}

TEST(StageTimers, CountEveryTurnOfTheirStageOnceTheyAreOn)
{
    // RGB to 4:2:0, 64 x 60: three bands, nine blocks, three coders.
    CodecRun run({.host = kHostBgr, .code = kCodeYuv420, .threads = 2});
    Enable(run.encoder);
    Enable(run.decoder);
    run.Decode(run.Encode(MakePicture(Content::Smooth, run.InputBytes(), 192, 1)));
    EXPECT_EQ(CountOf(run.encoder, Stage::Split), 3U);
    EXPECT_EQ(CountOf(run.encoder, Stage::Convert), 3U);
    EXPECT_EQ(CountOf(run.encoder, Stage::Scores), 9U);
    EXPECT_EQ(CountOf(run.encoder, Stage::Predict), 9U);
    EXPECT_EQ(CountOf(run.encoder, Stage::CountFrequencies), 9U);
    EXPECT_EQ(CountOf(run.encoder, Stage::TablesCompress), 3U);
    EXPECT_EQ(CountOf(run.encoder, Stage::Encode), 9U);
    EXPECT_EQ(CountOf(run.encoder, Stage::Finalize), 1U);
    EXPECT_EQ(CountOf(run.decoder, Stage::TablesDecompress), 1U);
    EXPECT_GT(CountOf(run.decoder, Stage::Decode), 0U);
    EXPECT_GT(CountOf(run.decoder, Stage::Unpredict), 0U);
    EXPECT_GT(CountOf(run.decoder, Stage::Convert), 0U);
    EXPECT_GT(CountOf(run.decoder, Stage::Join), 0U);
}

TEST(StageTimer, KeepsMinimumMaximumAndTotal)
{
    StageTimer timer;
    timer.disabled = false;
    for (int i = 0; i < 3; ++i) {
        timer.Begin();
        timer.start -= timer.frequency / 1000 * (i + 1); // as if it had begun i + 1 milliseconds before
        timer.End();
    }
    EXPECT_EQ(timer.count, 3U);
    EXPECT_GE(timer.minimum, 1000);
    EXPECT_GE(timer.maximum, 3000);
    EXPECT_GE(timer.total, 6000);
    EXPECT_LE(timer.minimum, timer.maximum);
}

} // namespace
