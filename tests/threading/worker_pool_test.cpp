#include "threading/worker_pool.h"

#include "common/thread_limit.h"
#include "platform/thread_start_hook.h"
#include "support/eventually.h"
#include "support/long_tests.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

using threading::WorkerPool;

namespace {

/// Runs `count` indices, each of which must come once, with a thread index below the pool's thread count.
void ExpectEveryIndexOnce(WorkerPool& pool, int count)
{
    std::vector<std::atomic<int>> calls(static_cast<size_t>(count));
    std::atomic<int> strangers{0};
    pool.Run(count, [&](int index, int threadIndex) {
        ++calls[static_cast<size_t>(index)];
        if (threadIndex < 0 || threadIndex >= pool.GetThreadCount())
            ++strangers;
    });
    EXPECT_EQ(strangers, 0);
    for (const auto& n : calls)
        ASSERT_EQ(n, 1);
}

/// The threads that take part in runs: each index waits until all of them have one, or gives up in the end.
int ThreadsAtWork(WorkerPool& pool, int expected)
{
    std::vector<std::atomic<int>> seen(kMaxThreads);
    std::atomic<int> arrived{0};
    pool.Run(expected, [&](int, int threadIndex) {
        ++seen[static_cast<size_t>(threadIndex)];
        ++arrived;
        Eventually([&] { return arrived >= expected; });
    });
    return static_cast<int>(std::count_if(seen.begin(), seen.end(), [](const auto& n) { return n > 0; }));
}

/// Lets thread starts fail by their order while it lives.
class StartLimit
{
  public:
    /// fails  bit n set: the n-th start from now on fails; starts from the 64th on succeed
    explicit StartLimit(uint64_t fails)
    {
        failing = fails;
        asked = 0;
        platform::SetThreadStartHook([]() noexcept {
            const int n = asked++;
            return n >= 64 || (failing >> n & 1) == 0;
        });
    }
    ~StartLimit() { platform::SetThreadStartHook(nullptr); }
    static int Asked() { return asked; }

  private:
    static inline std::atomic<uint64_t> failing;
    static inline std::atomic<int> asked;
};

constexpr uint64_t kAllFail = ~uint64_t{0};

} // namespace

TEST(WorkerPool, StartsWithTheProcessorCountAndNoThread)
{
    const StartLimit limit(kAllFail);
    WorkerPool pool;
    EXPECT_EQ(pool.GetThreadCount(), std::clamp(threading::GetProcessorCount(), 1, 64));
    EXPECT_EQ(StartLimit::Asked(), 0);
}

TEST(WorkerPool, ThreadCountIsClamped)
{
    WorkerPool pool;
    const int automatic = std::clamp(threading::GetProcessorCount(), 1, 64);
    const int wishes[][2] = {
        {0, automatic}, {-1, automatic}, {-1000000, automatic}, {1, 1}, {2, 2}, {63, 63}, {64, 64},
        {65, 64},       {100, 64},       {2147483647, 64}};
    for (const auto [wish, count] : wishes) {
        pool.SetThreadCount(wish);
        EXPECT_EQ(pool.GetThreadCount(), count) << wish;
    }
}

TEST(WorkerPool, OneThreadTakesAllIndicesInRisingOrderOnTheCaller)
{
    const StartLimit limit(0);
    WorkerPool pool;
    pool.SetThreadCount(1);
    std::vector<int> order;
    const auto caller = std::this_thread::get_id();
    pool.Run(50, [&](int index, int threadIndex) {
        EXPECT_EQ(threadIndex, 0);
        EXPECT_EQ(std::this_thread::get_id(), caller);
        order.push_back(index);
    });
    ASSERT_EQ(order.size(), 50U);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(order[static_cast<size_t>(i)], i);
    EXPECT_EQ(StartLimit::Asked(), 0);
}

TEST(WorkerPool, IndicesAreHandedOutInRisingOrderToEachThread)
{
    WorkerPool pool;
    pool.SetThreadCount(4);
    std::vector<std::vector<int>> taken(4);
    pool.Run(2000,
             [&](int index, int threadIndex) { taken[static_cast<size_t>(threadIndex)].push_back(index); });
    size_t total = 0;
    for (const auto& order : taken) {
        EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
        total += order.size();
    }
    EXPECT_EQ(total, 2000U);
}

TEST(WorkerPool, EveryIndexRunsOnceForEveryThreadCountAndItemCount)
{
    WorkerPool pool;
    for (int threads = 1; threads <= kMaxThreads; ++threads) {
        pool.SetThreadCount(threads);
        for (const int count : {0, 1, 2, threads - 1, threads, threads + 1, 3 * threads, 500})
            ExpectEveryIndexOnce(pool, count);
    }
}

