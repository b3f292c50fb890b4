#include "interrupt.h"

#include "tool_error.h"

#include <atomic>
#include <csignal>

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may set it");

} // namespace

void CatchInterrupt()
{
    std::signal(SIGINT, [](int) {
        interrupted = true;
        std::signal(SIGINT, SIG_DFL);
    });
}

void ThrowIfInterrupted()
{
    if (interrupted.exchange(false))
        throw ToolError("interrupted", "", "start again to have the whole result");
}
