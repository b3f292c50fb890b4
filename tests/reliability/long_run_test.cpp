// Thousands of frames of all kinds in one process, which is at the end as it was after the first hundred.
#include "driver/process_state.h"
#include "reliability/amount.h"
#include "reliability/memory_faults.h"
#include "reliability/streams.h"
#include "support/long_tests.h"
#include "support/test_seed.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <thread>

namespace {

#if defined(__SANITIZE_THREAD__)
constexpr int kLongFrames = 2000; // where each takes twenty times as long
constexpr int kQuickFrames = 40;
constexpr int kQuickLargest = 64;
#elif defined(__SANITIZE_ADDRESS__) || defined(_WIN32)
constexpr int kLongFrames = 10'000;
constexpr int kQuickFrames = 100;
constexpr int kQuickLargest = 96;
#else
constexpr int kLongFrames = 10'000;
constexpr int kQuickFrames = 300;
constexpr int kQuickLargest = 160;
#endif
constexpr int kLongLargest = 400;

/// Many hosts: one compressor for each variant and decompressors that live across runs, all now and then
/// closed.
class Hosts
{
  public:
    Hosts(uint32_t seed, int largestSize) : random(seed), largest(largestSize) {}

    void Run(int frames)
    {
        while (frames > 0 && !testing::Test::HasFatalFailure()) {
            const int run = std::min(frames, 1 + static_cast<int>(random() % 4));
            RunFrames(run);
            frames -= run;
        }
    }

    void CloseAll()
    {
        compressors.clear();
        decompressors.clear();
    }

  private:
    using Instances = std::map<std::string, std::unique_ptr<Instance>>;

    void RunFrames(int frames)
    {
        const HostStream stream = RandomStream(random, largest);
        StoredChoice choice = RandomChoice(random);
        choice.interlaced = stream.interlaced;
        const char* const fourCC = stream.variant->fourCC;
        StoreChoice(fourCC, choice);
        const Instance& compressor = Get(compressors, fourCC);
        const Instance& decompressor = Get(decompressors, random() % 2 == 0 ? "ORVN" : fourCC);
        BeginRuns(stream, compressor, decompressor);
        for (int i = 0; i < frames; ++i)
            ExpectRoundTrip(stream, compressor, decompressor, static_cast<uint32_t>(random()));
        EndRuns(compressor, decompressor);
    }

    /// An open instance that has read its settings anew, or a new one.
    const Instance& Get(Instances& instances, const char* fourCC)
    {
        std::unique_ptr<Instance>& instance = instances[fourCC];
        if (!instance || random() % 4 == 0)
            instance = std::make_unique<Instance>(fourCC);
        else
            EXPECT_EQ(instance->Send(ICM_SETSTATE), 0);
        return *instance;
    }

    void EndRuns(const Instance& compressor, const Instance& decompressor)
    {
        if (random() % 2 == 0) { // some hosts never end a run
            EXPECT_EQ(compressor.Send(ICM_COMPRESS_END), 0);
            EXPECT_EQ(decompressor.Send(ICM_DECOMPRESS_END), 0);
        }
    }

    std::mt19937 random;
    int largest;
    Instances compressors;
    Instances decompressors;
};

} // namespace

TEST(LongRun, FramesOfAllKindsLeaveTheProcessAsAfterTheFirstHundred)
{
    const TestStore store;
    const int frames = LongTests() ? kLongFrames : kQuickFrames;
    Hosts hosts(TestSeed(), LongTests() ? kLongLargest : kQuickLargest);
    hosts.Run(std::min(100, frames / 3));
    hosts.CloseAll();
    const int threads = ThreadsInProcess();
    const size_t handles = HandleMark();
    const size_t memory = MemoryInUse();
    {
        const AllocationWatch watch;
        hosts.Run(frames);
        hosts.CloseAll();
        EXPECT_EQ(watch.Held(), 0U);
    }
    EXPECT_TRUE(ThreadsFallTo(threads)) << ThreadsInProcess() << " threads, " << threads << " before";
    EXPECT_LE(HandleMark(), handles + 1);
    std::cout << frames << " frames; " << ThreadsInProcess() << " threads, before " << threads << "; "
              << MemoryInUse() / 1024 << " KiB, before " << memory / 1024 << " KiB\n";
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__) // they keep what was freed
    // The C library keeps some for each of its pools, too. What is ours was counted above, to the last
    // allocation.
    EXPECT_LE(MemoryInUse(), memory + (64U << 20));
