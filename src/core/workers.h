#pragma once

#include "common/as_size.h"
#include "core/stage_timers.h"
#include "threading/worker_pool.h"

#include <cstddef>
#include <span>
#include <vector>

namespace core {

/// What the frames of both directions run on. The timers have an entry for each thread of the pool.
struct Workers {
    threading::WorkerPool& pool;
    std::vector<StageTimers>& stages;

    size_t ThreadCount() const { return AsSize(pool.GetThreadCount()); }

    StageTimer& Timer(Stage stage, size_t thread = 0) const
    {
        return stages[IndexOf(stage)].perThread[thread];
    }

    /// Calls body(index, thread) for every index below `count`; the pool's indices as sizes.
    template <class Body>
    void Run(size_t count, Body&& body) const
    {
        pool.Run(static_cast<int>(count),
                 [&](int index, int thread) { body(AsSize(index), AsSize(thread)); });
    }
};

/// Calls body(steps) for the operations of each pool run in turn.
template <class Step, class Body>
void ForEachRun(const std::vector<Step>& steps, Body&& body)
{
    for (auto first = steps.begin(); first != steps.end();) {
        auto end = first;
        while (end != steps.end() && end->step == first->step)
            ++end;
        body(std::span<const Step>(first, end));
        first = end;
    }
}

} // namespace core
