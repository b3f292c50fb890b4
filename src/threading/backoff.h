// How a thread waits for something that others are about to do.
#pragma once

#include "platform/event.h"

#include <chrono>
#include <thread>

namespace threading {

/// One wait: pauses at first, then gives way to other threads, and naps in the end, since a thread of lower priority may
/// need our processor for what we wait for.
class Backoff
{
  public:
    void Wait()
    {
        ++turns;
        if (turns <= kPauses)
            platform::Pause();
        else if (turns <= kYields)
            std::this_thread::yield();
        else
            std::this_thread::sleep_for(kNap);
    }

  private:
    static constexpr int kPauses = 64;
    static constexpr int kYields = 1024;
    static constexpr std::chrono::microseconds kNap{50};

    int turns = 0;
};

} // namespace threading
