#include "support/memory/allocation_budget.h"

#include "support/memory/own_new.h"

#include <cstdlib>

namespace {

/// Allocations of this thread that still succeed; below 0: all do.
thread_local long allocationsLeft = -1;

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

void* AllocateForNew(size_t size) noexcept
{
    if (allocationsLeft == 0)
        return nullptr;
    if (allocationsLeft > 0)
        --allocationsLeft;
    return std::malloc(size);
}

void ReleaseForDelete(void* memory) noexcept
{
    std::free(memory);
}
