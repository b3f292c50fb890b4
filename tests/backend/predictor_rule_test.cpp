// The meaning of the predictors, held to a table of the prediction of every position.
#include "guarded_block.h"
#include "imgproc/backend/predictors.h"
#include "support/printers.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

using namespace imgproc;

namespace {

constexpr PredictMethod kMethods[] = {PredictMethod::Left, PredictMethod::Gradient, PredictMethod::Median};

/// The residual of one sample, position by position.
int TableResidual(GuardedBlock& block, int r, int c, PredictMethod method)
{
    const int sample = block.At(r, c);
    if (r == 0 && c == 0)
        return sample;
    if (r == 0)
        return (sample - block.At(r, c - 1)) & 255;
    if (c == 0)
        return (sample - block.At(r - 1, c)) & 255;
    const int left = block.At(r, c - 1);
    const int above = block.At(r - 1, c);
    const int gradient = (left + above - block.At(r - 1, c - 1)) & 255;
    if (method == PredictMethod::Left)
        return (sample - left) & 255;
    if (method == PredictMethod::Gradient)
        return (sample - gradient) & 255;
    std::array<int, 3> three = {left, above, gradient};
    std::ranges::sort(three);
    return (sample - three[1]) & 255;
}

GuardedBlock TableResiduals(GuardedBlock samples, PredictMethod method)
{
    GuardedBlock residuals(samples);
    for (int r = 0; r < samples.Geometry().height; ++r)
        for (int c = 0; c < samples.Geometry().width; ++c)
            residuals.At(r, c) = static_cast<uint8_t>(TableResidual(samples, r, c, method));
    return residuals;
}

/// Columns from 1 to the last before the next multiple of 16 above column 0 are not scored, then whole
/// sixteens are.
PredictorScores TableScores(GuardedBlock& block)
{
    PredictorScores scores;
    const int width = block.Geometry().width;
    for (int r = 1; r < block.Geometry().height; ++r) {
        int first = 1;
        while (reinterpret_cast<uintptr_t>(&block.At(r, 0) + first) % 16 != 0)
            ++first;
        for (int c = first; c < width && c < first + (width - first) / 16 * 16; ++c) {
            const auto score = [&](PredictMethod method) {
                return static_cast<uint32_t>(std::abs(TableResidual(block, r, c, method) - 128));
            };
            scores.left += score(PredictMethod::Left);
            scores.gradient += score(PredictMethod::Gradient);
            scores.median += score(PredictMethod::Median);
        }
    }
    return scores;
}

class PredictorRule : public testing::TestWithParam<PredictorKernels>
{
  protected:
    const PredictorKernels& form = GetParam();
    std::mt19937 random{TestSeed()};
};
INSTANTIATE_TEST_SUITE_P(Forms, PredictorRule, testing::ValuesIn(kPredictorImplementations),
                         [](const auto& test) { return std::string(test.param.name); });

std::string Residuals(const PredictorKernels& form, PredictMethod method, std::vector<uint8_t> samples,
                      int width)
{
    form.predictInPlace({samples.data(), width}, width, static_cast<int>(samples.size()) / width, method);
    std::string text;
    for (const uint8_t residual : samples)
        text += std::to_string(residual) + " ";
    return text;
}

TEST_P(PredictorRule, BlockOfThreeByTwoWorkedByHand)
{
    const std::vector<uint8_t> samples = {10, 12, 15, 11, 13, 200};
    EXPECT_EQ(Residuals(form, PredictMethod::Left, samples, 3), "10 2 3 1 2 187 ");
    EXPECT_EQ(Residuals(form, PredictMethod::Gradient, samples, 3), "10 2 3 1 0 184 ");
    EXPECT_EQ(Residuals(form, PredictMethod::Median, samples, 3), "10 2 3 1 1 185 ");
}

TEST_P(PredictorRule, GradientWrapsBeforeTheMedianIsTaken)
{
    // L 200, T 100, TL 20: the gradient, 280, is 24 and the median 100.
    const std::vector<uint8_t> samples = {20, 100, 200, 77};
    EXPECT_EQ(Residuals(form, PredictMethod::Gradient, samples, 2), "20 80 180 53 ");
    EXPECT_EQ(Residuals(form, PredictMethod::Median, samples, 2), "20 80 180 233 ");
}

TEST_P(PredictorRule, ResidualsAreThoseOfTheTable)
{
    for (int width = 1; width <= 50; ++width)
        for (const int height : {1, 2, 3, 16, 33})
            for (const PredictMethod method : kMethods) {
                const BlockGeometry geometry = {width, height, RandomPitch(width, random),
                                                static_cast<int>(random() % 16)};
                GuardedBlock block = MakeBlock(geometry, random);
                const GuardedBlock samples(block);
                form.predictInPlace(block.View(), width, height, method);
                ASSERT_TRUE(SameBlock(block, TableResiduals(samples, method))) << geometry << " " << method;
            }
}

TEST_P(PredictorRule, ScoresAreThoseOfTheTable)
{
    int scored = 0;
    for (int width = 1; width <= 80; ++width)
        for (int alignment = 0; alignment < 16; ++alignment) {
            const BlockGeometry geometry = {width, 1 + static_cast<int>(random() % 6),
                                            RandomPitch(width, random), alignment};
            GuardedBlock block = MakeBlock(geometry, random);
            const PredictorScores scores = form.scorePredictors(block.View(), width, geometry.height);
            ASSERT_EQ(scores, TableScores(block)) << geometry;
            scored += scores.median > 0;
        }
    EXPECT_GT(scored, 400);
}

TEST_P(PredictorRule, AllEqualBlockScoresAHundredAndTwentyEightForEachScoredSample)
{
    GuardedBlock block({64, 5, 64, 0});
    block.Fill([] { return 99; });
    // Columns 16 to 63 of four rows.
    constexpr uint32_t sum = 128 * 48 * 4;
    EXPECT_EQ(form.scorePredictors(block.View(), 64, 5), (PredictorScores{sum, sum, sum}));
    for (const PredictMethod method : kMethods) {
        GuardedBlock residuals(block);
        form.predictInPlace(residuals.View(), 64, 5, method);
        for (int i = 0; i < 64 * 5; ++i)
            ASSERT_EQ(residuals.At(i / 64, i % 64), i == 0 ? 99 : 0) << method << " sample " << i;
    }
}

TEST_P(PredictorRule, ScoresOfTheSameSamplesDependOnTheAddress)
{
    // Of 33 columns, heads of 14, 15 and 0 behind column 0 leave one, one and two whole sixteens.
    for (const auto& [alignment, scored] : {std::pair(1, 16), std::pair(0, 16), std::pair(15, 32)}) {
        GuardedBlock block({33, 2, 48, alignment});
        block.Fill([] { return 5; });
        const uint32_t sum = 128U * static_cast<uint32_t>(scored);
        EXPECT_EQ(form.scorePredictors(block.View(), 33, 2), (PredictorScores{sum, sum, sum})) << alignment;
    }
    GuardedBlock narrow({31, 2, 48, 0});
    EXPECT_EQ(form.scorePredictors(narrow.View(), 31, 2), PredictorScores());
}

TEST_P(PredictorRule, OneRowHasNoScore)
{
    GuardedBlock block = MakeBlock({300, 1, 300, 3}, random);
    EXPECT_EQ(form.scorePredictors(block.View(), 300, 1), PredictorScores());
}

TEST_P(PredictorRule, ScoresWrapAtThirtyTwoBits)
{
    // All rows are one row: Left and Median are perfect, and the sum of 4080 x 8225 samples passes 2^32.
    GuardedBlock row({4096, 1, 4096, 0});
    row.Fill([] { return 1; });
    constexpr int height = 8226;
    constexpr auto sum = static_cast<uint32_t>(128ULL * 4080 * (height - 1));
    static_assert(128ULL * 4080 * (height - 1) > UINT32_MAX);
    EXPECT_EQ(form.scorePredictors({row.View().data, 0}, 4096, height), (PredictorScores{sum, sum, sum}));
}

TEST_P(PredictorRule, UnknownMethodsAreMedian)
{
    for (const uint32_t value : {0U, 4U, 5U, 255U, 257U, UINT32_MAX}) {
        const auto method = static_cast<PredictMethod>(value);
        GuardedBlock block = MakeBlock({40, 20, 43, 5}, random);
        const GuardedBlock samples(block);
        form.predictInPlace(block.View(), 40, 20, method);
        EXPECT_TRUE(SameBlock(block, TableResiduals(samples, PredictMethod::Median))) << value;
        form.UnpredictOne(block.View(), 40, 20, method);
        EXPECT_TRUE(SameBlock(block, samples)) << value;
    }
}

TEST_P(PredictorRule, EmptyBlocksAreLeftAlone)
{
    GuardedBlock block({20, 20, 20, 0});
    block.Fill([this] { return random(); });
    GuardedBlock target(block);
    const GuardedBlock before(block);
    std::array<uint64_t, 256> counts{};
    for (const auto& [width, height] : {std::pair(0, 4), std::pair(4, 0), std::pair(0, 0), std::pair(-1, 4),
                                        std::pair(4, -1), std::pair(INT32_MIN, 9), std::pair(9, INT32_MIN)}) {
        for (const PredictMethod method : kMethods) {
            form.predict(block.View(), target.View(), width, height, method, counts.data(), {});
            form.predictInPlace(block.View(), width, height, method);
            form.UnpredictOne(block.View(), width, height, method);
        }
        EXPECT_EQ(form.scorePredictors(block.View(), width, height), PredictorScores());
        EXPECT_EQ(form.scoreAndPredict(block.View(), target.View(), width, height, PredictMethod::Median,
                                       counts.data(), {}),
                  PredictorScores());
    }
    EXPECT_TRUE(SameBlock(block, before));
    EXPECT_TRUE(SameBlock(target, before));
    EXPECT_EQ(counts, (std::array<uint64_t, 256>{}));
}

} // namespace
