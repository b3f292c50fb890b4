// Eight bytes as one number whose top byte comes first in memory: the order of a bit stream.
#pragma once

#include "common/compiler.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace entropy {

static_assert(std::endian::native == std::endian::little, "loads and stores swap bytes");

/// `at` has 8 readable bytes, of any alignment.
inline uint64_t LoadBigEndian64(const uint8_t* at)
{
    uint64_t word;
    std::memcpy(&word, at, sizeof word);
    return ReverseBytes(word);
}

/// `at` has 8 writable bytes, of any alignment.
inline void StoreBigEndian64(uint8_t* at, uint64_t word)
{
    word = ReverseBytes(word);
    std::memcpy(at, &word, sizeof word);
}

} // namespace entropy
