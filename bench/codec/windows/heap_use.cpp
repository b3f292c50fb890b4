#include "codec/heap_use.h"

std::optional<size_t> HeapUse()
{
    return std::nullopt;
}
