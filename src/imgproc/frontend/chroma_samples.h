// The chroma filters sample by sample from `begin` to ahead of `end`: the scalar forms, and the ends of rows
// in the SSE2 forms.
#pragma once

#include "imgproc/frontend/chroma_filters.h"

#include <algorithm>
#include <cstdint>

namespace imgproc {

inline uint8_t SmoothSample(int before, int middle, int after)
{
    return static_cast<uint8_t>((before + 2 * middle + after + 2) >> 2);
}

inline uint8_t SampleBetween(int a, int b, int c, int d)
{
    return static_cast<uint8_t>(std::clamp((9 * (b + c) - (a + d) + 8) >> 4, 0, 255));
}

/// A source row as it stands.
struct PlainRow {
    const uint8_t* samples;

    uint8_t At(int x) const { return samples[x]; }
};

/// The row that SmoothRows makes of three, never stored.
struct SmoothedRow {
    const SourceRows& rows;

    uint8_t At(int x) const { return SmoothSample(rows[0][x], rows[1][x], rows[2][x]); }
};

inline void DropSamples(const SourceRows& rows, uint8_t* target, int begin, int end)
{
    for (int i = begin; i < end; ++i)
        target[i] = rows[0][2 * i];
}

template <class Row>
void HalveSamples(const Row& row, uint8_t* target, int begin, int end)
{
    for (int i = begin; i < end; ++i)
        target[i] = SmoothSample(row.At(std::max(2 * i - 1, 0)), row.At(2 * i), row.At(2 * i + 1));
}

inline void SmoothSamples(const SourceRows& rows, uint8_t* target, int begin, int end)
{
    for (int i = begin; i < end; ++i)
        target[i] = SmoothSample(rows[0][i], rows[1][i], rows[2][i]);
}

inline void FillSamplesBetween(const SourceRows& rows, uint8_t* target, int begin, int end)
{
    for (int i = begin; i < end; ++i)
        target[i] = SampleBetween(rows[0][i], rows[1][i], rows[2][i], rows[3][i]);
}

/// `count` samples make up the whole source row.
inline void DoubleSamples(const uint8_t* source, uint8_t* target, int begin, int end, int count)
{
    for (int i = begin; i < end; ++i) {
        const auto at = [&](int k) { return source[std::clamp(k, 0, count - 1)]; };
        target[2 * i] = at(i);
        target[2 * i + 1] = SampleBetween(at(i - 1), at(i), at(i + 1), at(i + 2));
    }
}

} // namespace imgproc
