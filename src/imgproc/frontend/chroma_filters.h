// Row filters of the chroma converters. All implementations of a filter give the same bytes and take any
// address. Sums are exact; shifts round down.
#pragma once

#include "common/vector_level.h"

#include <array>
#include <cstdint>

namespace imgproc {

/// The rows that a filter reads; those it does not name are null.
using SourceRows = std::array<const uint8_t*, 4>;

/// rows    source rows: `count` samples each, or 2 * count where the filter halves the width
/// target  receives `count` samples, or 2 * count where the filter doubles the width; overlaps no source row
/// count   0 or more
using FilterKernel = void(const SourceRows& rows, uint8_t* target, int count);
using ChromaFilter = FilterKernel*;

// DropColumns: target[i] = rows[0][2i].
FilterKernel DropColumnsScalar, DropColumnsSse2;

// HalveColumns: target[i] = (s[2i - 1] + 2 * s[2i] + s[2i + 1] + 2) >> 2 with s = rows[0] and s[0] for s[-1].
FilterKernel HalveColumnsScalar, HalveColumnsSse2;

// SmoothRows: target[i] = (rows[0][i] + 2 * rows[1][i] + rows[2][i] + 2) >> 2.
FilterKernel SmoothRowsScalar, SmoothRowsSse2;

// HalveBoth: HalveColumns of the row that SmoothRows makes.
FilterKernel HalveBothScalar, HalveBothSse2;

// FillBetween: with a, b, c, d = rows[0 .. 3][i],
// target[i] = (9 * (b + c) - (a + d) + 8) >> 4, clipped to 0 to 255.
FilterKernel FillBetweenScalar, FillBetweenSse2;

// DoubleColumns: target[2i] = rows[0][i], target[2i + 1] as FillBetween of samples i - 1 to i + 2 of rows[0],
// with indices held to 0 to count - 1.
FilterKernel DoubleColumnsScalar, DoubleColumnsSse2;

/// All filters of one implementation.
struct ChromaFilters {
    const char* name;
    ChromaFilter dropColumns, halveColumns, smoothRows, halveBoth, fillBetween, doubleColumns;
};
inline constexpr ChromaFilters kChromaFilterImplementations[] = {
    {"scalar", DropColumnsScalar, HalveColumnsScalar, SmoothRowsScalar, HalveBothScalar, FillBetweenScalar,
     DoubleColumnsScalar},
#ifdef ORVANE_SSE2
    {"sse2", DropColumnsSse2, HalveColumnsSse2, SmoothRowsSse2, HalveBothSse2, FillBetweenSse2,
     DoubleColumnsSse2},
#endif
};
inline constexpr const ChromaFilters& kChromaFilters = Fastest(kChromaFilterImplementations);

/// The name of each, to walk all filters of all implementations.
struct NamedChromaFilter {
    const char* name;
    ChromaFilter ChromaFilters::*filter;
};
inline constexpr NamedChromaFilter kNamedChromaFilters[] = {
    {"DropColumns", &ChromaFilters::dropColumns}, {"HalveColumns", &ChromaFilters::halveColumns},
    {"SmoothRows", &ChromaFilters::smoothRows},   {"HalveBoth", &ChromaFilters::halveBoth},
    {"FillBetween", &ChromaFilters::fillBetween}, {"DoubleColumns", &ChromaFilters::doubleColumns},
};

} // namespace imgproc
