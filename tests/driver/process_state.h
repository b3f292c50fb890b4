// What a process holds, to tell whether something was left behind.
#pragma once

#include <cstddef>

/// Threads of this process.
int ThreadsInProcess();

/// Rises with every file, event or thread handle that is left open.
size_t HandleMark();

/// Bytes of memory that the process keeps.
size_t MemoryInUse();
