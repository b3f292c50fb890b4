#pragma once

namespace platform {

using ThreadEntry = void (*)(void* argument);

/// A thread that its owner waits for. It takes none of the host's signals. While it runs, its code stays
/// loaded: on Windows each thread holds a reference to its module, released by the system once the thread has
/// left it.
class Thread
{
  public:
    Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    ~Thread() { Join(); }

    /// Starts `entry(argument)`; the object must not have a thread already.
    /// False when the system has no thread to give; the object is then as before.
    bool Start(ThreadEntry entry, void* argument) noexcept;

    /// Returns when `entry` has returned, at once when there is no thread. Safe while the library is being
    /// unloaded and at process exit: it waits for the end of `entry` or of the thread, whichever comes first,
    /// since under the loader's lock a thread cannot finish, and at process exit it may have been ended
    /// inside `entry`.
    void Join() noexcept;

  private:
    void* thread = nullptr;    // the system's handle
    void* exitEvent = nullptr; // Windows: set when `entry` has returned
};

/// Starts `entry(argument)` as a thread that its starter does not wait for. Its code stays loaded until it
/// has ended. False when the system has no thread to give.
bool StartDetachedThread(ThreadEntry entry, void* argument) noexcept;

/// Returns when the detached threads that are on their way out have ended. Does nothing on Windows, where
/// each holds its module, and where a wait could be for the loader's lock.
void WaitForDetachedThreads() noexcept;

} // namespace platform
