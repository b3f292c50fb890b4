// 16 pixels of 3 or 4 bytes between memory and one vector for each byte position. SSE2 has no byte shuffle:
// bytes and words change places by masks and shifts, which run on more ports than shuffles do, and 32-bit
// words by shuffles of two sources.
#pragma once

#include "imgproc/frontend/color_steps_sse2.h"
#include "imgproc/frontend/sse2_bytes.h"

#include <cassert>
#include <cstdint>
#include <emmintrin.h>

namespace imgproc {

/// Reads 16 pixels from a 16-byte boundary; vector k of the result has byte k of each pixel.
template <int pixelBytes>
PixelVectors LoadPixels(const uint8_t* pixels);
/// The reverse.
template <int pixelBytes>
void StorePixels(uint8_t* pixels, const PixelVectors& bytes);

/// 32-bit words i0, i1 of a, then i2, i3 of b.
template <int i0, int i1, int i2, int i3>
__m128i PickWords(__m128i a, __m128i b)
{
    return _mm_castps_si128(
        _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), i0 | i1 << 2 | i2 << 4 | i3 << 6));
}

// Three bytes: streams a, b, c take turns in memory. Seen in units of twice the size there are again three
// streams that take turns: in bytes a0 b0 c0 a1 b1 c1 the 16-bit words are (a0 b0), (c0 a1), (b1 c1). Here
// w0, w1, w2 are these streams of words, and d0, d1, d2 the streams of 32-bit words. "b5" is byte b of pixel
// 5, and pixels A to F are 10 to 15:
//
//     m0    a0 b0 c0 a1  b1 c1 a2 b2  c2 a3 b3 c3  a4 b4 c4 a5      memory, 48 bytes
//     m1    b5 c5 a6 b6  c6 a7 b7 c7  a8 b8 c8 a9  b9 c9 aA bA
//     m2    cA aB bB cB  aC bC cC aD  bD cD aE bE  cE aF bF cF
//
//     d0    a0 b0 c0 a1  a4 b4 c4 a5  a8 b8 c8 a9  aC bC cC aD      words 0, 3, 6, 9 of memory
//     d1    b1 c1 a2 b2  b5 c5 a6 b6  b9 c9 aA bA  bD cD aE bE      words 1, 4, 7, 10
//     d2    c2 a3 b3 c3  c6 a7 b7 c7  cA aB bB cB  cE aF bF cF      words 2, 5, 8, 11
//
//     w0    a0 b0  a2 b2  a4 b4  a6 b6  a8 b8  aA bA  aC bC  aE bE  low half of d0, high half of d1
//     w1    c0 a1  c2 a3  c4 a5  c6 a7  c8 a9  cA aB  cC aD  cE aF  high half of d0, low half of d2
//     w2    b1 c1  b3 c3  b5 c5  b7 c7  b9 c9  bB cB  bD cD  bF cF  low half of d1, high half of d2
//
//     a     a0 a1 a2 a3 a4 a5 a6 a7 a8 a9 aA aB aC aD aE aF         low half of w0, high half of w1
//     b     high half of w0, low half of w2;  c  low half of w1, high half of w2

template <>
inline PixelVectors LoadPixels<3>(const uint8_t* pixels)
{
    assert(IsVectorAligned(pixels));
    const __m128i m0 = _mm_load_si128(VectorAt(pixels));
    const __m128i m1 = _mm_load_si128(VectorAt(pixels + 16));
    const __m128i m2 = _mm_load_si128(VectorAt(pixels + 32));
    const __m128i d0 = PickWords<0, 3, 0, 2>(m0, PickWords<2, 2, 1, 1>(m1, m2));
    const __m128i d1 = PickWords<0, 2, 0, 2>(PickWords<1, 1, 0, 0>(m0, m1), PickWords<3, 3, 2, 2>(m1, m2));
    const __m128i d2 = PickWords<0, 2, 0, 3>(PickWords<2, 2, 1, 1>(m0, m1), m2);
    const __m128i w0 = MergeWords(d0, d1);
    const __m128i w1 = _mm_or_si128(_mm_srli_epi32(d0, 16), _mm_slli_epi32(d2, 16));
    const __m128i w2 = MergeWords(d1, d2);
    const __m128i a = MergeBytes(w0, w1);
    const __m128i b = _mm_or_si128(_mm_srli_epi16(w0, 8), _mm_slli_epi16(w2, 8));
    const __m128i c = MergeBytes(w1, w2);
    return {{a, b, c, _mm_setzero_si128()}};
}

