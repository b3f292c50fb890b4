// Threads that the system does not give: a run works with those that it has, and its bytes are the same.
#include "platform/thread_start_hook.h"
#include "reliability/memory_faults.h"
#include "reliability/streams.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>

namespace {

std::atomic<int> asked{0};
std::atomic<int> granted{0}; // the first this many starts succeed
std::atomic<int> every{0};   // else one of this many; 0: none

bool MayStart() noexcept
{
    const int number = asked++;
    return number < granted || (every != 0 && number % every == 0);
}

/// Thread starts while it lives: the first `first` succeed, behind them one of `oneOf`, or none when that is
/// 0.
class ThreadStarts
{
  public:
    ThreadStarts(int first, int oneOf)
    {
        asked = 0;
        granted = first;
        every = oneOf;
        platform::SetThreadStartHook(MayStart);
    }
    ~ThreadStarts() { platform::SetThreadStartHook(nullptr); }
    ThreadStarts(const ThreadStarts&) = delete;
    ThreadStarts& operator=(const ThreadStarts&) = delete;

    int Asked() const { return asked; }
};

struct Coded {
    std::vector<uint8_t> frame;
    std::vector<uint8_t> picture;
    bool operator==(const Coded&) const = default;
};

/// One frame there and back in an instance of its own; twice, so that a pool works on as it is.
Coded CodeTwice(const HostStream& stream)
{
    const Instance instance(stream.variant->fourCC);
    const ExactBuffer picture = stream.Picture();
    const StreamHeader coded = instance.GetStream(stream.header);
    Coded result;
    for (int round = 0; round < 2; ++round) {
        const auto frame = instance.Compress(stream.header, coded, picture.data());
        EXPECT_EQ(frame.result, ICERR_OK);
        ExactBuffer back(picture.size());
        BITMAPINFOHEADER out = stream.header;
        EXPECT_EQ(instance.Decompress(coded, frame.bytes, out, back.data()), ICERR_OK);
        result = {frame.bytes, {back.Bytes().begin(), back.Bytes().end()}};
    }
    return result;
}

void ExpectSameWithFewerThreads(int threads, int firstStarts, int oneOf)
{
    const TestStore store;
    for (const HostStream& stream : StreamsOfAllRoads(64, 300)) {
        StoredChoice choice;
        choice.interlaced = stream.interlaced;
        StoreChoice(stream.variant->fourCC, choice);
        const Coded expected = CodeTwice(stream);
        choice.encodeThreads = choice.decodeThreads = threads;
        StoreChoice(stream.variant->fourCC, choice);
        const ThreadStarts starts(firstStarts, oneOf);
        EXPECT_EQ(CodeTwice(stream), expected) << stream.Name() << " with " << threads << " threads";
        EXPECT_GE(starts.Asked(), threads - 1);
    }
}

} // namespace

TEST(ThreadFault, WithoutAnyThreadRunsWorkInTheCallersOne)
{
    ExpectSameWithFewerThreads(8, 0, 0);
}

TEST(ThreadFault, WithSomeThreadsRunsWorkWithThem)
{
    for (const int first : {1, 3, 6})
        ExpectSameWithFewerThreads(8, first, 0);
}

TEST(ThreadFault, GapsBetweenThreadsDoNotMatter)
{
    for (const int oneOf : {2, 3})
        ExpectSameWithFewerThreads(16, 0, oneOf);
}

TEST(ThreadFault, AnIconWithoutAThreadIsLeftOut)
{
    const TestStore store;
    const HostStream stream = MakeHostStream("O8Y0", "I420", 12, 64, 60);
    StoreChoice("O8Y0", {});
    const Coded expected = CodeTwice(stream);
    TestStore::Write("Software\\Orvane", "NotificationSettings", 15);
    const ThreadStarts none(0, 0);
    const AllocationWatch watch;
    {
        const Coded withoutIcon = CodeTwice(stream);
        EXPECT_EQ(withoutIcon, expected);
    }
    EXPECT_EQ(watch.Held(), 0U) << "what was made for the icon is still held";
    EXPECT_GE(none.Asked(), 1);
}
