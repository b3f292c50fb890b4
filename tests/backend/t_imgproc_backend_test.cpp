#include "imgproc/backend/t_imgproc_backend.h"

#include "guarded_block.h"
#include "imgproc/backend/predictors.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <numeric>

using namespace imgproc;

namespace {

const TImgProcBackend<unsigned char, 8, 1, 1, 1> kGray;
const TImgProcBackend<unsigned char, 8, 3, 1, 1> k444;
const TImgProcBackend<unsigned char, 8, 3, 2, 1> k422;
const TImgProcBackend<unsigned char, 8, 3, 2, 2> k420;
const TImgProcBackend<unsigned char, 8, 4, 1, 1> k4444;

struct LayoutRow {
    const ImgProcBackend& backend;
    size_t planes;
    int hsub;
    int vsub;
    int chromaWidthOf7;
    int chromaHeightOf5;
};
const LayoutRow kLayouts[] = {
    {kGray, 1, 1, 1, 7, 5}, {k444, 3, 1, 1, 7, 5},  {k422, 3, 2, 1, 3, 5},
    {k420, 3, 2, 2, 3, 2},  {k4444, 4, 1, 1, 7, 5},
};

TEST(TImgProcBackend, PlanesBehindTheFirstAreDividedAndTruncated)
{
    for (const LayoutRow& row : kLayouts) {
        EXPECT_EQ(row.backend.GetPlaneCount(), row.planes);
        EXPECT_EQ(row.backend.GetHorizontalSubsampling(), row.hsub);
        EXPECT_EQ(row.backend.GetVerticalSubsampling(), row.vsub);
        EXPECT_EQ(row.backend.GetPlaneWidth(0, 7), 7);
        EXPECT_EQ(row.backend.GetPlaneHeight(0, 5), 5);
        for (size_t plane = 1; plane < kMaxPlanes; ++plane) {
            EXPECT_EQ(row.backend.GetPlaneWidth(plane, 7), row.chromaWidthOf7);
            EXPECT_EQ(row.backend.GetPlaneHeight(plane, 5), row.chromaHeightOf5);
            EXPECT_EQ(row.backend.GetPlaneWidth(plane, 1920), 1920 / row.hsub);
            EXPECT_EQ(row.backend.GetPlaneHeight(plane, 1080), 1080 / row.vsub);
            EXPECT_EQ(row.backend.GetPlaneHeight(plane, 0), 0);
        }
    }
}

TEST(TImgProcBackend, SamplesAreBytes)
{
    for (const LayoutRow& row : kLayouts) {
        EXPECT_EQ(row.backend.GetBytesPerSample(), 1);
        EXPECT_EQ(row.backend.GetBitsPerSample(), 8);
    }
}

TEST(TImgProcBackend, EveryLayoutRunsThePredictorsOfItsSampleType)
{
    std::mt19937 random(TestSeed());
    const PredictorKernels& reference = kPredictorImplementations[0];
    for (const LayoutRow& row : kLayouts)
        for (const PredictMethod method :
             {PredictMethod::Left, PredictMethod::Gradient, PredictMethod::Median}) {
            constexpr int width = 77;
            constexpr int height = 28;
            GuardedBlock samples({width, height, 80, 2});
            samples.Fill([&] { return random(); });
            GuardedBlock expected(samples);
            reference.predictInPlace(expected.View(), width, height, method);

            GuardedBlock inPlace(samples);
            row.backend.PredictInPlace(inPlace.View(), width, height, method);
            EXPECT_TRUE(SameBlock(inPlace, expected));
            for (const bool scored : {false, true}) {
                GuardedBlock target(samples);
                uint64_t counts[256] = {};
                if (scored)
                    row.backend.ScoreAndPredict(samples.View(), target.View(), width, height, method, counts,
                                                {});
                else
                    row.backend.Predict(samples.View(), target.View(), width, height, method, counts, {});
                EXPECT_TRUE(SameBlock(target, expected));
                EXPECT_EQ(std::accumulate(std::begin(counts), std::end(counts), uint64_t{0}),
                          uint64_t{(width + 3) / 4 * height});
            }
            GuardedBlock target(expected);
            const BlockView block{target.View(), height};
            row.backend.Unpredict({&block, 1}, width, method);
            EXPECT_TRUE(SameBlock(target, samples));
            EXPECT_EQ(row.backend.ScorePredictors(samples.View(), width, height),
                      reference.scorePredictors(samples.View(), width, height));
        }
}

} // namespace
