// The predictors sample by sample. This is their meaning; the vector forms give the same bytes.
#include "entropy/count_symbols.h"
#include "imgproc/backend/predictor_rows_scalar.h"
#include "imgproc/backend/predictor_rule.h"
#include "imgproc/backend/predictors.h"
#include "imgproc/backend/row_cut.h"

#include <cstdlib>

namespace imgproc {

void PredictScalar(const ConstPlaneInfo& source, const PlaneInfo& target, int width, int height,
                   PredictMethod method, uint64_t* frequencies, const RowsBelow&)
{
    if (width <= 0 || height <= 0)
        return;
    PredictRowScalar(LeftRule(), source.data, &kAboveFirstRow, target.data, width);
    WithRule(method, [&](auto rule) {
        for (int r = 1; r < height; ++r)
            PredictRowScalar(rule, RowAt(source, r), RowAt(source, r - 1), RowAt(target, r), width);
    });
    entropy::CountSymbols(target.data, width, height, target.pitch, frequencies);
}

void PredictInPlaceScalar(const PlaneInfo& view, int width, int height, PredictMethod method)
{
    if (width <= 0 || height <= 0)
        return;
    // From the last row up: each row needs the samples of the row above.
    WithRule(method, [&](auto rule) {
        for (int r = height - 1; r > 0; --r)
            PredictRowScalar(rule, RowAt(view, r), RowAt(view, r - 1), RowAt(view, r), width);
    });
    PredictRowScalar(LeftRule(), view.data, &kAboveFirstRow, view.data, width);
}

void UnpredictScalar(std::span<const BlockView> blocks, int width, PredictMethod method)
{
    for (const auto& [view, height] : blocks) {
        if (width <= 0 || height <= 0)
            continue;
        UnpredictRowScalar(LeftRule(), view.data, &kAboveFirstRow, width);
        WithRule(method, [&, &rows = view, &count = height](auto rule) {
            for (int r = 1; r < count; ++r)
                UnpredictRowScalar(rule, RowAt(rows, r), RowAt(rows, r - 1), width);
        });
    }
}

PredictorScores ScorePredictorsScalar(const ConstPlaneInfo& view, int width, int height)
{
    PredictorScores scores;
    if (width <= 0)
        return scores;
    for (int r = 1; r < height; ++r) {
        const uint8_t* const row = RowAt(view, r);
        const uint8_t* const above = RowAt(view, r - 1);
        const RowCut cut = CutRow(row, width);
        for (int c = cut.BodyStart(); c < cut.BodyEnd(); ++c) {
            const auto score = [&](auto rule) {
                const auto residual = static_cast<uint8_t>(row[c] - rule(row[c - 1], above[c], above[c - 1]));
                return static_cast<uint32_t>(std::abs(residual - 128));
            };
            scores.left += score(LeftRule());
            scores.gradient += score(GradientRule());
            scores.median += score(MedianRule());
        }
    }
    return scores;
}

PredictorScores ScoreAndPredictScalar(const ConstPlaneInfo& source, const PlaneInfo& target, int width,
                                      int height, PredictMethod method, uint64_t* frequencies,
                                      const RowsBelow& below)
{
    PredictScalar(source, target, width, height, method, frequencies, below);
    return ScorePredictorsScalar(source, width, height);
}

} // namespace imgproc
