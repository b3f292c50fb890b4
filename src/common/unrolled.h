#pragma once

#include "common/compiler.h"

#include <type_traits>
#include <utility>

/// Calls body with the constants 0 to n - 1: a loop that is gone after compilation. Kernels keep small arrays
/// in registers only when every index is a constant.
template <int n, class Body>
ORVANE_ALWAYS_INLINE void Unrolled(const Body& body)
{
    [&]<int... i>(std::integer_sequence<int, i...>) ORVANE_ALWAYS_INLINE_LAMBDA
    {
        (body(std::integral_constant<int, i>{}), ...);
    }
    (std::make_integer_sequence<int, n>{});
}
