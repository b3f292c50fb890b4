// The inverse step. Left and Gradient rows are running sums: of the residuals for Left, and for Gradient,
// whose L - TL terms cancel along the row, of the residuals too, with the row above added at the end.
#include "imgproc/backend/predictor_rule_sse2.h"
#include "imgproc/backend/predictors.h"
#include "imgproc/backend/unpredict_median_sse2.h"

namespace imgproc {

namespace {

/// Byte i becomes the sum of bytes 0 to i. With four bytes, and "ab" for a + b:
///
///     a  b  c   d
///     a  ab bc  cd      + shifted by 1
///     a  ab abc abcd    + shifted by 2
__m128i RunningSum(__m128i sum)
{
    // After the shift by n, byte i is the sum of bytes i - 2n + 1 to i.
    sum = _mm_add_epi8(sum, _mm_slli_si128(sum, 1));
    sum = _mm_add_epi8(sum, _mm_slli_si128(sum, 2));
    sum = _mm_add_epi8(sum, _mm_slli_si128(sum, 4));
    return _mm_add_epi8(sum, _mm_slli_si128(sum, 8));
}

/// The last byte in all bytes.
__m128i SpreadLast(__m128i bytes)
{
    const __m128i pairs = _mm_unpackhi_epi8(bytes, bytes);
    return _mm_shuffle_epi32(_mm_shufflehi_epi16(pairs, 0xFF), 0xFF);
}

/// `above` as in UnpredictRowScalar.
template <class Rule>
requires(Rule::kRunningSum) void UnpredictRowSse2(Rule, uint8_t* row, const uint8_t* above, int width)
{
    constexpr bool addsAbove = Rule::kUsesAbove;
    // Invariant at the top of the loop: all bytes of `before` hold the sum of the residuals left of column c,
    // plus the sample above column 0 for Left. It grows by sums that do not depend on it: a chain of one
    // addition a vector.
    __m128i before = addsAbove ? _mm_setzero_si128() : _mm_set1_epi8(static_cast<char>(above[0]));
    int c = 0;
    for (; c + 16 <= width; c += 16) {
        const __m128i sum = RunningSum(LoadBytes(row + c));
        __m128i samples = _mm_add_epi8(sum, before);
        if constexpr (addsAbove)
            samples = _mm_add_epi8(samples, LoadBytes(above + c));
        StoreBytes(row + c, samples);
        before = _mm_add_epi8(before, SpreadLast(sum));
    }
    auto sum = static_cast<uint8_t>(_mm_cvtsi128_si32(before));
    for (; c < width; ++c) {
        sum = static_cast<uint8_t>(sum + row[c]);
        row[c] = static_cast<uint8_t>(addsAbove ? sum + above[c] : sum);
    }
}

template <class Rule>
requires(Rule::kRunningSum) void UnpredictBlocksSse2(Rule rule, std::span<const BlockView> blocks, int width)
{
    for (const auto& [view, height] : blocks) {
        if (height <= 0)
            continue;
        UnpredictRowSse2(LeftRule(), view.data, &kAboveFirstRow, width);
        for (int r = 1; r < height; ++r)
            UnpredictRowSse2(rule, RowAt(view, r), RowAt(view, r - 1), width);
    }
}

/// Median has no running sum: rows are done together, and so are blocks.
void UnpredictBlocksSse2(MedianRule, std::span<const BlockView> blocks, int width)
{
    for (const auto& [view, height] : blocks)
        if (height == 1)
            UnpredictRowSse2(LeftRule(), view.data, &kAboveFirstRow, width);
    UnpredictMedianSse2(blocks, width);
}

} // namespace

void UnpredictSse2(std::span<const BlockView> blocks, int width, PredictMethod method)
{
    if (width > 0)
        WithRule(method, [&](auto rule) { UnpredictBlocksSse2(rule, blocks, width); });
}

} // namespace imgproc
