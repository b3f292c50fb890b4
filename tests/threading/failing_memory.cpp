#include "failing_memory.h"

#include <cstdlib>
#include <new>

namespace {
thread_local int allocationsLeft = -1;

void* Allocate(size_t size) noexcept
{
    if (allocationsLeft == 0)
        return nullptr;
    if (allocationsLeft > 0)
        --allocationsLeft;
    return std::malloc(size > 0 ? size : 1);
}
} // namespace

void LimitAllocations(int count)
{
    allocationsLeft = count;
}

void LiftAllocationLimit()
{
    allocationsLeft = -1;
}

int AllocationsLeft()
{
    return allocationsLeft;
}

void* operator new(size_t size)
{
    void* const memory = Allocate(size);
    return memory ? memory : throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept
{
    return Allocate(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept
{
    std::free(memory);
}
