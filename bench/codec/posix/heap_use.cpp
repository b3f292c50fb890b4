#include "codec/heap_use.h"

#include <malloc.h>

std::optional<size_t> HeapUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}
