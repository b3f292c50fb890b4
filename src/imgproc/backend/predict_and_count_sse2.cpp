// The forward step to other memory, with or without scores, and the counts of its residuals.
//
// Residuals of a row are counted while those of the next one are computed: a counter's store and a vector's
// work take turns, where each alone would wait for ports that the other leaves idle. At the same time the
// lines of samples and residuals some rows on are fetched: a store to a line that is not there yet keeps
// those after it waiting, and counters store all the time.
#include "entropy/count_symbols.h"
#include "imgproc/backend/predict_rows_sse2.h"

#include <algorithm>

namespace imgproc {

namespace {

/// How far ahead lines are fetched.
constexpr int kRowsAhead = 4;

/// Gives residuals by one rule alone, as ScoreSums does with scores.
struct NoScores {
    template <class Rule>
    __m128i AddAt(Rule rule, const uint8_t* row, const uint8_t* above, int c)
    {
        return ResidualsAt(rule, row, above, c);
    }
};

/// Residuals and counts of a block of a sample or more.
/// scores  NoScores, or ScoreSums, to which the rows are added
template <class Scores>
void PredictAndCount(const ConstPlaneInfo& source, const PlaneInfo& target, int width, int height,
                     PredictMethod method, uint64_t* frequencies, const RowsBelow& below, Scores& scores)
{
    entropy::SymbolCounter counter;
    const auto predictRow = [&](auto rule, int r) {
        const uint8_t* const row = RowAt(source, r);
        const uint8_t* const above = RowAt(source, r - 1);
        uint8_t* const residuals = RowAt(target, r);
        const uint8_t* const counted = RowAt(target, r - 1);
        int done = 0; // columns of `counted`
        PredictRowSse2(rule, row, above, residuals, width, [&](const RowCut& cut) {
            const auto fetched = [&](const auto& plane, int rowsBelow) {
                return RowAt(plane, std::min(r + kRowsAhead, height - 1 + rowsBelow)) + cut.BodyStart();
            };
            const uint8_t* const fetchedSamples = fetched(source, below.source);
            const uint8_t* const fetchedResiduals = fetched(target, below.target);
            Scores sums = scores;
            for (; done < cut.body; done += 16) {
                Prefetch(fetchedSamples + done);
                Prefetch(fetchedResiduals + done);
                counter.AddSixteen(counted + done);
                const int c = cut.BodyStart() + done;
                StoreBytes(residuals + c, sums.AddAt(rule, row, above, c));
            }
            scores = sums;
        });
        counter.AddRow(counted, done, width);
    };

    PredictRowSse2(LeftRule(), source.data, &kAboveFirstRow, target.data, width, [&](const RowCut& cut) {
        for (int c = cut.BodyStart(); c < cut.BodyEnd(); c += 16)
            StoreBytes(target.data + c, ResidualsAt(LeftRule(), source.data, &kAboveFirstRow, c));
    });
    WithRule(method, [&](auto rule) {
        for (int r = 1; r < height; ++r)
            predictRow(rule, r);
    });
    counter.AddRow(RowAt(target, height - 1), 0, width);
    counter.AddTo(frequencies);
}

} // namespace

void PredictSse2(const ConstPlaneInfo& source, const PlaneInfo& target, int width, int height,
                 PredictMethod method, uint64_t* frequencies, const RowsBelow& below)
{
    NoScores none;
    if (width > 0 && height > 0)
        PredictAndCount(source, target, width, height, method, frequencies, below, none);
}

PredictorScores ScoreAndPredictSse2(const ConstPlaneInfo& source, const PlaneInfo& target, int width,
                                    int height, PredictMethod method, uint64_t* frequencies,
                                    const RowsBelow& below)
{
    ScoreSums sums;
    if (width > 0 && height > 0)
        PredictAndCount(source, target, width, height, method, frequencies, below, sums);
    return sums.Total();
}

} // namespace imgproc