TEST(WorkerPool, NoIndexRunsForACountOfZeroOrLess)
{
    WorkerPool pool;
    pool.SetThreadCount(3);
    for (const int count : {0, -1, -2147483647 - 1}) {
        int calls = 0;
        pool.Run(count, [&](int, int) { ++calls; });
        EXPECT_EQ(calls, 0) << count;
    }
    ExpectEveryIndexOnce(pool, 10);
}

TEST(WorkerPool, AllThreadsTakePart)
{
    for (const int threads : {1, 2, 5, 16, 64}) {
        WorkerPool pool;
        pool.SetThreadCount(threads);
        EXPECT_EQ(ThreadsAtWork(pool, threads), threads);
    }
}

TEST(WorkerPool, WorkOfADerivedClassRuns)
{
    struct Doubling final : threading::Work {
        explicit Doubling(std::vector<int>& items_) : Work(static_cast<int>(items_.size())), items(items_) {}
        void Run(int index, int) override { items[static_cast<size_t>(index)] *= 2; }
        std::vector<int>& items;
    };
    std::vector<int> items(1000, 21);
    Doubling work(items);
    WorkerPool pool;
    pool.SetThreadCount(2);
    pool.Execute(work);
    EXPECT_EQ(items, std::vector<int>(1000, 42));
}

TEST(WorkerPool, WhatBodiesWriteIsReadByTheCallerAndTheNextRun)
{
    WorkerPool pool;
    pool.SetThreadCount(3);
    std::vector<int> values(64); // plain: the pool alone orders the accesses
    for (int run = 0; run < 500; ++run) {
        pool.Run(64, [&](int index, int) { values[static_cast<size_t>(63 - index)] += index; });
        pool.Run(64, [&](int index, int) { values[static_cast<size_t>(index)] -= 63 - index; });
    }
    EXPECT_EQ(values, std::vector<int>(64));
}

TEST(WorkerPool, ThreadsChangeOnlyWhenTheWishHasChanged)
{
    const StartLimit limit(0);
    WorkerPool pool;
    pool.SetThreadCount(4);
    EXPECT_EQ(StartLimit::Asked(), 0);
    pool.EnsureThreads();
    EXPECT_EQ(StartLimit::Asked(), 3);
    pool.SetThreadCount(4);
    pool.EnsureThreads();
    ExpectEveryIndexOnce(pool, 100);
    EXPECT_EQ(StartLimit::Asked(), 3);
    pool.SetThreadCount(2);
    EXPECT_EQ(StartLimit::Asked(), 3);
    ExpectEveryIndexOnce(pool, 100);
    EXPECT_EQ(StartLimit::Asked(), 4);
    pool.SetThreadCount(1);
    ExpectEveryIndexOnce(pool, 100);
    EXPECT_EQ(StartLimit::Asked(), 4);
}

TEST(WorkerPool, ShutdownMayComeAtAnyTimeAndTwice)
{
    WorkerPool pool;
    pool.Shutdown();
    pool.SetThreadCount(5);
    pool.Shutdown();
    ExpectEveryIndexOnce(pool, 20);
    pool.Shutdown();
    pool.Shutdown();
    ExpectEveryIndexOnce(pool, 20);
    EXPECT_EQ(ThreadsAtWork(pool, 5), 5);
    pool.EnsureThreads();
    pool.Shutdown();
}

TEST(WorkerPool, ManyStartsAndStops)
{
    for (int round = 0; round < 300; ++round) {
        WorkerPool pool;
        pool.SetThreadCount(2 + round % 7);
        if (round % 3 == 0)
            pool.EnsureThreads();
        if (round % 2 == 0)
            ExpectEveryIndexOnce(pool, round % 11);
    }
}

TEST(WorkerPool, RandomWishesAndRuns)
{
    std::mt19937 random(TestSeed());
    WorkerPool pool;
    const int rounds = LongTests() ? 20'000 : 500;
    for (int round = 0; round < rounds; ++round) {
        switch (random() % 8) {
        case 0:
            pool.SetThreadCount(static_cast<int>(random() % 12));
            break;
        case 1:
            pool.EnsureThreads();
            break;
        case 2:
            pool.Shutdown();
            break;
        default:
            ExpectEveryIndexOnce(pool, static_cast<int>(random() % 40));
        }
    }
}

