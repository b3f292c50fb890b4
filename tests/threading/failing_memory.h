#pragma once

/// This program's operator new fails in the calling thread after `count` more allocations.
void LimitAllocations(int count);
void LiftAllocationLimit();

/// What is left of the limit, -1 without one.
int AllocationsLeft();
