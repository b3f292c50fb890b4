#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace platform {

/// A number that one thread sets and others wait for, such as whose turn it is. Like an event, a word in user
/// space: no operation enters the system unless a thread has to sleep or a sleeping one to be woken.
///
/// What a thread wrote before Set is seen by every thread whose Wait ends with that number.
class Turn
{
  public:
    /// Numbers are below this one: its bit says that threads sleep.
    static constexpr uint32_t kLimit = 0x80000000;

    void Set(uint32_t number) noexcept;
    /// Returns once the number is `number`, without a time limit.
    /// spin  how long to look again and again before going to sleep
    void Wait(uint32_t number, std::chrono::microseconds spin = {}) noexcept;

  private:
    std::atomic<uint32_t> word{0};
};

} // namespace platform
