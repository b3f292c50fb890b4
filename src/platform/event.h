#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

namespace platform {

/// An event that threads set and wait for. A word in user space: no operation enters the system unless a
/// thread has to sleep or a sleeping one to be woken, and making one cannot fail.
///
/// What a thread wrote before Set is seen by every thread whose Wait that Set ends. Set does not touch the
/// event once waiting threads may go on: the thread that waited may free it at once.
class Event
{
  public:
    enum class Kind {
        Manual, ///< stays set until Reset; every wait passes
        Auto,   ///< the wait that passes clears it again
    };

    explicit Event(Kind kind_, bool set = false) noexcept : kind(kind_), word(set ? kSet : kClear) {}
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void Set() noexcept;
    void Reset() noexcept;
    /// Returns once the event is set, without a time limit.
    /// spin  how long to look again and again before going to sleep: worth it where the event is about to be
    /// set
    ///       and a processor is free, since waking a sleeping thread takes tens of microseconds
    void Wait(std::chrono::microseconds spin = {}) noexcept;

  private:
    static constexpr uint32_t kClear = 0;
    static constexpr uint32_t kSet = 1;
    static constexpr uint32_t kClearWithSleepers = 2;

    bool Pass() noexcept;

    const Kind kind;
    std::atomic<uint32_t> word;
};

/// Tells the processor that this thread is in a waiting loop.
void Pause() noexcept;

} // namespace platform
