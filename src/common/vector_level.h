// Which implementation of a kernel callers get. Every kernel has a list of its implementations. The scalar
// one is the reference, comes first and is always built; the SSE2 one is built beside it where ORVANE_SSE2 is
// defined. Tests and benchmarks walk the lists.
#pragma once

#include "common/compiler.h"

#include <iterator>

/// The implementation of a list that callers get: the last.
constexpr const auto& Fastest(const auto& implementations)
{
    return *std::prev(std::end(implementations));
}
