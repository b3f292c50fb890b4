// Small pieces of byte traffic that several SSE2 kernels share.
#pragma once

#include <cstdint>
#include <emmintrin.h>

namespace imgproc {

inline const __m128i* VectorAt(const uint8_t* p)
{
    return reinterpret_cast<const __m128i*>(p);
}

inline __m128i* VectorAt(uint8_t* p)
{
    return reinterpret_cast<__m128i*>(p);
}

inline bool IsVectorAligned(const uint8_t* p)
{
    return reinterpret_cast<uintptr_t>(p) % sizeof(__m128i) == 0;
}

// Byte lanes, "a5" for byte 5 of vector a:
//
//     EvenBytes     a0 a2 a4 a6 a8 aA aC aE b0 b2 b4 b6 b8 bA bC bE
//     OddBytes      a1 a3 a5 a7 a9 aB aD aF b1 b3 b5 b7 b9 bB bD bF
//     MergeBytes    a0 b1 a2 b3 a4 b5 a6 b7 a8 b9 aA bB aC bD aE bF
//     MergeWords    a0 a1 b2 b3 a4 a5 b6 b7 a8 a9 bA bB aC aD bE bF

/// Bytes 0, 2, 4 ... of a, then of b.
inline __m128i EvenBytes(__m128i a, __m128i b)
{
    const __m128i mask = _mm_set1_epi16(0x00FF);
    return _mm_packus_epi16(_mm_and_si128(a, mask), _mm_and_si128(b, mask));
}

/// Bytes 1, 3, 5 ... of a, then of b.
inline __m128i OddBytes(__m128i a, __m128i b)
{
    return _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
}

/// The even bytes of one vector and the odd bytes of the other, each in its place.
inline __m128i MergeBytes(__m128i even, __m128i odd)
{
    const __m128i mask = _mm_set1_epi16(0x00FF);
    return _mm_or_si128(_mm_and_si128(even, mask), _mm_andnot_si128(mask, odd));
}

/// The same for 16-bit words.
inline __m128i MergeWords(__m128i even, __m128i odd)
{
    const __m128i mask = _mm_set1_epi32(0x0000FFFF);
    return _mm_or_si128(_mm_and_si128(even, mask), _mm_andnot_si128(mask, odd));
}

} // namespace imgproc
