#include "platform/thread.h"

#include "platform/thread_start_hook.h"
#include "platform/windows/windows_headers.h"

#include <cassert>
#include <memory>
#include <new>
#include <process.h>

namespace platform {
namespace {

struct StartRecord {
    ThreadEntry entry;
    void* argument;
    HANDLE exitEvent; // null for a detached thread
    HMODULE module;   // a reference taken for this thread
};

/// Ends in FreeLibraryAndExitThread: the code that runs here lies in the library that the reference keeps, so
/// the thread's last steps must be done by the system, outside it.
unsigned __stdcall RunThread(void* record)
{
    const StartRecord start = *std::unique_ptr<StartRecord>(static_cast<StartRecord*>(record));
    CallThreadEntryHook();
    start.entry(start.argument);
    if (start.exitEvent)
        SetEvent(start.exitEvent); // the owner may go on and close the event
    FreeLibraryAndExitThread(start.module, 0);
}

/// The handle of the new thread, or null.
HANDLE StartThread(ThreadEntry entry, void* argument, HANDLE exitEvent) noexcept
{
    if (!ThreadMayStart())
        return nullptr;
    // The reference is taken before the thread exists, so that there is no moment without one.
    HMODULE module = nullptr;
    if (!GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCSTR>(&RunThread),
                            &module))
        return nullptr;
    std::unique_ptr<StartRecord> record(new (std::nothrow) StartRecord{entry, argument, exitEvent, module});
    const uintptr_t thread = record ? _beginthreadex(nullptr, 0, RunThread, record.get(), 0, nullptr) : 0;
    if (thread == 0) {
        FreeLibrary(module);
        return nullptr;
    }
    static_cast<void>(record.release()); // the thread's from here on
    return reinterpret_cast<HANDLE>(thread);
}

} // namespace

bool Thread::Start(ThreadEntry entry, void* argument) noexcept
{
    assert(!thread);
    const HANDLE ended = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    if (!ended)
        return false;
    thread = StartThread(entry, argument, ended);
    if (!thread) {
        CloseHandle(ended);
        return false;
    }
    exitEvent = ended;
    return true;
}

void Thread::Join() noexcept
{
    if (!thread)
        return;
    const HANDLE either[] = {thread, exitEvent};
    WaitForMultipleObjects(2, either, FALSE, INFINITE);
    CloseHandle(thread);
    CloseHandle(exitEvent);
    thread = nullptr;
    exitEvent = nullptr;
}

bool StartDetachedThread(ThreadEntry entry, void* argument) noexcept
{
    const HANDLE started = StartThread(entry, argument, nullptr);
    if (!started)
        return false;
    CloseHandle(started);
    return true;
}

void WaitForDetachedThreads() noexcept {}

} // namespace platform
