// What the core knows of a plane layout: how many planes there are, how large each is, and the predictors for
// its sample type.
#pragma once

#include "common/plane_info.h"
#include "common/settings_records.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace imgproc {

/// A block in its plane.
struct BlockView {
    PlaneInfo rows; ///< from its first one on
    int height;
};

/// Rows below a block of each plane that are worked on soon. Some of them are fetched; 0: none are there.
struct RowsBelow {
    int source = 0;
    int target = 0;
};

/// How well each predictor suits a block: the higher the better.
struct PredictorScores {
    uint32_t left = 0;
    uint32_t gradient = 0;
    uint32_t median = 0;

    PredictorScores& operator+=(const PredictorScores& other)
    {
        left += other.left;
        gradient += other.gradient;
        median += other.median;
        return *this;
    }
    bool operator==(const PredictorScores&) const = default;
};

/// A plane layout with its predictors. Objects have no state: any number of threads may use one at once, each
/// on rows of its own. Nothing here fails; sizes and views are the caller's promise.
class ImgProcBackend
{
  public:
    virtual ~ImgProcBackend() = default;

    virtual size_t GetPlaneCount() const = 0;
    /// Samples in a row of `plane` of a picture `width` pixels wide. Truncates.
    virtual int GetPlaneWidth(size_t plane, int width) const = 0;
    /// Rows of `plane` for `height` picture rows; also maps a picture row to a plane row. Truncates.
    virtual int GetPlaneHeight(size_t plane, int height) const = 0;
    virtual int GetHorizontalSubsampling() const = 0;
    virtual int GetVerticalSubsampling() const = 0;
    virtual int GetBytesPerSample() const = 0;
    virtual int GetBitsPerSample() const = 0;

    /// Rates the three predictors on the samples of a block.
    virtual PredictorScores ScorePredictors(const ConstPlaneInfo& view, int width, int height) const = 0;
    /// Writes the residuals of a block to `target`, which does not overlap `source`, and adds what
    /// entropy::CountSymbols counts of them to `frequencies`, a counter for each symbol. width, height: 1 or
    /// more.
    virtual void Predict(const ConstPlaneInfo& source, const PlaneInfo& target, int width, int height,
                         PredictMethod method, uint64_t* frequencies, const RowsBelow& below) const = 0;
    /// Turns the samples of a block into their residuals. width, height: 1 or more.
    virtual void PredictInPlace(const PlaneInfo& view, int width, int height, PredictMethod method) const = 0;
    /// Turns the residuals of blocks of one width, which do not overlap, back into samples. width, heights: 1
    /// or more. Many at once are faster than one by one where blocks are low.
    virtual void Unpredict(std::span<const BlockView> blocks, int width, PredictMethod method) const = 0;

    /// ScorePredictors and Predict in one pass over the block.
    virtual PredictorScores ScoreAndPredict(const ConstPlaneInfo& source, const PlaneInfo& target, int width,
                                            int height, PredictMethod method, uint64_t* frequencies,
                                            const RowsBelow& below) const = 0;
};

} // namespace imgproc
