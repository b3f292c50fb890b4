// What a run costs by itself: the exchange with the workers around bodies that do nothing.
#include "threading/worker_pool.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <thread>

namespace {

/// Runs one after the other, as within a frame.
void EmptyRunHot(benchmark::State& state)
{
    threading::WorkerPool pool;
    pool.SetThreadCount(static_cast<int>(state.range(0)));
    pool.EnsureThreads();
    for (auto _ : state)
        pool.Run(static_cast<int>(state.range(0)), [](int, int) {});
}
BENCHMARK(EmptyRunHot)->ArgName("threads")->Arg(1)->Arg(2)->Arg(4)->Arg(16)->Arg(64)->UseRealTime();

/// A run after a pause in which the workers have gone to sleep, as between the frames of a slow host.
void EmptyRunAfterSleep(benchmark::State& state)
{
    threading::WorkerPool pool;
    pool.SetThreadCount(static_cast<int>(state.range(0)));
    pool.EnsureThreads();
    for (auto _ : state) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const auto begin = std::chrono::steady_clock::now();
        pool.Run(static_cast<int>(state.range(0)), [](int, int) {});
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count());
    }
}
BENCHMARK(EmptyRunAfterSleep)->ArgName("threads")->Arg(2)->Arg(4)->UseManualTime()->Iterations(500);

void StartAndStop(benchmark::State& state)
{
    for (auto _ : state) {
        threading::WorkerPool pool;
        pool.SetThreadCount(static_cast<int>(state.range(0)));
        pool.EnsureThreads();
    }
}
BENCHMARK(StartAndStop)->ArgName("threads")->Arg(2)->Arg(64)->UseRealTime();

} // namespace
