// The predictor rules for 16 samples at once, and loads and stores that promise no alignment.
#pragma once

#include "common/compiler.h"
#include "imgproc/backend/predictor_rule.h"

#include <emmintrin.h>

namespace imgproc {

inline __m128i LoadBytes(const uint8_t* at)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
}

inline void StoreBytes(uint8_t* at, __m128i bytes)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(at), bytes);
}

inline __m128i PredictVector(LeftRule, __m128i left, __m128i /*above*/, __m128i /*aboveLeft*/)
{
    return left;
}

inline __m128i PredictVector(GradientRule, __m128i left, __m128i above, __m128i aboveLeft)
{
    // `above` is added last: where rows are undone, it is what comes late. The compiler must not regroup the
    // sum.
    __m128i difference = _mm_sub_epi8(left, aboveLeft);
    HideVector(difference);
    return _mm_add_epi8(difference, above);
}

/// The median of three, of which `gradient` comes last.
inline __m128i MedianOf(__m128i left, __m128i above, __m128i gradient)
{
    return _mm_min_epu8(_mm_max_epu8(left, above), _mm_max_epu8(_mm_min_epu8(left, above), gradient));
}

inline __m128i PredictVector(MedianRule, __m128i left, __m128i above, __m128i aboveLeft)
{
    return MedianOf(left, above, PredictVector(GradientRule(), left, above, aboveLeft));
}

} // namespace imgproc
