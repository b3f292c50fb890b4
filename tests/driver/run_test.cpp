// The statistics of runs whose counters are known.
#include "driver/run.h"

#include "driver/driver_session.h"
#include "driver/test_log.h"

#include <gtest/gtest.h>

#include <memory>

using namespace driver;
using namespace settings;

namespace {

struct KnownRun {
    TestUser user;
    std::unique_ptr<DriverInstance> instance;

    KnownRun()
    {
        TestUser::EnableLog();
        instance = std::make_unique<DriverInstance>(CodecVariant{});
        user.NewLines();
        instance->Running = true;
        instance->RawBytes = 3'000'000;
        instance->CompressedBytes = 1'048'576;
        instance->Status.Width = 640;
        instance->Status.Height = 480;
    }

    std::vector<std::string> End(Direction direction)
    {
        EndRun(*instance, direction);
        return user.NewLines();
    }
};

} // namespace

TEST(EndRun, WritesHoursToMillisecondsAndRates)
{
    KnownRun run;
    run.instance->TimerOf(Direction::Compress).TotalMicros = 3'725'004'000;
    run.instance->TimerOf(Direction::Compress).Count = 100;
    EXPECT_EQ(run.End(Direction::Compress),
              (std::vector<std::string>{
                  "Compress end:",
                  "    Compressed:         100 frames",
                  "    Raw data (input):   3000000 bytes (2.86 MBytes)",
                  "    Compressed data:    1048576 bytes (1.00 MBytes)",
                  "    Compression ratio:  2.86",
                  "    Encode-only time:   01:02:05.004",
                  "    Encode speed (avg): 37250.04 ms/frame (0.03 fps, 0.01 MPix/sec)",
              }));
    EXPECT_FALSE(run.instance->Running);
    EXPECT_TRUE(run.End(Direction::Compress).empty());
}

TEST(EndRun, ReadsTheCountersOfTheDirectionThatEndsTheRun)
{
    KnownRun run;
    run.instance->TimerOf(Direction::Compress).Count = 7;
    run.instance->TimerOf(Direction::Decompress) = {.TotalMicros = 200'000, .Count = 20};
    EXPECT_EQ(run.End(Direction::Decompress),
              (std::vector<std::string>{
                  "Decompress end:",
                  "    Decompressed:       20 frames",
                  "    Compressed data:    1048576 bytes (1.00 MBytes)",
                  "    Raw data (output):  3000000 bytes (2.86 MBytes)",
                  "    Compression ratio:  2.86",
                  "    Decode-only time:   00:00:00.200",
                  "    Decode speed (avg): 10.00 ms/frame (100.00 fps, 30.72 MPix/sec)",
              }));
}

TEST(EndRun, WritesLargeNumbersInFull)
{
    KnownRun run;
    run.instance->RawBytes = 0xFFFFFFFFFFFFFFFF;
    run.instance->CompressedBytes = 1'000'000'000'000;
    run.instance->TimerOf(Direction::Compress) = {.TotalMicros = 359'999'999'999, .Count = 1'000'000};
    const auto lines = run.End(Direction::Compress);
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[2], "    Raw data (input):   18446744073709551615 bytes (17592186044416.00 MBytes)");
    EXPECT_EQ(lines[3], "    Compressed data:    1000000000000 bytes (953674.32 MBytes)");
    EXPECT_EQ(lines[5], "    Encode-only time:   99:59:59.999");
}

TEST(FrameTimer, KeepsTheShortestTheLongestAndTheSum)
{
    FrameTimer timer;
    const auto frame = [&](int64_t microseconds) {
        timer.Begin();
        timer.Start -= microseconds * timer.Frequency / 1'000'000;
        timer.End();
    };
    frame(5'000'000);
    frame(2'000'000'000);
    frame(1'000'000);
    EXPECT_EQ(timer.Count, 3U);
    EXPECT_GE(timer.MinMicros, 1'000'000);
    EXPECT_LT(timer.MinMicros, 5'000'000);
    EXPECT_GE(timer.MaxMicros, 2'000'000'000);
    EXPECT_GE(timer.TotalMicros, 2'006'000'000U);
}
