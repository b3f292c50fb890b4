// Memory between two pages that nobody may touch.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>

/// Where bytes lie in a guarded buffer: one side touches its guard page, the other is watched by a pattern.
enum class Against : uint8_t { BackGuard, FrontGuard };

/// Room for `capacity` bytes, made once and used for one input after the other: a single byte read or written
/// beside what Place gave ends the process, if a guard page is there, or shows in IsIntact.
class GuardedBuffer
{
  public:
    explicit GuardedBuffer(size_t capacity)
    {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        room = (capacity + page - 1) / page * page;
        void* const mapped = mmap(nullptr, room + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (mapped == MAP_FAILED)
            std::abort();
        first = static_cast<uint8_t*>(mapped) + page;
        if (mprotect(first, room, PROT_READ | PROT_WRITE) != 0)
            std::abort();
    }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    size_t Capacity() const { return room; }

    /// `size` bytes, at most Capacity(), of value `fill`; valid until the next call. Against the front guard
    /// they are aligned to a page.
    std::span<uint8_t> Place(size_t size, uint8_t fill, Against side = Against::BackGuard)
    {
        uint8_t* const start = side == Against::BackGuard ? first + room - size : first;
        slack =
            side == Against::BackGuard ? std::span(first, room - size) : std::span(first + size, room - size);
        slack = side == Against::BackGuard ? slack.last(NearBytes()) : slack.first(NearBytes());
        std::memset(slack.data(), kPattern, slack.size());
        std::memset(start, fill, size);
        return {start, size};
    }

    /// The same with the contents of `bytes`.
    std::span<uint8_t> Place(std::span<const uint8_t> bytes, Against side = Against::BackGuard)
    {
        const std::span<uint8_t> placed = Place(bytes.size(), 0, side);
        if (!bytes.empty())
            std::memcpy(placed.data(), bytes.data(), bytes.size());
        return placed;
    }

    /// Whether nothing was written on the side without a guard page, near the bytes.
    bool IsIntact() const
    {
        for (const uint8_t byte : slack)
            if (byte != kPattern)
                return false;
        return true;
    }

  private:
    static constexpr uint8_t kPattern = 0xC7;
    static constexpr size_t kNearBytes = 512;
    size_t NearBytes() const { return slack.size() < kNearBytes ? slack.size() : kNearBytes; }

    uint8_t* first;
    size_t room;
    std::span<uint8_t> slack;
};
