// What a process holds, to tell whether something was left behind.
#pragma once

#include "support/eventually.h"

#include <cstddef>

/// Threads of this process.
int ThreadsInProcess();

/// Waits for threads on their way out, which nobody joins or which the system still counts for a moment.
/// False when more than `count` stay.
inline bool ThreadsFallTo(int count)
{
    return Eventually([count] { return ThreadsInProcess() <= count; });
}

/// Rises with every file, event or thread handle that is left open.
size_t HandleMark();

/// Bytes of memory that the process keeps.
size_t MemoryInUse();
