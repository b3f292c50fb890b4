// The forward step and the scores, 16 samples at a time.
//
// A row is covered by one vector at column 0, aligned vectors over its body, and one vector that ends with
// the row:
//
//     columns   0                                        width - 1
//     first     [0 ........ 15]
//     body         [BodyStart ...][ ..... ][ .. BodyEnd)
//     last                                [width - 16 ......... ]
//
// Where first and last overlap the body they hold the same residuals. In place, all samples have to be read
// before they are overwritten: the two outer vectors are computed first and stored last, and the body runs
// from right to left, so that the left neighbors of a vector are untouched when it is loaded.
#include "imgproc/backend/predictor_rows_scalar.h"
#include "imgproc/backend/predictor_rule_sse2.h"
#include "imgproc/backend/predictors.h"
#include "imgproc/backend/row_cut.h"

#include <cassert>
#include <type_traits>

namespace imgproc {

namespace {

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

struct NoObserver {
    void operator()(__m128i, const Neighbours&) const {}
};

/// Residuals of a row; `target` may be `row` itself.
/// above    the row above, or &kAboveFirstRow with LeftRule and no observer for row 0
/// observe  called with samples and all Neighbours of each body vector
template <class Rule, class Observer>
void PredictRowSse2(Rule rule, const uint8_t* row, const uint8_t* above, uint8_t* target, int width,
                    Observer observe)
{
    assert(width >= 1 && (target == row || target + width <= row || row + width <= target));
    if (width < 16) {
        PredictRowScalar(rule, row, above, target, width);
        return;
    }
    const __m128i firstSamples = LoadBytes(row);
    const __m128i first =
        Residuals(rule, firstSamples, NeighboursAtRowStart<Rule::kUsesAbove>(firstSamples, above));
    const int lastColumn = width - 16;
    const __m128i last = lastColumn == 0 ? first
                                         : Residuals(rule, LoadBytes(row + lastColumn),
                                                     NeighboursAt<Rule::kUsesAbove>(row, above, lastColumn));
    constexpr bool kReadsAbove = Rule::kUsesAbove || !std::is_same_v<Observer, NoObserver>;
    const RowCut cut = CutRow(row, width);
    const bool inPlace = target == row;
    const int step = inPlace ? -16 : 16;
    int c = inPlace ? cut.BodyEnd() - 16 : cut.BodyStart();
    for (int columns = cut.body; columns > 0; columns -= 16, c += step) {
        const __m128i samples = LoadBytes(row + c);
        const Neighbours near = NeighboursAt<kReadsAbove>(row, above, c);
        observe(samples, near);
        StoreBytes(target + c, Residuals(rule, samples, near));
    }
    StoreBytes(target, first);
    StoreBytes(target + lastColumn, last);
}

class ScoreSums
{
  public:
    void Add(__m128i samples, const Neighbours& near)
    {
        left = Add(left, Residuals(LeftRule(), samples, near));
        gradient = Add(gradient, Residuals(GradientRule(), samples, near));
        median = Add(median, Residuals(MedianRule(), samples, near));
    }
    PredictorScores Total() const { return {Total(left), Total(gradient), Total(median)}; }

  private:
    /// The sum of absolute differences from 128 of each half, to a 64-bit sum each.
    static __m128i Add(__m128i sum, __m128i residuals)
    {
        return _mm_add_epi64(sum, _mm_sad_epu8(residuals, _mm_set1_epi8(-128)));
    }
    static uint32_t Total(__m128i sum)
    {
        return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_add_epi64(sum, _mm_srli_si128(sum, 8))));
    }

    __m128i left = _mm_setzero_si128();
    __m128i gradient = _mm_setzero_si128();
    __m128i median = _mm_setzero_si128();
};

} // namespace

void PredictSse2(const ConstPlaneInfo& source, const PlaneInfo& target, int width, int height,
                 PredictMethod method)
{
    if (width <= 0 || height <= 0)
        return;
    PredictRowSse2(LeftRule(), source.data, &kAboveFirstRow, target.data, width, NoObserver());
    WithRule(method, [&](auto rule) {
        for (int r = 1; r < height; ++r)
            PredictRowSse2(rule, RowAt(source, r), RowAt(source, r - 1), RowAt(target, r), width,
                           NoObserver());
    });
}

void PredictInPlaceSse2(const PlaneInfo& view, int width, int height, PredictMethod method)
{
    if (width <= 0 || height <= 0)
        return;
    // From the last row up: each row needs the samples of the row above.
    WithRule(method, [&](auto rule) {
        for (int r = height - 1; r > 0; --r)
            PredictRowSse2(rule, RowAt(view, r), RowAt(view, r - 1), RowAt(view, r), width, NoObserver());
    });
    PredictRowSse2(LeftRule(), view.data, &kAboveFirstRow, view.data, width, NoObserver());
}

PredictorScores ScorePredictorsSse2(const ConstPlaneInfo& view, int width, int height)
{
    if (width <= 0)
        return {};
    ScoreSums sums;
    for (int r = 1; r < height; ++r) {
        const uint8_t* const row = RowAt(view, r);
        const uint8_t* const above = RowAt(view, r - 1);
        const RowCut cut = CutRow(row, width);
        for (int c = cut.BodyStart(); c < cut.BodyEnd(); c += 16)
            sums.Add(LoadBytes(row + c), NeighboursAt<true>(row, above, c));
    }
    return sums.Total();
}

PredictorScores ScoreAndPredictSse2(const ConstPlaneInfo& source, const PlaneInfo& target, int width,
                                    int height, PredictMethod method)
{
    if (width <= 0 || height <= 0)
        return {};
    ScoreSums sums;
    PredictRowSse2(LeftRule(), source.data, &kAboveFirstRow, target.data, width, NoObserver());
    WithRule(method, [&](auto rule) {
        for (int r = 1; r < height; ++r)
            PredictRowSse2(rule, RowAt(source, r), RowAt(source, r - 1), RowAt(target, r), width,
                           [&](__m128i samples, const Neighbours& near) { sums.Add(samples, near); });
    });
    return sums.Total();
}

} // namespace imgproc
