// Memory that gives out while threads are being started: this program's operator new fails at a chosen call
// of the thread that chose it.
#include "threading/worker_pool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
thread_local int allocationsLeft = -1; // -1: without limit

void* Allocate(size_t size) noexcept
{
    if (allocationsLeft == 0)
        return nullptr;
    if (allocationsLeft > 0)
        --allocationsLeft;
    return std::malloc(size > 0 ? size : 1);
}
} // namespace

void* operator new(size_t size)
{
    void* const memory = Allocate(size);
    return memory ? memory : throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}

TEST(WorkerPoolMemory, ThePoolWorksWithTheThreadsThatThereIsMemoryFor)
{
    constexpr int kThreads = 6;
    int withoutFailure = -1;
    // Each worker takes two allocations, and the list of them one.
    for (int limit = 0; limit <= 2 * kThreads; ++limit) {
        threading::WorkerPool pool;
        pool.SetThreadCount(kThreads);
        allocationsLeft = limit;
        pool.EnsureThreads();
        if (allocationsLeft > 0 && withoutFailure < 0)
            withoutFailure = limit;
        std::atomic<int> sum{0};
        pool.Run(100, [&](int index, int) { sum += index; });
        allocationsLeft = -1;
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
    allocationsLeft = 0;
    for (int run = 0; run < 100; ++run)
        pool.Run(10, [&](int index, int) { sum += index; });
    allocationsLeft = -1;
    EXPECT_EQ(sum, 4500);
}