template <>
inline void StorePixels<3>(uint8_t* pixels, const PixelVectors& bytes)
{
    assert(IsVectorAligned(pixels));
    const __m128i a = bytes.at[0];
    const __m128i b = bytes.at[1];
    const __m128i c = bytes.at[2];
    const __m128i w0 = MergeBytes(a, _mm_slli_epi16(b, 8));
    const __m128i w1 = MergeBytes(c, a);
    const __m128i w2 = MergeBytes(_mm_srli_epi16(b, 8), c);
    const __m128i d0 = MergeWords(w0, _mm_slli_epi32(w1, 16));
    const __m128i d1 = MergeWords(w2, w0);
    const __m128i d2 = MergeWords(_mm_srli_epi32(w1, 16), w2);
    // 32-bit words in memory: d0[0] d1[0] d2[0] d0[1], d1[1] d2[1] d0[2] d1[2], d2[2] d0[3] d1[3] d2[3].
    const __m128i m0 = PickWords<0, 1, 0, 2>(_mm_unpacklo_epi32(d0, d1), PickWords<0, 0, 1, 1>(d2, d0));
    const __m128i m1 = PickWords<0, 2, 0, 1>(PickWords<1, 1, 1, 1>(d1, d2), _mm_unpackhi_epi32(d0, d1));
    const __m128i m2 = PickWords<0, 2, 2, 3>(PickWords<2, 2, 3, 3>(d2, d0), _mm_unpackhi_epi32(d1, d2));
    _mm_store_si128(VectorAt(pixels), m0);
    _mm_store_si128(VectorAt(pixels + 16), m1);
    _mm_store_si128(VectorAt(pixels + 32), m2);
}

// Four bytes, streams a to d; "b5" is byte b of pixel 5. Two rounds of every other byte:
//
//     m0       a0 b0 c0 d0 a1 b1 c1 d1 a2 b2 c2 d2 a3 b3 c3 d3      m1, m2, m3: pixels 4 to 7, 8 to B, C to F
//     even0    a0 c0 a1 c1 a2 c2 a3 c3 a4 c4 a5 c5 a6 c6 a7 c7      of m0 and m1; even1 of m2 and m3
//     odd0     b0 d0 b1 d1 b2 d2 b3 d3 b4 d4 b5 d5 b6 d6 b7 d7
//     result   a: even bytes of even0 and even1; c: their odd bytes; b, d: the same of odd0 and odd1
//
// and back by two rounds of unpacking:
//
//     ab0      a0 b0 a1 b1 a2 b2 a3 b3 a4 b4 a5 b5 a6 b6 a7 b7      ab1: pixels 8 to F; cd0, cd1 alike
//     memory   a0 b0 c0 d0 a1 b1 c1 d1 a2 b2 c2 d2 a3 b3 c3 d3      words of ab0 and cd0 in turn

template <>
inline PixelVectors LoadPixels<4>(const uint8_t* pixels)
{
    assert(IsVectorAligned(pixels));
    const __m128i m0 = _mm_load_si128(VectorAt(pixels));
    const __m128i m1 = _mm_load_si128(VectorAt(pixels + 16));
    const __m128i m2 = _mm_load_si128(VectorAt(pixels + 32));
    const __m128i m3 = _mm_load_si128(VectorAt(pixels + 48));
    const __m128i even0 = EvenBytes(m0, m1);
    const __m128i even1 = EvenBytes(m2, m3);
    const __m128i odd0 = OddBytes(m0, m1);
    const __m128i odd1 = OddBytes(m2, m3);
    return {{EvenBytes(even0, even1), EvenBytes(odd0, odd1), OddBytes(even0, even1), OddBytes(odd0, odd1)}};
}

template <>
inline void StorePixels<4>(uint8_t* pixels, const PixelVectors& bytes)
{
    assert(IsVectorAligned(pixels));
    const __m128i ab0 = _mm_unpacklo_epi8(bytes.at[0], bytes.at[1]);
    const __m128i ab1 = _mm_unpackhi_epi8(bytes.at[0], bytes.at[1]);
    const __m128i cd0 = _mm_unpacklo_epi8(bytes.at[2], bytes.at[3]);
    const __m128i cd1 = _mm_unpackhi_epi8(bytes.at[2], bytes.at[3]);
    _mm_store_si128(VectorAt(pixels), _mm_unpacklo_epi16(ab0, cd0));
    _mm_store_si128(VectorAt(pixels + 16), _mm_unpackhi_epi16(ab0, cd0));
    _mm_store_si128(VectorAt(pixels + 32), _mm_unpacklo_epi16(ab1, cd1));
    _mm_store_si128(VectorAt(pixels + 48), _mm_unpackhi_epi16(ab1, cd1));
}

} // namespace imgproc
