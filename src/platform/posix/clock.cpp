#include "platform/clock.h"

#include <ctime>

namespace platform {
namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;

int64_t Nanoseconds(clockid_t clock) noexcept
{
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<int64_t>(now.tv_sec) * kNanosecondsPerSecond + now.tv_nsec;
}

} // namespace

int64_t ReadCounter() noexcept
{
    return Nanoseconds(CLOCK_MONOTONIC);
}

int64_t CounterFrequency() noexcept
{
    return kNanosecondsPerSecond;
}

uint32_t TickCount() noexcept
{
    return static_cast<uint32_t>(Nanoseconds(CLOCK_BOOTTIME) / 1'000'000);
}

void FormatLocalTime(std::span<char> text, const char* format) noexcept
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    if (!localtime_r(&now, &local) || std::strftime(text.data(), text.size(), format, &local) == 0)
        text[0] = '\0';
}

} // namespace platform
