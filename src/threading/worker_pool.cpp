// A run, seen by a worker: ready (waits at goEvent), running (takes indices), done (sets its doneEvent, waits
// at releaseEvent), ready again. The caller waits for all to be ready, opens goEvent, takes indices itself,
// waits for every doneEvent, closes goEvent and opens releaseEvent.
#include "threading/worker_pool.h"

#include "platform/processor_count.h"
#include "platform/thread.h"
#include "threading/backoff.h"

#include <algorithm>
#include <new>
#include <utility>

namespace threading {
namespace {

/// How long a thread looks for its event before it sleeps. An empty run of two threads takes 0.9 us when all
/// find their events this way and 5 us when each wait sleeps; after a pause it is 11 to 13 us (Linux, two
/// processors of 2 GHz). Longer spinning gains nothing more there and costs a multiple on processors that
/// other programs keep busy, where a thread that sleeps is woken at once but one that has used up its share
/// is not.
constexpr std::chrono::microseconds kSpin{20};

/// Spinning takes the processor from a thread that has work when there are more threads than processors.
std::chrono::microseconds SpinFor(int threadCount) noexcept
{
    return threadCount <= platform::ProcessorCount() ? kSpin : std::chrono::microseconds{0};
}

} // namespace

struct WorkerPool::WorkerThread {
    WorkerThread(WorkerPool& pool_, int index_) noexcept : pool(pool_), index(index_) {}

    WorkerPool& pool;
    const int index; // 1 to threadCount - 1, the threadIndex of its bodies
    platform::Event doneEvent{platform::Event::Kind::Auto};
    platform::Thread thread;
};

int GetProcessorCount() noexcept
{
    return platform::ProcessorCount();
}

WorkerPool::WorkerPool() noexcept
{
    SetThreadCount(0);
}

WorkerPool::~WorkerPool()
{
    Shutdown();
}

void WorkerPool::SetThreadCount(int count) noexcept
{
    threadCount = std::clamp(count < 1 ? GetProcessorCount() : count, 1, kMaxThreads);
}

void WorkerPool::EnsureThreads() noexcept
{
    if (startedThreadCount != threadCount)
        Restart();
}

void WorkerPool::Execute(Work& run)
{
    EnsureThreads();
    work = &run;
    if (threads.empty()) {
        TakeIndices(0);
    } else {
        WaitUntilReady();
        readyCount.store(0, std::memory_order_relaxed);
        releaseEvent.Reset();
        command = Command::RunWork;
        goEvent.Set();
        TakeIndices(0);
        for (const auto& worker : threads)
            worker->doneEvent.Wait(spin);
        goEvent.Reset();
        releaseEvent.Set();
    }
    work = nullptr;
    if (failed.exchange(false, std::memory_order_relaxed))
        std::rethrow_exception(std::exchange(error, nullptr));
}

void WorkerPool::Restart() noexcept
{
    Shutdown();
    startedThreadCount = threadCount;
    spin = SpinFor(threadCount);
    try {
        threads.reserve(static_cast<size_t>(threadCount - 1));
        for (int i = 1; i < threadCount; ++i) {
            auto worker = std::make_unique<WorkerThread>(*this, i);
            if (worker->thread.Start(ThreadEntry, worker.get()))
                threads.push_back(std::move(worker));
        }
    } catch (const std::bad_alloc&) {
        // The workers that there was memory for are enough.
    }
    WaitUntilReady();
}

void WorkerPool::Shutdown() noexcept
{
    command = Command::Quit;
    goEvent.Set();
    threads.clear(); // joins
    startedThreadCount = 1;
    readyCount.store(0, std::memory_order_relaxed);
    goEvent.Reset();
}

void WorkerPool::WaitUntilReady() const noexcept
{
    // Workers have nothing to do but to come here; with more threads than processors they need ours for it.
    Backoff backoff;
    while (readyCount.load(std::memory_order_acquire) < static_cast<int>(threads.size()))
        backoff.Wait();
}

void WorkerPool::ThreadEntry(void* record)
{
    auto& worker = *static_cast<WorkerThread*>(record);
    worker.pool.ThreadLoop(worker);
}

void WorkerPool::ThreadLoop(WorkerThread& worker) noexcept
{
    for (;;) {
        readyCount.fetch_add(1, std::memory_order_release);
        goEvent.Wait(spin);
        if (command == Command::Quit)
            return;
        TakeIndices(worker.index);
        worker.doneEvent.Set();
        releaseEvent.Wait(spin);
    }
}

void WorkerPool::TakeIndices(int threadIndex) noexcept
{
    Work& run = *work;
    try {
        for (int index; (index = run.next.fetch_add(1, std::memory_order_relaxed) + 1) < run.count;)
            run.Run(index, threadIndex);
    } catch (...) {
        run.next.store(run.count, std::memory_order_relaxed);
        if (!failed.exchange(true, std::memory_order_relaxed))
            error = std::current_exception();
    }
}

} // namespace threading
