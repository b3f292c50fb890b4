#pragma once

#include <chrono>
#include <thread>

/// Waits for a condition that nothing signals, such as the end of a detached thread. False when it does not
/// hold after minutes: then it never will, since even a busy machine needs no more than a moment.
template <class Condition>
bool Eventually(Condition holds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (!holds()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
