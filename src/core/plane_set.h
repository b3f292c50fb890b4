// The planes of a picture with what the core knows of each, and the arena that owns planes of our own.
#pragma once

#include "common/align_up.h"
#include "common/plane_info.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>

struct PlaneRecord : PlaneInfo {
    uint32_t size = 0;     ///< bytes
    bool external = false; ///< `data` lies in the host's picture, which may not be written when compressing
};

using PlaneRecords = std::array<PlaneRecord, kMaxPlanes>;

inline PlaneArray ViewOf(const PlaneRecords& records)
{
    return {records[0], records[1], records[2], records[3]};
}

/// Rows of a plane from `firstRow` on, wherever they stand.
struct PlaneWindow {
    PlaneInfo rows;
    int firstRow = 0; ///< plane row

    PlaneInfo From(int planeRow) const { return FromRow(rows, planeRow - firstRow); }
};

using PlaneWindows = std::array<PlaneWindow, kMaxPlanes>;

/// Plane memory, 16-byte aligned, zeroed when it is made. It only grows; growing drops what it held.
class Arena
{
  public:
    /// Makes room for `size` bytes. Throws std::bad_alloc and keeps the old memory if there is none.
    void Reserve(uint64_t size)
    {
        if (size <= capacity)
            return;
        if (size > SIZE_MAX - 15)
            throw std::bad_alloc();
        // calloc: pages that no frame touches are never made.
        std::unique_ptr<uint8_t, void (*)(void*)> grown(
            static_cast<uint8_t*>(std::calloc(static_cast<size_t>(size) + 15, 1)), std::free);
        if (!grown)
            throw std::bad_alloc();
        raw = std::move(grown);
        aligned = alignUp(raw.get(), 16);
        capacity = size;
    }

    void Free()
    {
        raw.reset();
        aligned = nullptr;
        capacity = 0;
    }

    uint8_t* Aligned() const { return aligned; }

  private:
    std::unique_ptr<uint8_t, void (*)(void*)> raw{nullptr, std::free};
    uint8_t* aligned = nullptr;
    uint64_t capacity = 0;
};

struct PlaneSet {
    Arena arena;
    PlaneRecords plane;
};
