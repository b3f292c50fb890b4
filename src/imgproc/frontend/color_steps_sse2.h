// The arithmetic of color_steps.h for 16 pixels at once.
#pragma once

#include "common/compiler.h"
#include "common/unrolled.h"
#include "imgproc/frontend/color_steps.h"

#include <emmintrin.h>

namespace imgproc {

/// 16 pixels: four channels or four planes, one vector each.
struct PixelVectors {
    __m128i at[4];
};

template <int planes>
PixelVectors ForwardVectors(const GreenStep&, const PixelVectors& rgba)
{
    const auto& [r, g, b, a] = rgba.at;
    return {{_mm_sub_epi8(b, g), g, _mm_sub_epi8(r, g), a}};
}

template <int planes>
PixelVectors InverseVectors(const GreenStep&, const PixelVectors& samples)
{
    const auto& [b, g, r, a] = samples.at;
    return {{_mm_add_epi8(r, g), g, _mm_add_epi8(b, g), a}};
}

template <int planes>
PixelVectors ForwardVectors(const CopyStep&, const PixelVectors& pixels)
{
    return pixels;
}

template <int planes>
PixelVectors InverseVectors(const CopyStep&, const PixelVectors& samples)
{
    return samples;
}

namespace matrix_sse2 {

/// 16 pixels: four vectors of four pairs of 16-bit factors, or of four 32-bit sums.
struct Pairs {
    __m128i quad[4];
};

ORVANE_ALWAYS_INLINE __m128i PairOf(int first, int second)
{
    return _mm_set1_epi32(static_cast<int>(static_cast<uint32_t>(second) << 16 | (first & 0xFFFF)));
}

ORVANE_ALWAYS_INLINE Pairs WidenPairs(__m128i a, __m128i b)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(a, b);
    const __m128i high = _mm_unpackhi_epi8(a, b);
    return {{_mm_unpacklo_epi8(low, zero), _mm_unpackhi_epi8(low, zero), _mm_unpacklo_epi8(high, zero),
             _mm_unpackhi_epi8(high, zero)}};
}

/// Pairs of a sample and a 16-bit constant.
ORVANE_ALWAYS_INLINE Pairs WidenWith(__m128i a, __m128i constant)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(a, zero);
    const __m128i high = _mm_unpackhi_epi8(a, zero);
    return {{_mm_unpacklo_epi16(low, constant), _mm_unpackhi_epi16(low, constant),
             _mm_unpacklo_epi16(high, constant), _mm_unpackhi_epi16(high, constant)}};
}

ORVANE_ALWAYS_INLINE Pairs Multiply(const Pairs& pairs, __m128i factors)
{
    Pairs sums;
    Unrolled<4>([&](auto i) { sums.quad[i] = _mm_madd_epi16(pairs.quad[i], factors); });
    return sums;
}

ORVANE_ALWAYS_INLINE Pairs AddPairs(const Pairs& a, const Pairs& b)
{
    Pairs sums;
    Unrolled<4>([&](auto i) { sums.quad[i] = _mm_add_epi32(a.quad[i], b.quad[i]); });
    return sums;
}

ORVANE_ALWAYS_INLINE Pairs AddConstant(const Pairs& a, int constant)
{
    const __m128i all = _mm_set1_epi32(constant);
    return AddPairs(a, {{all, all, all, all}});
}

/// Shifts the sums down and clips them to bytes: all lie far within 16 bits then.
ORVANE_ALWAYS_INLINE __m128i Narrow(const Pairs& sums)
{
    const auto shifted = [&](int i) { return _mm_srai_epi32(sums.quad[i], MatrixStep::kShift); };
    return _mm_packus_epi16(_mm_packs_epi32(shifted(0), shifted(1)), _mm_packs_epi32(shifted(2), shifted(3)));
}

} // namespace matrix_sse2

template <int planes>
ORVANE_ALWAYS_INLINE PixelVectors ForwardVectors(const MatrixStep& step, const PixelVectors& rgba)
{
    using namespace matrix_sse2;
    const ColorMatrix& matrix = step.Matrix();
    const Pairs redGreen = WidenPairs(rgba.at[0], rgba.at[1]);
    const Pairs blueHalf = WidenWith(rgba.at[2], _mm_set1_epi16(MatrixStep::kHalf));
    // The second product of the blue pair is 4096 * (1 + 2 * offset): rounding and, shifted down, the
    // offset.
    const auto sum = [&](const ColorMatrix::Row& row, int offset) ORVANE_ALWAYS_INLINE_LAMBDA {
        return Narrow(AddPairs(Multiply(redGreen, PairOf(row.r, row.g)),
                               Multiply(blueHalf, PairOf(row.b, 1 + 2 * offset))));
    };
    PixelVectors samples{
        {sum(matrix.y, matrix.offsetY), _mm_setzero_si128(), _mm_setzero_si128(), rgba.at[3]}};
    if constexpr (planes > 1) {
        samples.at[1] = sum(matrix.u, 128);
        samples.at[2] = sum(matrix.v, 128);
    }
    return samples;
}

// 128 times the chroma factors and offsetY times scaleY are taken off in one constant for each channel.
// Sums stay far below 2^31.
template <int planes>
ORVANE_ALWAYS_INLINE PixelVectors InverseVectors(const MatrixStep& step, const PixelVectors& samples)
{
    using namespace matrix_sse2;
    const ColorMatrix& matrix = step.Matrix();
    const int constant = MatrixStep::kHalf - matrix.offsetY * matrix.scaleY;
    if constexpr (planes == 1) { // chroma is neutral: the three channels are one
        const Pairs luma = Multiply(WidenWith(samples.at[0], _mm_setzero_si128()), PairOf(matrix.scaleY, 0));
        const __m128i grey = Narrow(AddConstant(luma, constant));
        return {{grey, grey, grey, samples.at[3]}};
    } else {
        const Pairs lumaU = WidenPairs(samples.at[0], samples.at[1]);
        const Pairs lumaV = WidenPairs(samples.at[0], samples.at[2]);
        const Pairs red = Multiply(lumaV, PairOf(matrix.scaleY, matrix.rv));
        const Pairs green = AddPairs(Multiply(lumaU, PairOf(matrix.scaleY, matrix.gu)),
                                     Multiply(lumaV, PairOf(0, matrix.gv)));
        const Pairs blue = Multiply(lumaU, PairOf(matrix.scaleY, matrix.bu));
        return {{Narrow(AddConstant(red, constant - 128 * matrix.rv)),
                 Narrow(AddConstant(green, constant - 128 * (matrix.gu + matrix.gv))),
                 Narrow(AddConstant(blue, constant - 128 * matrix.bu)), samples.at[3]}};
    }
}

} // namespace imgproc
