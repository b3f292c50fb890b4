#include "platform/thread_start_hook.h"

#include <atomic>

namespace platform {
namespace {
constinit std::atomic<ThreadStartHook> startHook{nullptr};
}

void SetThreadStartHook(ThreadStartHook hook) noexcept
{
    startHook.store(hook);
}

bool ThreadMayStart() noexcept
{
    const ThreadStartHook hook = startHook.load();
    return !hook || hook();
}

} // namespace platform
