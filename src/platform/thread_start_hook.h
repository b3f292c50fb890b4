// For tests of what happens where threads cannot be started.
#pragma once

namespace platform {

/// Asked before every thread start, which fails where it answers false. Several threads may ask at once.
using ThreadStartHook = bool (*)() noexcept;

/// Null, as at the beginning, lets every start through.
void SetThreadStartHook(ThreadStartHook hook) noexcept;

/// What the hook says, true without one.
bool ThreadMayStart() noexcept;

} // namespace platform
