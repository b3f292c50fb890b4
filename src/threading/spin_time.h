#pragma once

#include <chrono>

namespace threading {

/// How long one of `threadCount` threads looks for what it waits for before it sleeps.
std::chrono::microseconds SpinTime(int threadCount) noexcept;

} // namespace threading
