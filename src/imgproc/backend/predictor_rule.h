// What the three predictors mean: the prediction of one sample from its neighbours.
//
// The neighbours are L (left), T (above) and TL (above left). The edges of a block need no rule of their own:
// above row 0 lie zeros, and row 0 is Left with every method; left of column 0 both L and TL are taken as T,
// which makes T the prediction of all three. So row 0 needs a row above of which only the first sample, 0, is
// looked at.
#pragma once

#include "common/settings_records.h"

#include <cstdint>

inline constexpr uint8_t kAboveFirstRow = 0;

struct LeftRule {
    /// Whether samples of the row above behind its first one matter.
    static constexpr bool kUsesAbove = false;
    uint8_t operator()(uint8_t left, uint8_t /*above*/, uint8_t /*aboveLeft*/) const { return left; }
};

struct GradientRule {
    static constexpr bool kUsesAbove = true;
    /// L + T - TL wraps to a byte, without clamping.
    uint8_t operator()(uint8_t left, uint8_t above, uint8_t aboveLeft) const
    {
        return static_cast<uint8_t>(left + above - aboveLeft);
    }
};

struct MedianRule {
    static constexpr bool kUsesAbove = true;
    /// The median of L, T and the wrapped gradient.
    uint8_t operator()(uint8_t left, uint8_t above, uint8_t aboveLeft) const
    {
        const int gradient = GradientRule()(left, above, aboveLeft);
        const int low = left < above ? left : above;
        const int high = left < above ? above : left;
        const int raised = gradient < low ? low : gradient;
        return static_cast<uint8_t>(raised < high ? raised : high);
    }
};

/// Calls `work` with the rule of a method. Blocks store any byte; all but Left and Gradient mean Median.
template <class Work>
void WithRule(PredictMethod method, Work work)
{
    if (method == PredictMethod::Left)
        work(LeftRule());
    else if (method == PredictMethod::Gradient)
        work(GradientRule());
    else
        work(MedianRule());
}
