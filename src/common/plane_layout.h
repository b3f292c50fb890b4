// Where the planes of a picture are stored in one piece of memory.
#pragma once

#include "common/align_up.h"
#include "common/as_size.h"
#include "common/plane_info.h"

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

/// The rows of one plane in memory. A plane that does not exist has no rows.
struct PlaneShape {
    int32_t pitch = 0;  ///< bytes from one row to the next, not negative
    int32_t rows = 0;   ///< not negative
    uint32_t phase = 0; ///< address of row 0 modulo kRowBoundary

    constexpr size_t Bytes() const { return AsSize(pitch) * AsSize(rows); }
};

using PlaneShapes = std::array<PlaneShape, kMaxPlanes>;

/// Phases of rows count from multiples of this: a cache line, and more than any vector.
inline constexpr uint32_t kRowBoundary = 64;
/// A plane starts at the next multiple of kPlaneBoundary, plus kPlaneStagger for each plane before it, so
/// that four streams do not use the same cache sets, plus its phase.
inline constexpr size_t kPlaneBoundary = 1024;
inline constexpr size_t kPlaneStagger = 256;
/// Room after the last plane: a vector may be loaded from its last sample on.
inline constexpr size_t kLayoutMargin = 64;
static_assert(kPlaneBoundary % kRowBoundary == 0 && kPlaneStagger % kRowBoundary == 0,
              "phases survive the placement");

/// Offsets of planes in memory whose address is a multiple of kPlaneBoundary.
struct PlaneLayout {
    std::array<size_t, kMaxPlanes> offset{};
    size_t size = 0; ///< of the memory; 0 without planes
};

constexpr PlaneLayout LayOutPlanes(const PlaneShapes& shapes)
{
    PlaneLayout layout;
    size_t end = 0;
    for (size_t i = 0; i < shapes.size(); ++i) {
        assert(shapes[i].phase < kRowBoundary);
        if (shapes[i].Bytes() == 0)
            continue;
        layout.offset[i] = alignUp(end, kPlaneBoundary) + i * kPlaneStagger + shapes[i].phase;
        end = layout.offset[i] + shapes[i].Bytes();
        layout.size = end + kLayoutMargin;
    }
    return layout;
}

/// Memory for planes of these shapes or smaller ones, whatever their phases: offsets rise with pitches, rows
/// and phases.
constexpr size_t LayoutBound(PlaneShapes shapes)
{
    for (PlaneShape& shape : shapes)
        shape.phase = kRowBoundary - 1;
    return LayOutPlanes(shapes).size;
}

/// The phase of `row` of a plane.
constexpr uint32_t PhaseOfRow(const PlaneShape& shape, int row)
{
    assert(row >= 0);
    return (shape.phase + static_cast<uint32_t>(shape.pitch) * static_cast<uint32_t>(row)) % kRowBoundary;
}
