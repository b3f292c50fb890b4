// What the SSE2 forms of the forward step and of the scores share: rows, 16 samples at a time.
//
// A row is covered by one vector at column 0, aligned vectors over its body, and one vector that ends with
// the row:
//
//     columns   0                                        width - 1
//     first     [0 ........ 15]
//     body         [BodyStart ...][ ..... ][ .. BodyEnd)
//     last                                [width - 16 ......... ]
//
// Where first and last overlap the body they hold the same residuals.
#pragma once

#include "imgproc/backend/predictor_rows_scalar.h"
#include "imgproc/backend/predictor_rule_sse2.h"
#include "imgproc/backend/predictors.h"
#include "imgproc/backend/row_cut.h"

#include <cassert>
#include <type_traits>

namespace imgproc {

struct Neighbours {
    __m128i left;
    __m128i above;
    __m128i aboveLeft;
};

/// Neighbours of columns c to c + 15, c being 1 or more.
template <bool usesAbove>
Neighbours NeighboursAt(const uint8_t* row, const uint8_t* above, int c)
{
    if constexpr (usesAbove)
        return {LoadBytes(row + c - 1), LoadBytes(above + c), LoadBytes(above + c - 1)};
    else
        return {LoadBytes(row + c - 1), _mm_setzero_si128(), _mm_setzero_si128()};
}

/// Neighbours of columns 0 to 15: the sample above column 0 is its left and upper left neighbour too.
template <bool usesAbove>
Neighbours NeighboursAtRowStart(__m128i samples, const uint8_t* above)
{
    const __m128i aboveFirst = _mm_cvtsi32_si128(above[0]);
    const __m128i left = _mm_or_si128(_mm_slli_si128(samples, 1), aboveFirst);
    if constexpr (usesAbove) {
        const __m128i aboves = LoadBytes(above);
        return {left, aboves, _mm_or_si128(_mm_slli_si128(aboves, 1), aboveFirst)};
    }
    return {left, _mm_setzero_si128(), _mm_setzero_si128()};
}

template <class Rule>
__m128i Residuals(Rule rule, __m128i samples, const Neighbours& near)
{
    return _mm_sub_epi8(samples, PredictVector(rule, near.left, near.above, near.aboveLeft));
}

/// Residuals of columns c to c + 15, c being 1 or more.
template <class Rule>
__m128i ResidualsAt(Rule rule, const uint8_t* row, const uint8_t* above, int c)
{
    return Residuals(rule, LoadBytes(row + c), NeighboursAt<Rule::kUsesAbove>(row, above, c));
}

/// Residuals of a row; `target` may be `row` itself: the two outer vectors are computed before the body and
/// stored after it.
/// above  the row above, or &kAboveFirstRow with LeftRule for row 0
/// body   called with the RowCut of a row of 16 samples or more: stores the residuals of its body
template <class Rule, class Body>
void PredictRowSse2(Rule rule, const uint8_t* row, const uint8_t* above, uint8_t* target, int width,
                    Body body)
{
    assert(width >= 1 && (target == row || target + width <= row || row + width <= target));
    if (width < 16) {
        PredictRowScalar(rule, row, above, target, width);
        return;
    }
    const __m128i samples = LoadBytes(row);
    const __m128i first = Residuals(rule, samples, NeighboursAtRowStart<Rule::kUsesAbove>(samples, above));
    const int lastColumn = width - 16;
    const __m128i last = lastColumn == 0 ? first : ResidualsAt(rule, row, above, lastColumn);
    body(CutRow(row, width));
    StoreBytes(target, first);
    StoreBytes(target + lastColumn, last);
}

/// Scores of all predictors.
class ScoreSums
{
  public:
    /// Adds the residuals of columns c to c + 15, c being 1 or more. Returns those of one rule.
    template <class Rule>
    ORVANE_ALWAYS_INLINE __m128i AddAt(Rule, const uint8_t* row, const uint8_t* above, int c)
    {
        const __m128i samples = LoadBytes(row + c);
        const Neighbours near = NeighboursAt<true>(row, above, c);
        const __m128i byLeft = _mm_sub_epi8(samples, near.left);
        const __m128i prediction = PredictVector(GradientRule(), near.left, near.above, near.aboveLeft);
        const __m128i byGradient = _mm_sub_epi8(samples, prediction);
        const __m128i byMedian = _mm_sub_epi8(samples, MedianOf(near.left, near.above, prediction));
        Add(left, byLeft);
        Add(gradient, byGradient);
        Add(median, byMedian);
        if constexpr (std::is_same_v<Rule, LeftRule>)
            return byLeft;
        else if constexpr (std::is_same_v<Rule, GradientRule>)
            return byGradient;
        else
            return byMedian;
    }
    PredictorScores Total() const { return {Total(left), Total(gradient), Total(median)}; }

  private:
    /// Adds the sum of absolute differences from 128 of each half, to a 64-bit sum each. The sum stays in one
    /// register: compilers would rather copy it.
    static void Add(__m128i& sum, __m128i residuals)
    {
        sum = _mm_add_epi64(sum, _mm_sad_epu8(residuals, _mm_set1_epi8(-128)));
        HideVector(sum);
    }
    static uint32_t Total(__m128i sum)
    {
        return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi64(sum, _mm_srli_si128(sum, 8))));
    }

    __m128i left = _mm_setzero_si128();
    __m128i gradient = _mm_setzero_si128();
    __m128i median = _mm_setzero_si128();
};

} // namespace imgproc
