#pragma once

#include "imgproc/backend/imgproc_backend.h"

namespace imgproc {

/// The predictors for one sample type, shared by all plane layouts.
template <class Sample, int bits>
class TImgProcBackendBase : public ImgProcBackend
{
  public:
    int GetBytesPerSample() const override { return sizeof(Sample); }
    int GetBitsPerSample() const override { return bits; }

    PredictorScores ScorePredictors(const ConstPlaneInfo& view, int width, int height) const override;
    void Predict(const ConstPlaneInfo& source, const PlaneInfo& target, int width, int height,
                 PredictMethod method, uint64_t* frequencies, const RowsBelow& below) const override;
    void PredictInPlace(const PlaneInfo& view, int width, int height, PredictMethod method) const override;
    void Unpredict(std::span<const BlockView> blocks, int width, PredictMethod method) const override;
    PredictorScores ScoreAndPredict(const ConstPlaneInfo& source, const PlaneInfo& target, int width,
                                    int height, PredictMethod method, uint64_t* frequencies,
                                    const RowsBelow& below) const override;
};

/// A plane layout: `comps` planes; those after the first are smaller by `hsub` and `vsub`.
template <class Sample, int bits, size_t comps, int hsub, int vsub>
class TImgProcBackend final : public TImgProcBackendBase<Sample, bits>
{
  public:
    size_t GetPlaneCount() const override { return comps; }
    int GetPlaneWidth(size_t plane, int width) const override { return plane == 0 ? width : width / hsub; }
    int GetPlaneHeight(size_t plane, int height) const override
    {
        return plane == 0 ? height : height / vsub;
    }
    int GetHorizontalSubsampling() const override { return hsub; }
    int GetVerticalSubsampling() const override { return vsub; }
};

extern template class TImgProcBackendBase<unsigned char, 8>;
extern template class TImgProcBackend<unsigned char, 8, 1, 1, 1>; // 4:0:0
extern template class TImgProcBackend<unsigned char, 8, 3, 1, 1>; // RGB and 4:4:4
extern template class TImgProcBackend<unsigned char, 8, 3, 2, 1>; // 4:2:2
extern template class TImgProcBackend<unsigned char, 8, 3, 2, 2>; // 4:2:0
extern template class TImgProcBackend<unsigned char, 8, 4, 1, 1>; // RGBA and 4:4:4:4

} // namespace imgproc
