#pragma once

#include <type_traits>
#include <utility>

/// Calls body with the constants 0 to n - 1: a loop that is gone after compilation. Row kernels keep small
/// arrays in registers only when every index is a constant.
template <int n, class Body>
[[gnu::always_inline]] inline void Unrolled(const Body& body)
{
    [&]<int... i>(std::integer_sequence<int, i...>) __attribute__((always_inline))
    {
        (body(std::integral_constant<int, i>{}), ...);
    }
    (std::make_integer_sequence<int, n>{});
}
