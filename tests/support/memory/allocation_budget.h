// Allocation that can be made to fail: a program that is built with allocation_budget.cpp has operator new of
// its own.
#pragma once

/// While it lives, the calling thread's next `count` allocations succeed and all after them fail. One at a
/// time.
class AllocationBudget
{
  public:
    explicit AllocationBudget(long count);
    ~AllocationBudget();
    AllocationBudget(const AllocationBudget&) = delete;
    AllocationBudget& operator=(const AllocationBudget&) = delete;

    /// Whether nothing is left: an allocation has failed, or the next one would.
    bool IsUsedUp() const;
};
