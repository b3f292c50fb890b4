#include "threading/worker_pool.h"

#include "support/memory/allocation_budget.h"

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
        std::atomic<int> sum{0};
        {
            const AllocationBudget budget(limit);
            pool.EnsureThreads();
            if (!budget.IsUsedUp() && withoutFailure < 0)
                withoutFailure = limit;
            pool.Run(100, [&](int index, int) { sum += index; });
        }
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
    {
        const AllocationBudget none(0);
        for (int run = 0; run < 100; ++run)
            pool.Run(10, [&](int index, int) { sum += index; });
    }
    EXPECT_EQ(sum, 4500);
}
