#pragma once

#include "platform/event.h"
#include "threading/work.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <memory>
#include <type_traits>
#include <vector>

namespace threading {

/// The processors of this system.
int GetProcessorCount() noexcept;

/// Threads that stay alive between runs and share the indices of one run after the other with the calling
/// thread.
///
/// A pool belongs to one thread at a time: its operations are not called by two threads at once, nor from
/// inside a body. Pools do not know of each other.
class WorkerPool
{
  public:
    /// As many threads as there are processors, none of them started yet.
    WorkerPool() noexcept;
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;
    ~WorkerPool();

    /// Notes how many threads are wanted, the caller included: 1 to 64, higher counts as 64, below 1 as the
    /// processor count. The threads change with the next EnsureThreads or Execute.
    void SetThreadCount(int count) noexcept;
    /// The threads wanted. Every threadIndex is below it.
    int GetThreadCount() const noexcept { return threadCount; }

    /// Starts or stops threads if their number is no longer what is wanted. A worker that cannot be started
    /// is left out, and the pool works without it until the wish changes.
    void EnsureThreads() noexcept;

    /// Runs every index of `work` and returns when all are done. Indices are handed out in rising order to
    /// whichever thread comes next. What bodies wrote can be read after it.
    ///
    /// A body may throw: the indices that are left are skipped, and the first exception is thrown here when
    /// all threads have finished. The pool stays as it was.
    void Execute(Work& work);

    /// Execute with a callable (int index, int threadIndex).
    template <class F>
    void Run(int count, F&& body)
    {
        WorkT<std::remove_reference_t<F>> run(count, body);
        Execute(run);
    }

    /// Ends all workers. The next EnsureThreads or Execute starts them again.
    void Shutdown() noexcept;

  private:
    struct WorkerThread;
    enum class Command { Nothing, Quit, RunWork };

    static void ThreadEntry(void* record);
    void ThreadLoop(WorkerThread& worker) noexcept;
    void TakeIndices(int threadIndex) noexcept;
    void Restart() noexcept;
    void ExpectWorkers(size_t count) noexcept;
    void WorkerIsReady() noexcept;

    std::vector<std::unique_ptr<WorkerThread>> threads;
    int threadCount = 1;        // wanted, the caller included
    int startedThreadCount = 1; // the wish that `threads` were started for; workers may have been left out
    std::chrono::microseconds spin{0}; // of waits for an event, set for the threads that are started
    Work* work = nullptr;              // the run in progress
    Command command = Command::Nothing;
    std::exception_ptr error; // the first that a body threw in this run
    std::atomic<bool> failed{false};

    // `work` and `command` are written before `goEvent` is set and read after it. `releaseEvent` is clear
    // while a run is on, so that no worker passes `goEvent` twice.
    platform::Event goEvent{platform::Event::Kind::Manual};
    platform::Event releaseEvent{platform::Event::Kind::Manual, true};
    // Set while all workers stand at `goEvent`: the last one to come there sets it.
    platform::Event readyEvent{platform::Event::Kind::Manual};
    std::atomic<int> missingCount{0}; // workers on their way to `goEvent`
};

} // namespace threading
