// The bytes of one fuzz input, taken off from the front.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

class FuzzInput
{
  public:
    FuzzInput(const uint8_t* data, size_t size) : rest(data, size) {}

    bool IsEmpty() const { return rest.empty(); }
    size_t Size() const { return rest.size(); }

    /// A record of plain bytes; zeros stand for what the input lacks.
    template <class T>
    T Take()
    {
        T value{};
        const std::span<const uint8_t> bytes = TakeBytes(sizeof value);
        if (!bytes.empty())
            std::memcpy(&value, bytes.data(), bytes.size());
        return value;
    }

    /// 0 to `count` - 1.
    size_t Choose(size_t count) { return Take<uint8_t>() % count; }

    /// `low` to `high`.
    uint32_t Between(uint32_t low, uint32_t high) { return low + Take<uint16_t>() % (high - low + 1); }

    /// At most `count` bytes.
    std::span<const uint8_t> TakeBytes(size_t count)
    {
        const auto taken = rest.first(std::min(count, rest.size()));
        rest = rest.subspan(taken.size());
        return taken;
    }

    std::span<const uint8_t> TakeAll() { return TakeBytes(rest.size()); }

  private:
    std::span<const uint8_t> rest;
};

/// Ends the process with a message when what has to hold does not.
inline void Require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}
