// A run, seen by a worker: ready (waits at goEvent), running (takes indices), done (sets its doneEvent, waits
// at releaseEvent), ready again. The caller waits for all to be ready, opens goEvent, takes indices itself,
// waits for every doneEvent, closes goEvent and opens releaseEvent.
#include "threading/worker_pool.h"

#include "common/thread_limit.h"

#include "common/as_size.h"
#include "platform/processor_count.h"
#include "platform/thread.h"
#include "threading/spin_time.h"

#include <algorithm>
#include <cassert>
#include <new>
#include <utility>

namespace threading {

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
    assert(!work); // neither from inside a body nor by two threads at once
    EnsureThreads();
    work = &run;
    if (threads.empty()) {
        TakeIndices(0);
    } else {
        readyEvent.Wait(spin); // workers have nothing else to do than to come to their places
        ExpectWorkers(threads.size());
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
    spin = SpinTime(threadCount);
    const auto wanted = AsSize(threadCount - 1);
    ExpectWorkers(wanted);
    try {
        threads.reserve(wanted);
        for (int i = 1; i < threadCount; ++i) {
            auto worker = std::make_unique<WorkerThread>(*this, i);
            if (worker->thread.Start(ThreadEntry, worker.get()))
                threads.push_back(std::move(worker));
        }
    } catch (const std::bad_alloc&) {
        // The workers that there was memory for are enough.
    }
    for (size_t i = threads.size(); i < wanted; ++i)
        WorkerIsReady(); // one that there is not
    if (!threads.empty())
        readyEvent.Wait(spin);
}

void WorkerPool::Shutdown() noexcept
{
    command = Command::Quit;
    goEvent.Set();
    threads.clear(); // joins
    startedThreadCount = 1;
    goEvent.Reset();
}

void WorkerPool::ExpectWorkers(size_t count) noexcept
{
    readyEvent.Reset();
    missingCount.store(static_cast<int>(count), std::memory_order_relaxed);
}

void WorkerPool::WorkerIsReady() noexcept
{
    // Each releases what it wrote to the last, who passes it on to the caller.
    if (missingCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        readyEvent.Set();
}

void WorkerPool::ThreadEntry(void* record)
{
    auto& worker = *static_cast<WorkerThread*>(record);
    worker.pool.ThreadLoop(worker);
}

void WorkerPool::ThreadLoop(WorkerThread& worker) noexcept
{
    for (;;) {
        WorkerIsReady();
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
    } catch (...) { // whatever a body throws is the caller's
        run.next.store(run.count, std::memory_order_relaxed);
        if (!failed.exchange(true, std::memory_order_relaxed))
            error = std::current_exception();
    }
}

} // namespace threading
