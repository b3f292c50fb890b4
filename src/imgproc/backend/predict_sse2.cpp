// The forward step in place, and the scores alone, 16 samples at a time.
//
// In place, all samples have to be read before they are overwritten: rows go from the last one up, and the
// body of a row runs from right to left, so that the left neighbours of a vector are untouched when it is
// loaded.
#include "imgproc/backend/predict_rows_sse2.h"

namespace imgproc {

namespace {

template <class Rule>
void PredictRowInPlace(Rule rule, uint8_t* row, const uint8_t* above, int width)
{
    PredictRowSse2(rule, row, above, row, width, [=](const RowCut& cut) {
        for (int c = cut.BodyEnd() - 16; c >= cut.BodyStart(); c -= 16)
            StoreBytes(row + c, ResidualsAt(rule, row, above, c));
    });
}

} // namespace

void PredictInPlaceSse2(const PlaneInfo& view, int width, int height, PredictMethod method)
{
    if (width <= 0 || height <= 0)
        return;
    // Each row needs the samples of the row above.
    WithRule(method, [&](auto rule) {
        for (int r = height - 1; r > 0; --r)
            PredictRowInPlace(rule, RowAt(view, r), RowAt(view, r - 1), width);
    });
    PredictRowInPlace(LeftRule(), view.data, &kAboveFirstRow, width);
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
            sums.AddAt(LeftRule(), row, above, c);
    }
    return sums.Total();
}

} // namespace imgproc
