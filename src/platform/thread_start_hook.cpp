#include "platform/thread_start_hook.h"

#include <atomic>

namespace platform {
namespace {
constinit std::atomic<ThreadStartHook> startHook{nullptr};
constinit std::atomic<ThreadEntryHook> entryHook{nullptr};
} // namespace

void SetThreadStartHook(ThreadStartHook hook) noexcept
{
    startHook.store(hook);
}

bool ThreadMayStart() noexcept
{
    const ThreadStartHook hook = startHook.load();
    return !hook || hook();
}

void SetThreadEntryHook(ThreadEntryHook hook) noexcept
{
    entryHook.store(hook);
}

void CallThreadEntryHook() noexcept
{
    if (const ThreadEntryHook hook = entryHook.load())
        hook();
}

} // namespace platform
