#include "platform/clock.h"

#include "platform/windows/windows_headers.h"

#include <ctime>

namespace platform {

int64_t ReadCounter() noexcept
{
    LARGE_INTEGER counter = {};
    QueryPerformanceCounter(&counter);
    return counter.QuadPart;
}

int64_t CounterFrequency() noexcept
{
    LARGE_INTEGER frequency = {};
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

uint32_t TickCount() noexcept
{
    return GetTickCount();
}

void FormatLocalTime(std::span<char> text, const char* format) noexcept
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    if (localtime_s(&local, &now) != 0 || std::strftime(text.data(), text.size(), format, &local) == 0)
        text[0] = '\0';
}

} // namespace platform
