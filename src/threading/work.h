// What a pool runs: an index range with a body.
#pragma once

#include <atomic>

namespace threading {

class Work
{
  public:
    /// count  indices of the run, at most 2^31 - 65; 0 or less means none
    explicit Work(int count_) noexcept : count(count_) {}
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    virtual ~Work() = default;

    /// Called once for each index from 0 to count - 1, by whichever thread is free.
    /// threadIndex  0 for the calling thread, below WorkerPool::GetThreadCount() for all: which scratch to
    /// use
    virtual void Run(int index, int threadIndex) = 0;

    const int count;
    std::atomic<int> next{-1}; ///< the last index handed out
};

/// A run of a callable with the arguments (int index, int threadIndex), which the caller keeps alive.
template <class F>
class WorkT final : public Work
{
  public:
    WorkT(int count_, F& body_) noexcept : Work(count_), body(&body_) {}

    void Run(int index, int threadIndex) override { (*body)(index, threadIndex); }

  private:
    F* body;
};

} // namespace threading
