#include "support/memory/own_new.h"

#include <algorithm>
#include <new>

namespace {

void* Allocate(size_t size) noexcept
{
    return AllocateForNew(std::max(size, size_t{1}));
}

void* AllocateOrThrow(size_t size)
{
    if (void* const memory = Allocate(size))
        return memory;
    throw std::bad_alloc();
}

} // namespace

void* operator new(size_t size)
{
    return AllocateOrThrow(size);
}
void* operator new[](size_t size)
{
    return AllocateOrThrow(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    ReleaseForDelete(memory);
}
void operator delete[](void* memory) noexcept
{
    ReleaseForDelete(memory);
}
void operator delete(void* memory, size_t) noexcept
{
    ReleaseForDelete(memory);
}
void operator delete[](void* memory, size_t) noexcept
{
    ReleaseForDelete(memory);
}
