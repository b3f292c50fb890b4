#include "platform/address_wait.h"

#include "platform/windows/windows_headers.h"

namespace platform {

static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t) &&
              std::atomic<uint32_t>::is_always_lock_free);

void SleepWhileEqual(std::atomic<uint32_t>& word, uint32_t value) noexcept
{
    WaitOnAddress(&word, &value, sizeof value, INFINITE);
}

void WakeSleepers(std::atomic<uint32_t>* word) noexcept
{
    WakeByAddressAll(word);
}

} // namespace platform
