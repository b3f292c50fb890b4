// The three predictors: each gives the prediction of one sample from its neighbors.
//
//     TL  T        TL  above left     T  above
//     L   x        L   left           x  the sample
//
// The edges of a block need no rule of their own. Above row 0 all samples are 0, and row 0 is Left with every
// method. Left of column 0 both L and TL are taken as T, which makes T the prediction of all three. So row 0
// needs a row above of which only the first sample, 0, is read.
#pragma once

#include "common/predict_methods.h"

#include <cstdint>

namespace imgproc {

inline constexpr uint8_t kAboveFirstRow = 0;

/// L.
struct LeftRule {
    static constexpr PredictMethod kMethod = PredictMethod::Left;
    /// Whether samples of the row above after its first one matter.
    static constexpr bool kUsesAbove = false;
    /// Whether a row is undone by a running sum of its residuals, with the row above added where it is used.
    static constexpr bool kRunningSum = true;
    uint8_t operator()(uint8_t left, uint8_t /*above*/, uint8_t /*aboveLeft*/) const { return left; }
};

/// L + T - TL, wrapped to a byte without clamping.
struct GradientRule {
    static constexpr PredictMethod kMethod = PredictMethod::Gradient;
    static constexpr bool kUsesAbove = true;
    static constexpr bool kRunningSum = true; // along a row the terms L - TL cancel
    uint8_t operator()(uint8_t left, uint8_t above, uint8_t aboveLeft) const
    {
        return static_cast<uint8_t>(left + above - aboveLeft);
    }
};

/// The median of L, T and the wrapped gradient.
struct MedianRule {
    static constexpr PredictMethod kMethod = PredictMethod::Median;
    static constexpr bool kUsesAbove = true;
    static constexpr bool kRunningSum = false;
    uint8_t operator()(uint8_t left, uint8_t above, uint8_t aboveLeft) const
    {
        const int gradient = GradientRule()(left, above, aboveLeft);
        const int low = left < above ? left : above;
        const int high = left < above ? above : left;
        const int raised = gradient < low ? low : gradient;
        return static_cast<uint8_t>(raised < high ? raised : high);
    }
};
static_assert(kBlockMethods == 3, "WithRule has a rule for each method that blocks store");

/// Calls `work` with the rule of a method. Blocks store any byte; all but Left and Gradient mean Median.
template <class Work>
void WithRule(PredictMethod method, Work work)
{
    if (method == LeftRule::kMethod)
        work(LeftRule());
    else if (method == GradientRule::kMethod)
        work(GradientRule());
    else
        work(MedianRule());
}

} // namespace imgproc
