// How much of a test is done: all of it when long tests are asked for, else a sample that takes seconds.
#pragma once

#include "support/long_tests.h"

#include <algorithm>

#if defined(__SANITIZE_THREAD__)
inline constexpr int kSlowness = 8; // of a thread, a process and a frame under this sanitizer
#elif defined(__SANITIZE_ADDRESS__) || defined(_WIN32)
inline constexpr int kSlowness = 2;
#else
inline constexpr int kSlowness = 1;
#endif

/// `sample` as it is for a plain build; slow ones do less.
inline int Amount(int sample, int all)
{
    return LongTests() ? all : std::max(2, sample / kSlowness);
}
