#pragma once

#include "platform/event.h"

#include <chrono>

namespace platform {

/// Looks again and again whether `pass()` holds, for `limit` at most. Returns whether it does.
template <class F>
bool SpinUntil(std::chrono::microseconds limit, F pass)
{
    if (pass())
        return true;
    if (limit.count() <= 0)
        return false;
    const auto end = std::chrono::steady_clock::now() + limit;
    do {
        for (int i = 0; i < 16; ++i) {
            Pause();
            if (pass())
                return true;
        }
    } while (std::chrono::steady_clock::now() < end);
    return false;
}

} // namespace platform
