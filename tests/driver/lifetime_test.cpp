// What is left of instances: nothing. And what instances know of each other: nothing.
#include "driver/driver_session.h"
#include "driver/process_state.h"
#include "driver/test_log.h"

#include "support/exact_buffer.h"
#include "support/long_tests.h"
#include "support/picture_maker.h"
#include "support/same_bytes.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 60;

#ifdef __SANITIZE_THREAD__
constexpr int kCycles = 200; // where each takes twenty times as long
#else
constexpr int kCycles = 1000;
#endif

struct Clip {
    const Variant* variant;
    BITMAPINFOHEADER header;
    std::vector<std::vector<uint8_t>> pictures;
};

Clip MakeClip(int code, int frames)
{
    const Variant& variant = VariantOf(code);
    const HostFormat& format = NativeFormatOf(variant);
    const uint32_t bytes = PictureBytes(IdFor(format, variant), kWidth, kHeight);
    Clip clip{&variant, MakeHeader(format, kWidth, kHeight, bytes), {}};
    for (int i = 0; i < frames; ++i)
        clip.pictures.push_back(
            MakePicture(Content::Smooth, bytes, bytes / kHeight, static_cast<uint32_t>(code * 100 + i)));
    return clip;
}

std::vector<std::vector<uint8_t>> FramesAlone(const Clip& clip)
{
    const Instance instance(clip.variant->fourCC);
    const StreamHeader stream = instance.GetStream(clip.header);
    std::vector<std::vector<uint8_t>> frames;
    for (const auto& picture : clip.pictures)
        frames.push_back(instance.Compress(clip.header, stream, picture.data()).bytes);
    return frames;
}

/// One life of an instance: open, begin, a frame there and back, end, close.
void Live(const Clip& clip)
{
    const Instance instance(clip.variant->fourCC);
    const StreamHeader stream = instance.GetStream(clip.header);
    ASSERT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &clip.header, &stream), 0);
    const auto frame = instance.Compress(clip.header, stream, clip.pictures[0].data());
    ASSERT_EQ(frame.result, 0);
    ASSERT_EQ(instance.Send(ICM_COMPRESS_END), 0);
    BITMAPINFOHEADER out = clip.header;
    ExactBuffer target(clip.pictures[0].size());
    ASSERT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, &stream, &out), 0);
    ASSERT_EQ(instance.Decompress(stream, frame.bytes, out, target.data()), 0);
    ASSERT_EQ(instance.Send(ICM_DECOMPRESS_END), 0);
    ASSERT_TRUE(SameBytes(target.Bytes(), clip.pictures[0]));
}

/// Lives through `cycles` after some for warming up, and expects the process to be as it was then.
void ExpectNothingLeft(int cycles)
{
    const Clip clips[] = {MakeClip(104, 1), MakeClip(101, 1), MakeClip(107, 1)};
    for (int i = 0; i < 30; ++i)
        Live(clips[i % 3]);
    const int threads = ThreadsInProcess();
    const size_t handles = HandleMark();
    const size_t memory = MemoryInUse();
    for (int i = 0; i < cycles && !::testing::Test::HasFatalFailure(); ++i)
        Live(clips[i % 3]);
    EXPECT_TRUE(ThreadsFallTo(threads)) << ThreadsInProcess() << " threads, " << threads << " before";
    EXPECT_LE(HandleMark(), handles + 2);
    EXPECT_LE(MemoryInUse(), memory + (16U << 20)) << "less than 17 KB for each cycle";
}

} // namespace

TEST(Lifetime, CyclesOfOpenAndCloseLeaveThreadsHandlesAndMemoryAsTheyWere)
{
    const TestUser user;
    for (const Variant& variant : kVariants) {
        TestUser::SetFor(variant.fourCC, "AutoEncodeThreads", 0);
        TestUser::SetFor(variant.fourCC, "NumEncodeThreads", 3);
    }
    ExpectNothingLeft(LongTests() ? 10 * kCycles : kCycles);
}

TEST(Lifetime, NotifiersAndLogsAreGoneWithTheirRuns)
{
    const TestUser user;
    TestUser::Set("NotificationSettings", 15);
    TestUser::EnableLog();
    ExpectNothingLeft(LongTests() ? 300 : 30);
}

TEST(Lifetime, InterleavedInstancesGiveWhatEachGivesAlone)
{
    const TestUser user;
    const Clip clips[] = {MakeClip(105, 4), MakeClip(101, 4)};
    const std::vector<std::vector<uint8_t>> alone[] = {FramesAlone(clips[0]), FramesAlone(clips[1])};
    const Instance encoders[] = {Instance(clips[0].variant->fourCC), Instance(clips[1].variant->fourCC)};
    const Instance decoders[2];
    const StreamHeader streams[] = {encoders[0].GetStream(clips[0].header),
                                    encoders[1].GetStream(clips[1].header)};
    for (size_t frame = 0; frame < 4; ++frame)
        for (size_t i = 0; i < 2; ++i) {
            const auto coded =
                encoders[i].Compress(clips[i].header, streams[i], clips[i].pictures[frame].data());
            ASSERT_EQ(coded.result, 0);
            EXPECT_EQ(coded.bytes, alone[i][frame]);
            BITMAPINFOHEADER out = clips[i].header;
            ExactBuffer target(clips[i].pictures[frame].size());
            ASSERT_EQ(decoders[i].Decompress(streams[i], coded.bytes, out, target.data()), 0);
            EXPECT_TRUE(SameBytes(target.Bytes(), clips[i].pictures[frame]));
        }
}

TEST(Lifetime, InstancesInManyHostThreadsDoNotMeet)
{
    const TestUser user;
    const Clip clips[] = {MakeClip(104, 1), MakeClip(101, 1), MakeClip(103, 1), MakeClip(107, 1)};
    std::vector<std::thread> hosts;
    for (size_t i = 0; i < 4; ++i)
        hosts.emplace_back([&, i] {
            for (size_t round = 0; round < 10; ++round)
                Live(clips[(i + round) % 4]);
        });
    for (std::thread& host : hosts)
        host.join();
}

TEST(Lifetime, BytesDoNotDependOnTheNumberOfThreads)
{
    const TestUser user;
    const Clip clip = MakeClip(105, 2);
    std::vector<std::vector<uint8_t>> first;
    for (const uint32_t threads : {1U, 2U, 3U, 64U}) {
        TestUser::SetFor("O8Y0", "AutoEncodeThreads", 0);
        TestUser::SetFor("O8Y0", "NumEncodeThreads", threads);
        const auto frames = FramesAlone(clip);
        if (first.empty())
            first = frames;
        EXPECT_EQ(frames, first) << threads << " threads";
    }
}