TEST(WorkerPool, ManyPoolsInManyThreadsDoNotDisturbEachOther)
{
    std::vector<std::thread> hosts;
    for (int host = 0; host < 12; ++host)
        hosts.emplace_back([host] {
            WorkerPool pool;
            pool.SetThreadCount(1 + host % 4);
            for (int run = 0; run < 60; ++run)
                ExpectEveryIndexOnce(pool, run % 17);
        });
    for (std::thread& host : hosts)
        host.join();
}

TEST(WorkerPool, RunsMayComeFromOneThreadAfterTheOther)
{
    WorkerPool pool;
    pool.SetThreadCount(3);
    for (int i = 0; i < 20; ++i)
        std::thread([&] { ExpectEveryIndexOnce(pool, 30); }).join();
}

TEST(WorkerPool, AnExceptionReachesTheCallerAndThePoolStaysUsable)
{
    for (const int threads : {1, 2, 4, 16}) {
        WorkerPool pool;
        pool.SetThreadCount(threads);
        for (int bad = 0; bad < 40; ++bad) {
            EXPECT_THROW(pool.Run(40,
                                  [&](int index, int) {
                                      if (index == bad)
                                          throw std::bad_alloc();
                                  }),
                         std::bad_alloc);
            ExpectEveryIndexOnce(pool, 40);
        }
    }
}

TEST(WorkerPool, AnExceptionOfAnyThreadIsTold)
{
    WorkerPool pool;
    pool.SetThreadCount(2);
    for (const int thrower : {0, 1}) {
        std::atomic<int> arrived{0};
        // Both threads stand in a body before one of them throws.
        const auto body = [&](int, int threadIndex) {
            ++arrived;
            while (arrived < 2)
                std::this_thread::yield();
            if (threadIndex == thrower)
                throw std::runtime_error("told");
        };
        EXPECT_THROW(pool.Run(2, body), std::runtime_error) << thrower;
    }
}

TEST(WorkerPool, WhenAllThrowOneIsToldAndTheRestIsSkipped)
{
    WorkerPool pool;
    pool.SetThreadCount(4);
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> calls{0};
        int told = -1;
        try {
            pool.Run(10'000, [&](int index, int) {
                ++calls;
                throw index;
            });
        } catch (int index) {
            told = index;
        }
        EXPECT_GE(told, 0);
        EXPECT_LE(calls, 4); // one of each thread
    }
    ExpectEveryIndexOnce(pool, 100);
}

TEST(WorkerPool, AfterAnExceptionTheBarrierHolds)
{
    WorkerPool pool;
    pool.SetThreadCount(2);
    std::atomic<int> arrived{0};
    std::atomic<bool> slowIsDone{false};
    EXPECT_THROW(pool.Run(2,
                          [&](int, int threadIndex) {
                              ++arrived;
                              while (arrived < 2)
                                  std::this_thread::yield();
                              if (threadIndex == 0)
                                  throw std::runtime_error("early");
                              std::this_thread::sleep_for(std::chrono::milliseconds(30));
                              slowIsDone = true;
                          }),
                 std::runtime_error);
    EXPECT_TRUE(slowIsDone);
}

TEST(WorkerPool, WorkersThatCannotBeStartedAreLeftOut)
{
    struct Row {
        int threads;
        uint64_t fails;
        int atWork;
    };
    const Row rows[] = {{2, kAllFail, 1}, {64, kAllFail, 1}, {5, 0b0001, 4},
                        {5, 0b1000, 4},   {5, 0b0101, 3},    {64, ~uint64_t{1}, 2}};
    for (const Row& row : rows) {
        const StartLimit limit(row.fails);
        WorkerPool pool;
        pool.SetThreadCount(row.threads);
        ExpectEveryIndexOnce(pool, 200);
        EXPECT_EQ(pool.GetThreadCount(), row.threads);
        EXPECT_EQ(StartLimit::Asked(), row.threads - 1);
        EXPECT_EQ(ThreadsAtWork(pool, row.atWork), row.atWork);
        // Not tried again by every run.
        for (int run = 0; run < 5; ++run)
            ExpectEveryIndexOnce(pool, 20);
        EXPECT_EQ(StartLimit::Asked(), row.threads - 1);
    }
}

TEST(WorkerPool, ANewWishTriesAgain)
{
    WorkerPool pool;
    pool.SetThreadCount(3);
    {
        const StartLimit limit(kAllFail);
        ExpectEveryIndexOnce(pool, 20);
    }
    pool.SetThreadCount(4);
    EXPECT_EQ(ThreadsAtWork(pool, 4), 4);
}