#endif
}

TEST(LongRun, SixtyFourThreadsOnFewProcessorsGiveTheSameFrames)
{
    const TestStore store;
    std::mt19937 random(TestSeed());
    const int rounds = Amount(6, 500);
    StoredChoice many;
    many.encodeThreads = many.decodeThreads = 64;
    for (int round = 0; round < rounds; ++round) {
        HostStream stream = RandomStream(random, LongTests() ? 600 : 200);
        stream.interlaced = false;
        const char* const fourCC = stream.variant->fourCC;
        const ExactBuffer picture = stream.Picture(static_cast<uint32_t>(round));
        StoreChoice(fourCC, {});
        const Instance one(fourCC);
        const StreamHeader coded = one.GetStream(stream.header);
        const auto expected = one.Compress(stream.header, coded, picture.data());
        StoreChoice(fourCC, many);
        const Instance compressor(fourCC);
        const Instance decompressor;
        for (int frame = 0; frame < 4; ++frame) {
            const auto coded64 = compressor.Compress(stream.header, coded, picture.data());
            ASSERT_EQ(coded64.bytes, expected.bytes) << stream.Name();
            ExpectRoundTrip(stream, compressor, decompressor, static_cast<uint32_t>(frame));
            ASSERT_FALSE(HasFatalFailure());
        }
    }
}

TEST(LongRun, ManyInstancesInManyHostThreadsDoNotMeet)
{
    const TestStore store;
    const uint32_t seed = TestSeed();
    constexpr int kHosts = 24;
    const int frames = Amount(6, 200);
    const int threads = ThreadsInProcess();
    // All share one store: what a host finds there is what any of them has just chosen.
    for (const Variant& variant : kVariants) {
        StoredChoice choice;
        choice.encodeThreads = choice.decodeThreads = 3;
        StoreChoice(variant.fourCC, choice);
    }
    std::vector<std::thread> hosts;
    for (int host = 0; host < kHosts; ++host)
        hosts.emplace_back([=] {
            std::mt19937 random(seed + static_cast<uint32_t>(host));
            std::vector<std::unique_ptr<Instance>> compressors;
            for (const Variant& variant : kVariants)
                compressors.push_back(std::make_unique<Instance>(variant.fourCC));
            const Instance decompressor;
            for (int i = 0; i < frames; ++i) {
                HostStream stream = RandomStream(random, 120);
                stream.interlaced = false;
                const auto variant = static_cast<size_t>(stream.variant - std::begin(kVariants));
                BeginRuns(stream, *compressors[variant], decompressor);
                ExpectRoundTrip(stream, *compressors[variant], decompressor, static_cast<uint32_t>(random()));
            }
        });
    for (std::thread& host : hosts)
        host.join();
    EXPECT_TRUE(ThreadsFallTo(threads));
}

TEST(LongRun, AnInstanceMayGoFromHostThreadToHostThread)
{
    const TestStore store;
    StoredChoice choice;
    choice.encodeThreads = choice.decodeThreads = 4;
    StoreChoice("O8Y0", choice);
    const HostStream stream = MakeHostStream("O8Y0", "RGB", 24, 64, 120);
    const Instance compressor("O8Y0");
    const Instance decompressor;
    const int hosts = Amount(40, 2000);
    for (int i = 0; i < hosts; ++i)
        std::thread([&] {
            ExpectRoundTrip(stream, compressor, decompressor, static_cast<uint32_t>(i));
        }).join();
}
