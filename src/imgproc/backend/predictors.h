// The predictor kernels: each turns a block of samples into residuals or back. A block is the rectangle of
// width x height bytes at a view; nothing outside it is read or written, its rows may have any alignment and
// any pitch. A block with a width or height of 0 or less is left alone. No kernel has state: any number of
// threads may run them at once, each on rows of its own.
#pragma once

#include "common/plane_info.h"
#include "common/settings_records.h"
#include "common/vector_level.h"
#include "imgproc/backend/imgproc_backend.h"

namespace imgproc {

/// Writes the residuals of `source` to `target`, which does not overlap it, and adds what
/// entropy::CountSymbols counts of them to 256 `frequencies`. Rows below the block may be fetched, and are
/// neither read nor written.
using PredictKernel = void(const ConstPlaneInfo& source, const PlaneInfo& target, int width, int height,
                           PredictMethod method, uint64_t* frequencies, const RowsBelow& below);
/// Turns samples into residuals where they stand.
using InPlaceKernel = void(const PlaneInfo& view, int width, int height, PredictMethod method);
/// Turns the residuals of blocks of one width, which do not overlap, back into samples.
using UnpredictKernel = void(std::span<const BlockView> blocks, int width, PredictMethod method);
/// Rates the predictors on the bodies (row_cut.h) of rows 1 to height - 1. Each sample adds |residual - 128|
/// to the sum of each method: 128 where the prediction is perfect, 0 where it is worst. The sums wrap at 32
/// bits.
using ScoreKernel = PredictorScores(const ConstPlaneInfo& view, int width, int height);
/// The two in one pass: scores of `source`, its residuals by `method` in `target`, and their counts.
using ScoreAndPredictKernel = PredictorScores(const ConstPlaneInfo& source, const PlaneInfo& target,
                                              int width, int height, PredictMethod method,
                                              uint64_t* frequencies, const RowsBelow& below);

// The meaning, one sample at a time.
PredictKernel PredictScalar;
InPlaceKernel PredictInPlaceScalar;
UnpredictKernel UnpredictScalar;
ScoreKernel ScorePredictorsScalar;
ScoreAndPredictKernel ScoreAndPredictScalar;

PredictKernel PredictSse2;
InPlaceKernel PredictInPlaceSse2;
UnpredictKernel UnpredictSse2;
ScoreKernel ScorePredictorsSse2;
ScoreAndPredictKernel ScoreAndPredictSse2;

struct PredictorKernels {
    const char* name;
    PredictKernel* predict;
    InPlaceKernel* predictInPlace;
    UnpredictKernel* unpredict;
    ScoreKernel* scorePredictors;
    ScoreAndPredictKernel* scoreAndPredict;

    void UnpredictOne(const PlaneInfo& view, int width, int height, PredictMethod method) const
    {
        const BlockView block{view, height};
        unpredict({&block, 1}, width, method);
    }
};

inline constexpr PredictorKernels kPredictorImplementations[] = {
    {"scalar", PredictScalar, PredictInPlaceScalar, UnpredictScalar, ScorePredictorsScalar,
     ScoreAndPredictScalar},
#ifdef ORVANE_SSE2
    {"sse2", PredictSse2, PredictInPlaceSse2, UnpredictSse2, ScorePredictorsSse2, ScoreAndPredictSse2},
#endif
};
inline constexpr const PredictorKernels& kPredictors = Fastest(kPredictorImplementations);

} // namespace imgproc
