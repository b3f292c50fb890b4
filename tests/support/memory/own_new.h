// Operator new and delete of a test program, in own_new.cpp: they go through two functions, which the program
// that is built with it defines. Only for memory of ordinary alignment.
#pragma once

#include <cstddef>

/// Null fails the allocation. The size is at least 1.
void* AllocateForNew(size_t size) noexcept;

/// memory  of AllocateForNew, or null
void ReleaseForDelete(void* memory) noexcept;
