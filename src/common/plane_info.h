// One plane of a picture as a pointer and a pitch, and the array of four that every picture and every plane
// set is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// Rows of samples in memory. `Sample` is const where a plane is only read.
template <class Sample>
struct BasicPlane {
    Sample* data = nullptr; ///< first sample of row 0; null when the plane does not exist
    int32_t pitch = 0;      ///< bytes from one row to the next, negative when rows run upward in memory

    /// A plane that can be written can be read.
    operator BasicPlane<const Sample>() const requires(!std::is_const_v<Sample>) { return {data, pitch}; }
};

using PlaneInfo = BasicPlane<uint8_t>;
/// A plane that is only read.
using ConstPlaneInfo = BasicPlane<const uint8_t>;

inline constexpr size_t kMaxPlanes = 4;

/// A picture or a plane set. Entries that do not exist have a null `data`.
template <class Sample>
using BasicPlaneArray = std::array<BasicPlane<Sample>, kMaxPlanes>;

using PlaneArray = BasicPlaneArray<uint8_t>;
/// A picture or a plane set that is only read.
using ConstPlaneArray = BasicPlaneArray<const uint8_t>;

/// The same planes, to be read.
inline ConstPlaneArray ReadOnly(const PlaneArray& planes)
{
    return {planes[0], planes[1], planes[2], planes[3]};
}

/// The address of a row. A picture is admitted only if all its rows lie within signed 32-bit offsets.
template <class Sample>
Sample* RowAt(const BasicPlane<Sample>& plane, ptrdiff_t row)
{
    return plane.data + plane.pitch * row;
}

/// The same plane seen from `row` on.
template <class Sample>
BasicPlane<Sample> FromRow(const BasicPlane<Sample>& plane, ptrdiff_t row)
{
    return {RowAt(plane, row), plane.pitch};
}

/// One field of an interlaced plane: every second row, starting with row 0 (`field` 0) or row 1 (`field` 1).
template <class Sample>
BasicPlane<Sample> FieldOf(const BasicPlane<Sample>& plane, int field)
{
    return {RowAt(plane, field), plane.pitch * 2};
}
