// One plane of a picture as a pointer and a pitch, and the array of four that every picture and every plane
// set is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

struct PlaneInfo {
    uint8_t* data = nullptr; ///< first sample of row 0; null when the plane does not exist
    int32_t pitch = 0;       ///< bytes from one row to the next, negative when rows run upward in memory
};

inline constexpr int kMaxPlanes = 4;

/// A picture or a plane set. Entries that do not exist have a null `data`.
using PlaneArray = std::array<PlaneInfo, kMaxPlanes>;

/// The address of a row. A picture is admitted only if all its rows lie within signed 32-bit offsets.
inline uint8_t* RowAt(const PlaneInfo& plane, int row)
{
    return plane.data + static_cast<ptrdiff_t>(plane.pitch) * row;
}

/// The same plane seen from `row` on.
inline PlaneInfo FromRow(const PlaneInfo& plane, int row)
{
    return {RowAt(plane, row), plane.pitch};
}

/// One field of an interlaced plane: every second row, from row 0 (`field` 0) or row 1 (`field` 1) on.
inline PlaneInfo FieldOf(const PlaneInfo& plane, int field)
{
    return {RowAt(plane, field), plane.pitch * 2};
}
