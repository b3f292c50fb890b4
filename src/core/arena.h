#pragma once

#include "common/align_up.h"
#include "common/plane_layout.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace core {

/// Plane memory that is kept from frame to frame. Its address is a multiple of kPlaneBoundary. It only grows;
/// new memory is zeroed, and what it held before is dropped.
class Arena
{
  public:
    /// Makes room for `size` bytes. Throws std::bad_alloc and keeps the old memory if there is none.
    void Reserve(size_t size)
    {
        if (size <= capacity)
            return;
        if (size > SIZE_MAX - kPlaneBoundary)
            throw std::bad_alloc();
        // calloc: pages that no frame touches are never made.
        Memory grown(static_cast<uint8_t*>(std::calloc(size + kPlaneBoundary, 1)), std::free);
        if (!grown)
            throw std::bad_alloc();
        memory = std::move(grown);
        base = alignUp(memory.get(), kPlaneBoundary);
        capacity = size;
    }

    /// Reserve, and the first `size` bytes are zero.
    void ReserveZeroed(size_t size)
    {
        if (size > capacity)
            Reserve(size);
        else
            Clear(size);
    }

    /// Zeroes the first `size` bytes of the memory there is.
    void Clear(size_t size)
    {
        if (capacity > 0)
            std::memset(base, 0, size < capacity ? size : capacity);
    }

    /// Null while nothing is reserved.
    uint8_t* Base() const { return base; }
    size_t Capacity() const { return capacity; }

  private:
    using Memory = std::unique_ptr<uint8_t, void (*)(void*)>;

    Memory memory{nullptr, std::free};
    uint8_t* base = nullptr;
    size_t capacity = 0;
};

} // namespace core
