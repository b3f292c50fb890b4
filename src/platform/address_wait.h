// Sleeping on a word of memory, which is all that an event needs of the system.
#pragma once

#include <atomic>
#include <cstdint>

namespace platform {

/// Sleeps while `word` holds `value`. May return early: the caller looks at the word again.
void SleepWhileEqual(std::atomic<uint32_t>& word, uint32_t value) noexcept;

/// Wakes all threads that sleep on `word`. Uses the address only: the word may be gone by now.
void WakeSleepers(std::atomic<uint32_t>* word) noexcept;

} // namespace platform
