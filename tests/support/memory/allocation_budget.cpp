#include "support/memory/allocation_budget.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

/// Allocations of this thread that still succeed; below 0: all do.
thread_local long allocationsLeft = -1;

void* Allocate(size_t size)
{
    if (allocationsLeft == 0)
        return nullptr;
    if (allocationsLeft > 0)
        --allocationsLeft;
    return std::malloc(size == 0 ? 1 : size);
}

void* AllocateOrThrow(size_t size)
{
    if (void* const memory = Allocate(size))
        return memory;
    throw std::bad_alloc();
}

} // namespace

AllocationBudget::AllocationBudget(long count)
{
    allocationsLeft = count;
}

AllocationBudget::~AllocationBudget()
{
    allocationsLeft = -1;
}

bool AllocationBudget::IsUsedUp() const
{
    return allocationsLeft == 0;
}

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
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, size_t) noexcept
{
    std::free(memory);
}
