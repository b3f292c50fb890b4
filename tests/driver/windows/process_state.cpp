#include "driver/process_state.h"

#include "platform/vfw.h"

#include <psapi.h>
#include <tlhelp32.h>

int ThreadsInProcess()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 thread{};
    thread.dwSize = sizeof thread;
    int count = 0;
    for (BOOL more = Thread32First(snapshot, &thread); more; more = Thread32Next(snapshot, &thread))
        count += thread.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

size_t HandleMark()
{
    // Wine counts no handles, but a new one takes the lowest free number.
    const HANDLE handle = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(handle);
    return reinterpret_cast<size_t>(handle) / 4;
}

size_t MemoryInUse()
{
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PagefileUsage;
}
