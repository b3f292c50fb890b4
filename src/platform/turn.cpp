#include "platform/turn.h"

#include "platform/address_wait.h"
#include "platform/spin.h"

#include <cassert>

namespace platform {

void Turn::Set(uint32_t number) noexcept
{
    assert(number < kLimit);
    if (word.exchange(number, std::memory_order_release) & kLimit)
        WakeSleepers(&word);
}

void Turn::Wait(uint32_t number, std::chrono::microseconds spin) noexcept
{
    const auto come = [&] { return (word.load(std::memory_order_acquire) & ~kLimit) == number; };
    if (SpinUntil(spin, come))
        return;
    // A sleeper leaves its mark before it sleeps, so that Set knows of it. Set takes the mark away and wakes
    // all sleepers; those that wait for another number mark it again.
    while (!come()) {
        uint32_t seen = word.load(std::memory_order_relaxed);
        if ((seen & ~kLimit) != number &&
            (seen & kLimit || word.compare_exchange_strong(seen, seen | kLimit, std::memory_order_relaxed)))
            SleepWhileEqual(word, seen | kLimit);
    }
}

} // namespace platform
