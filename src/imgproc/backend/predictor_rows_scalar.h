// One row of a block, sample by sample. `above` is the row above, or &kAboveFirstRow with LeftRule for row 0.
#pragma once

#include "imgproc/backend/predictor_rule.h"

namespace imgproc {

/// Residuals of a row. `target` may be `row` itself: from the last column down, no sample is read after its
/// residual has taken its place.
template <class Rule>
void PredictRowScalar(Rule rule, const uint8_t* row, const uint8_t* above, uint8_t* target, int width)
{
    for (int c = width - 1; c > 0; --c) {
        const uint8_t prediction = Rule::kUsesAbove ? rule(row[c - 1], above[c], above[c - 1]) : row[c - 1];
        target[c] = static_cast<uint8_t>(row[c] - prediction);
    }
    target[0] = static_cast<uint8_t>(row[0] - above[0]);
}

/// Undoes PredictRowScalar where the residuals stand; `above` holds finished samples.
template <class Rule>
void UnpredictRowScalar(Rule rule, uint8_t* row, const uint8_t* above, int width)
{
    row[0] = static_cast<uint8_t>(row[0] + above[0]);
    for (int c = 1; c < width; ++c) {
        const uint8_t prediction = Rule::kUsesAbove ? rule(row[c - 1], above[c], above[c - 1]) : row[c - 1];
        row[c] = static_cast<uint8_t>(row[c] + prediction);
    }
}

} // namespace imgproc
