#include "platform/end_request.h"

#include "platform/posix/end_request_pipe.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace platform {
namespace {

std::atomic<int> requested{0}; // the first signal that came
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler sets it");
int pipeEnds[2] = {-1, -1};

void Handle(int signal)
{
    const int error = errno;
    int none = 0;
    if (requested.compare_exchange_strong(none, signal)) [[maybe_unused]]
        const ssize_t written = write(pipeEnds[1], "", 1);
    // A terminal that closes hangs up twice: of further signals only Ctrl-C ends the process at once.
    std::signal(SIGINT, SIG_DFL);
    errno = error;
}

void CatchUnlessIgnored(int signal)
{
    struct sigaction action = {};
    sigaction(signal, nullptr, &action);
    if (action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = Handle; // without SA_RESTART: a call that waits returns
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

} // namespace

void CatchEndRequests()
{
    // Without the pipe requests still set the mark, but do not wake a call that waits.
    if (pipe2(pipeEnds, O_CLOEXEC | O_NONBLOCK) != 0)
        pipeEnds[0] = pipeEnds[1] = -1;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        CatchUnlessIgnored(signal);
    for (const int signal : {SIGPIPE, SIGXFSZ})
        std::signal(signal, SIG_IGN);
}

bool IsEndRequested()
{
    return requested != 0;
}

void EndAsRequested()
{
    const int signal = requested;
    std::signal(signal, SIG_DFL);
    std::raise(signal);
    std::_Exit(128 + signal); // the signal is blocked
}

int EndRequestPipe()
{
    return pipeEnds[0];
}

} // namespace platform
