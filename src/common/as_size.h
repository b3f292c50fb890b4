#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>

/// A count that is known not to be negative, as a size.
constexpr size_t AsSize(std::signed_integral auto count)
{
    assert(count >= 0);
    return static_cast<size_t>(count);
}
