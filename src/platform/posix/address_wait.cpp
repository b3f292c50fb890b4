#include "platform/address_wait.h"

#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace platform {

static_assert(sizeof(std::atomic<uint32_t>) == sizeof(uint32_t) &&
              std::atomic<uint32_t>::is_always_lock_free);

void SleepWhileEqual(std::atomic<uint32_t>& word, uint32_t value) noexcept
{
    syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, value, nullptr, nullptr, 0);
}

void WakeSleepers(std::atomic<uint32_t>* word) noexcept
{
    syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0);
}

} // namespace platform
