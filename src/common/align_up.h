#pragma once

#include <cstdint>

/// The smallest multiple of n that is not below x; n is 1 or more.
template <class T>
constexpr T alignUp(T x, T n)
{
    return static_cast<T>((x + (n - 1)) / n * n);
}

/// The first address at or behind `p` that is a multiple of n.
inline uint8_t* alignUp(uint8_t* p, uintptr_t n)
{
    return p + (n - reinterpret_cast<uintptr_t>(p) % n) % n;
}
