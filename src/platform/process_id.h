#pragma once

#include <cstdint>

namespace platform {

/// The number of the process that this code runs in. A forked child has another one than its parent.
uint32_t ProcessId() noexcept;

} // namespace platform
