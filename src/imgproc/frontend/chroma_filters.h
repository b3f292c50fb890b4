// Row filters of the chroma converters. Every filter has a scalar and an SSE2 form with the same bytes; any
// address will do for either. Sums are exact; shifts round down.
#pragma once

#include "common/vector_level.h"

#include <array>
#include <cstdint>

/// The rows that a filter reads; those it does not name are null.
using SourceRows = std::array<const uint8_t*, 4>;

/// rows    source rows: `count` samples each, or 2 * count where the filter halves the width
/// target  receives `count` samples, or 2 * count where the filter doubles the width; overlaps no source row
/// count   0 or more
using ChromaFilter = void (*)(const SourceRows& rows, uint8_t* target, int count);

// DropColumns: target[i] = rows[0][2i].
void DropColumnsScalar(const SourceRows& rows, uint8_t* target, int count);
void DropColumnsSse2(const SourceRows& rows, uint8_t* target, int count);
inline constexpr ChromaFilter DropColumns = kScalarOnly ? DropColumnsScalar : DropColumnsSse2;

// HalveColumns: target[i] = (s[2i - 1] + 2 * s[2i] + s[2i + 1] + 2) >> 2 with s = rows[0] and s[0] for s[-1].
void HalveColumnsScalar(const SourceRows& rows, uint8_t* target, int count);
void HalveColumnsSse2(const SourceRows& rows, uint8_t* target, int count);
inline constexpr ChromaFilter HalveColumns = kScalarOnly ? HalveColumnsScalar : HalveColumnsSse2;

// SmoothRows: target[i] = (rows[0][i] + 2 * rows[1][i] + rows[2][i] + 2) >> 2.
void SmoothRowsScalar(const SourceRows& rows, uint8_t* target, int count);
void SmoothRowsSse2(const SourceRows& rows, uint8_t* target, int count);
inline constexpr ChromaFilter SmoothRows = kScalarOnly ? SmoothRowsScalar : SmoothRowsSse2;

// HalveBoth: HalveColumns of the row that SmoothRows makes.
void HalveBothScalar(const SourceRows& rows, uint8_t* target, int count);
void HalveBothSse2(const SourceRows& rows, uint8_t* target, int count);
inline constexpr ChromaFilter HalveBoth = kScalarOnly ? HalveBothScalar : HalveBothSse2;

// FillBetween: with a, b, c, d = rows[0 .. 3][i],
// target[i] = (9 * (b + c) - (a + d) + 8) >> 4, clipped to 0 to 255.
void FillBetweenScalar(const SourceRows& rows, uint8_t* target, int count);
void FillBetweenSse2(const SourceRows& rows, uint8_t* target, int count);
inline constexpr ChromaFilter FillBetween = kScalarOnly ? FillBetweenScalar : FillBetweenSse2;

// DoubleColumns: target[2i] = rows[0][i], target[2i + 1] as FillBetween of samples i - 1 to i + 2 of rows[0],
// with indices held to 0 to count - 1.
void DoubleColumnsScalar(const SourceRows& rows, uint8_t* target, int count);
void DoubleColumnsSse2(const SourceRows& rows, uint8_t* target, int count);
inline constexpr ChromaFilter DoubleColumns = kScalarOnly ? DoubleColumnsScalar : DoubleColumnsSse2;

struct ChromaFilterForms {
    const char* name;
    ChromaFilter scalar;
    ChromaFilter sse2;
};
/// All filters, for tests.
inline constexpr ChromaFilterForms kChromaFilters[] = {
    {"DropColumns", DropColumnsScalar, DropColumnsSse2},
    {"HalveColumns", HalveColumnsScalar, HalveColumnsSse2},
    {"SmoothRows", SmoothRowsScalar, SmoothRowsSse2},
    {"HalveBoth", HalveBothScalar, HalveBothSse2},
    {"FillBetween", FillBetweenScalar, FillBetweenSse2},
    {"DoubleColumns", DoubleColumnsScalar, DoubleColumnsSse2},
};
