#include "failing_memory.h"
#include "threading/worker_pool.h"

#include <gtest/gtest.h>

#include <atomic>

TEST(WorkerPoolMemory, ThePoolWorksWithTheThreadsThatThereIsMemoryFor)
{
    constexpr int kThreads = 6;
    int withoutFailure = -1;
    // Each worker takes two allocations, and the list of them one.
    for (int limit = 0; limit <= 2 * kThreads; ++limit) {
        threading::WorkerPool pool;
        pool.SetThreadCount(kThreads);
        LimitAllocations(limit);
        pool.EnsureThreads();
        const int left = AllocationsLeft();
        std::atomic<int> sum{0};
        pool.Run(100, [&](int index, int) { sum += index; });
        LiftAllocationLimit();
        if (left > 0 && withoutFailure < 0)
            withoutFailure = limit;
        EXPECT_EQ(sum, 4950) << limit;
        pool.SetThreadCount(2);
        pool.Run(100, [&](int index, int) { sum -= index; });
        EXPECT_EQ(sum, 0) << limit;
    }
    EXPECT_EQ(withoutFailure, 2 * kThreads); // all places of failure were visited
}

TEST(WorkerPoolMemory, ARunAllocatesNothing)
{
    threading::WorkerPool pool;
    pool.SetThreadCount(3);
    pool.EnsureThreads();
    std::atomic<int> sum{0};
    LimitAllocations(0);
    for (int run = 0; run < 100; ++run)
        pool.Run(10, [&](int index, int) { sum += index; });
    LiftAllocationLimit();
    EXPECT_EQ(sum, 4500);
}
