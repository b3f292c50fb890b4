#include "imgproc/backend/t_imgproc_backend.h"

#include "imgproc/backend/predictors.h"

#include <type_traits>

namespace imgproc {

template <class Sample, int bits>
PredictorScores TImgProcBackendBase<Sample, bits>::ScorePredictors(const ConstPlaneInfo& view, int width,
                                                                   int height) const
{
    static_assert(std::is_same_v<Sample, uint8_t> && bits == 8, "the kernels are for 8-bit samples");
    return kPredictors.scorePredictors(view, width, height);
}

template <class Sample, int bits>
void TImgProcBackendBase<Sample, bits>::Predict(const ConstPlaneInfo& source, const PlaneInfo& target,
                                                int width, int height, PredictMethod method,
                                                uint64_t* frequencies, const RowsBelow& below) const
{
    kPredictors.predict(source, target, width, height, method, frequencies, below);
}

template <class Sample, int bits>
void TImgProcBackendBase<Sample, bits>::PredictInPlace(const PlaneInfo& view, int width, int height,
                                                       PredictMethod method) const
{
    kPredictors.predictInPlace(view, width, height, method);
}

template <class Sample, int bits>
void TImgProcBackendBase<Sample, bits>::Unpredict(std::span<const BlockView> blocks, int width,
                                                  PredictMethod method) const
{
    kPredictors.unpredict(blocks, width, method);
}

template <class Sample, int bits>
PredictorScores
TImgProcBackendBase<Sample, bits>::ScoreAndPredict(const ConstPlaneInfo& source, const PlaneInfo& target,
                                                   int width, int height, PredictMethod method,
                                                   uint64_t* frequencies, const RowsBelow& below) const
{
    return kPredictors.scoreAndPredict(source, target, width, height, method, frequencies, below);
}

template class TImgProcBackendBase<unsigned char, 8>;
template class TImgProcBackend<unsigned char, 8, 1, 1, 1>;
template class TImgProcBackend<unsigned char, 8, 3, 1, 1>;
template class TImgProcBackend<unsigned char, 8, 3, 2, 1>;
template class TImgProcBackend<unsigned char, 8, 3, 2, 2>;
template class TImgProcBackend<unsigned char, 8, 4, 1, 1>;

} // namespace imgproc
