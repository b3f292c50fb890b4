#include "platform/event.h"

#include "common/compiler.h"
#include "platform/address_wait.h"
#include "platform/spin.h"

namespace platform {

void Event::Set() noexcept
{
    // From the exchange on, a waiting thread may have passed and freed the event.
    std::atomic<uint32_t>* const address = &word;
    if (word.exchange(kSet, std::memory_order_release) == kClearWithSleepers)
        WakeSleepers(address);
}

void Event::Reset() noexcept
{
    uint32_t expected = kSet;
    word.compare_exchange_strong(expected, kClear, std::memory_order_relaxed);
}

bool Event::Pass() noexcept
{
    if (kind == Kind::Manual)
        return word.load(std::memory_order_acquire) == kSet;
    uint32_t expected = kSet;
    return word.load(std::memory_order_relaxed) == kSet &&
           word.compare_exchange_strong(expected, kClear, std::memory_order_acquire,
                                        std::memory_order_relaxed);
}

void Event::Wait(std::chrono::microseconds spin) noexcept
{
    if (SpinUntil(spin, [this] { return Pass(); }))
        return;
    // A sleeper leaves its mark before it sleeps, so that Set knows of it. Threads that pass leave the mark
    // to those that still wait: Set wakes all sleepers, and each that finds the event clear again marks it
    // anew.
    while (!Pass()) {
        uint32_t seen = kClear;
        if (word.compare_exchange_strong(seen, kClearWithSleepers, std::memory_order_relaxed) ||
            seen == kClearWithSleepers)
            SleepWhileEqual(word, kClearWithSleepers);
    }
}

void Pause() noexcept
{
    PauseProcessor();
}

} // namespace platform
