#include "platform/end_request.h"

#include "platform/windows/windows_headers.h"

#include <atomic>

namespace platform {
namespace {

std::atomic<bool> requested{false};
std::atomic<bool> seen{false}; // the main thread knows of it
HANDLE mainThread = nullptr;

/// Runs in a thread of the system's. A console that closes ends the process when this returns or after some
/// seconds.
BOOL WINAPI Handle(DWORD event)
{
    constexpr DWORD kNap = 10; // milliseconds
    if (requested.exchange(true) && event == CTRL_C_EVENT)
        return FALSE; // the default: the process ends
    // Until the main thread has seen the mark, it may be about to wait in a call.
    while (!seen) {
        CancelSynchronousIo(mainThread);
        Sleep(kNap);
    }
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        Sleep(INFINITE); // the main thread ends the process
    return TRUE;
}

} // namespace

void CatchEndRequests()
{
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &mainThread, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    SetConsoleCtrlHandler(Handle, TRUE);
}

bool IsEndRequested()
{
    if (!requested)
        return false;
    seen = true;
    return true;
}

void EndAsRequested()
{
    constexpr UINT kControlC = 0xC000013A; // what a process that Ctrl-C ended gives
    ExitProcess(kControlC);
}

} // namespace platform
