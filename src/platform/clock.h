#pragma once

#include <cstdint>
#include <span>

namespace platform {

/// A counter that only goes forward, for the length of stages; CounterFrequency ticks in a second.
int64_t ReadCounter() noexcept;
int64_t CounterFrequency() noexcept;

/// Milliseconds since the system started, modulo 2^32.
uint32_t TickCount() noexcept;

/// Writes the current local time in the form of strftime, terminated. `text` is empty afterwards where it is
/// too short for the result.
void FormatLocalTime(std::span<char> text, const char* format) noexcept;

} // namespace platform
