// Little-endian numbers at any alignment, and a byte list to build records from.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

static_assert(std::endian::native == std::endian::little, "numbers are stored as they stand in memory");

/// The number at `offset`; the caller has made sure that it lies inside.
template <std::integral T>
T Get(std::span<const uint8_t> bytes, size_t offset)
{
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

template <std::integral T>
void Put(std::vector<uint8_t>& bytes, std::type_identity_t<T> value)
{
    const auto* const at = reinterpret_cast<const uint8_t*>(&value);
    bytes.insert(bytes.end(), at, at + sizeof value);
}

inline void PutBytes(std::vector<uint8_t>& bytes, std::span<const uint8_t> more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}
