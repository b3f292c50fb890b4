#pragma once

namespace platform {

/// The processors that this system offers to threads, 1 or more.
int ProcessorCount() noexcept;

} // namespace platform
