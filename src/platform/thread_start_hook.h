// For tests of what happens where threads cannot be started, or start late.
#pragma once

namespace platform {

/// Asked before every thread start, which fails where it answers false. Several threads may ask at once.
using ThreadStartHook = bool (*)() noexcept;

/// Null, as at the beginning, lets every start through.
void SetThreadStartHook(ThreadStartHook hook) noexcept;

/// What the hook says, true without one.
bool ThreadMayStart() noexcept;

/// Called on every new thread before its entry; null, as at the beginning, for none.
using ThreadEntryHook = void (*)() noexcept;
void SetThreadEntryHook(ThreadEntryHook hook) noexcept;
void CallThreadEntryHook() noexcept;

} // namespace platform
