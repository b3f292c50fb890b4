// Threads that wait for each other leave the processor to those that have work.
#include "threading/worker_pool.h"

#include "platform/thread_start_hook.h"
#include "support/held_up.h"

#include <gtest/gtest.h>

#include <atomic>

using threading::WorkerPool;

namespace {

std::atomic<HoldUp*> entryHoldUp;

} // namespace

TEST(Waiting, ForAWorkerThatHasNotStartedYetTakesNoProcessorTime)
{
    for (const int threads : {2, 8}) {
        HoldUp holdUp;
        WorkerPool pool;
        pool.SetThreadCount(threads);
        entryHoldUp = &holdUp;
        platform::SetThreadEntryHook([]() noexcept { entryHoldUp.load()->Here(); });
        EXPECT_LT(ProcessorTimeWhileHeldUp(holdUp, [&] { pool.EnsureThreads(); }), kWaitingAllowance);
        platform::SetThreadEntryHook(nullptr);
    }
}

TEST(Waiting, ForWhoeverIsLastInARunTakesNoProcessorTime)
{
    for (const int threads : {2, 8})
        for (const bool callerIsLast : {false, true}) {
            HoldUp holdUp;
            WorkerPool pool;
            pool.SetThreadCount(threads);
            EXPECT_LT(ProcessorTimeWhileHeldUp(holdUp,
                                               [&] {
                                                   pool.Run(1000, [&](int, int thread) {
                                                       if ((thread == 0) == callerIsLast)
                                                           holdUp.Here();
                                                       else
                                                           holdUp.arrived.Wait();
                                                   });
                                               }),
                      kWaitingAllowance);
        }
}
