#include "threading/worker_pool.h"

#include <gtest/gtest.h>

TEST(WorkerPool, RunsEveryIndexOnce)
{
    threading::WorkerPool pool;
    std::atomic<int> sum{0};
    pool.Run(100, [&](int index, int) { sum += index; });
    EXPECT_EQ(sum, 4950);
}
