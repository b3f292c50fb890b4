// Every form of the predictors gives the bytes of the scalar form, and touches nothing outside the block.
#include "guarded_block.h"
#include "imgproc/backend/predictors.h"
#include "support/long_tests.h"
#include "support/printers.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>

using namespace imgproc;

namespace {

constexpr PredictMethod kMethods[] = {PredictMethod::Left, PredictMethod::Gradient, PredictMethod::Median};
const PredictorKernels& kReference = kPredictorImplementations[0];

using Counts = std::array<uint64_t, 256>;

/// Counters that hold something already, which kernels add to.
Counts SomeCounts(std::mt19937& random)
{
    Counts counts;
    std::ranges::generate(counts, [&] { return random() % 1000; });
    return counts;
}

/// Counts with those of the residuals of a block added, one by one.
Counts CountsWith(const Counts& before, GuardedBlock& residuals)
{
    Counts counts = before;
    for (int r = 0; r < residuals.Geometry().height; ++r)
        for (int c = 0; c < residuals.Geometry().width; c += 4)
            ++counts[residuals.At(r, c)];
    return counts;
}

/// Calls `check` with a block for widths of 1 to 300 at every alignment.
template <class Check>
void ForManyBlocks(Check check)
{
    std::mt19937 random(TestSeed());
    const int heightsEach = LongTests() ? 12 : 1;
    for (int width = 1; width <= 300; ++width)
        for (int alignment = 0; alignment < 16; ++alignment)
            for (int i = 0; i < heightsEach; ++i) {
                const int height = 1 + static_cast<int>(random() % (width < 100 ? 66 : 35));
                check(MakeBlock({width, height, RandomPitch(width, random), alignment}, random), random);
                if (testing::Test::HasFatalFailure())
                    return;
            }
}

TEST(PredictorForms, ForwardInPlaceGivesTheBytesOfTheScalarForm)
{
    ForManyBlocks([](const GuardedBlock& samples, std::mt19937& random) {
        const PredictMethod method = kMethods[random() % 3];
        const auto [width, height, pitch, alignment] = samples.Geometry();
        GuardedBlock expected(samples);
        kReference.predictInPlace(expected.View(), width, height, method);
        for (const PredictorKernels& form : kPredictorImplementations) {
            GuardedBlock actual(samples);
            form.predictInPlace(actual.View(), width, height, method);
            ASSERT_TRUE(SameBlock(actual, expected))
                << form.name << " " << samples.Geometry() << " " << method;
        }
    });
}

TEST(PredictorForms, ForwardOutOfPlaceGivesTheBytesOfTheFormInPlaceAndCountsThem)
{
    ForManyBlocks([](const GuardedBlock& samples, std::mt19937& random) {
        const PredictMethod method = kMethods[random() % 3];
        const auto [width, height, pitch, alignment] = samples.Geometry();
        GuardedBlock inPlace(samples);
        kReference.predictInPlace(inPlace.View(), width, height, method);
        const GuardedBlock target =
            MakeBlock({width, height, RandomPitch(width, random), static_cast<int>(random() % 16)}, random);
        GuardedBlock expected(target);
        for (int r = 0; r < height; ++r)
            for (int c = 0; c < width; ++c)
                expected.At(r, c) = inPlace.At(r, c);
        const Counts before = SomeCounts(random);
        const Counts after = CountsWith(before, expected);
        for (const PredictorKernels& form : kPredictorImplementations) {
            GuardedBlock source(samples);
            GuardedBlock actual(target);
            Counts counts = before;
            form.predict(source.View(), actual.View(), width, height, method, counts.data(), {});
            ASSERT_EQ(counts, after) << form.name << " " << samples.Geometry() << " " << method;
            ASSERT_TRUE(SameBlock(actual, expected))
                << form.name << " " << samples.Geometry() << " " << method;
            ASSERT_TRUE(SameBlock(source, samples)) << form.name << " " << samples.Geometry();
        }
    });
}

TEST(PredictorForms, InverseGivesTheBytesOfTheScalarForm)
{
    ForManyBlocks([](const GuardedBlock& residuals, std::mt19937&) {
        const auto [width, height, pitch, alignment] = residuals.Geometry();
        for (const PredictMethod method : kMethods) {
            GuardedBlock expected(residuals);
            kReference.UnpredictOne(expected.View(), width, height, method);
            for (const PredictorKernels& form : kPredictorImplementations) {
                GuardedBlock actual(residuals);
                form.UnpredictOne(actual.View(), width, height, method);
                ASSERT_TRUE(SameBlock(actual, expected))
                    << form.name << " " << residuals.Geometry() << " " << method;
            }
        }
    });
}

TEST(PredictorForms, InverseOfMedianIsRightAtEveryHeight)
{
    std::mt19937 random(TestSeed());
    for (const int width : {1, 2, 7, 15, 16, 17, 31, 32, 33, 47, 48, 64, 100}) {
        for (int height = 1; height <= 140; ++height) {
            const BlockGeometry geometry = {width, height, RandomPitch(width, random),
                                            static_cast<int>(random() % 16)};
            const GuardedBlock residuals = MakeBlock(geometry, random);
            GuardedBlock expected(residuals);
            kReference.UnpredictOne(expected.View(), width, height, PredictMethod::Median);
            for (const PredictorKernels& form : kPredictorImplementations) {
                GuardedBlock actual(residuals);
                form.UnpredictOne(actual.View(), width, height, PredictMethod::Median);
                ASSERT_TRUE(SameBlock(actual, expected)) << form.name << " " << geometry;
            }
        }
    }
}

TEST(PredictorForms, InverseOfManyBlocksIsThatOfEach)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 300; ++round) {
        const int width = 1 + static_cast<int>(random() % 70);
        std::vector<GuardedBlock> residuals;
        for (size_t count = random() % 9; count > 0; --count)
            residuals.push_back(MakeBlock({width, 1 + static_cast<int>(random() % 50),
                                           RandomPitch(width, random), static_cast<int>(random() % 16)},
                                          random));
        for (const PredictMethod method : kMethods)
            for (const PredictorKernels& form : kPredictorImplementations) {
                std::vector<GuardedBlock> actual(residuals);
                std::vector<BlockView> views;
                for (GuardedBlock& block : actual)
                    views.push_back({block.View(), block.Geometry().height});
                form.unpredict(views, width, method);
                for (size_t i = 0; i < residuals.size(); ++i) {
                    GuardedBlock expected(residuals[i]);
                    kReference.UnpredictOne(expected.View(), width, expected.Geometry().height, method);
                    ASSERT_TRUE(SameBlock(actual[i], expected))
                        << form.name << " block " << i << " of " << residuals.size() << ", "
                        << expected.Geometry() << " " << method;
                }
            }
    }
}

TEST(PredictorForms, InverseOfForwardIsTheBlock)
{
    ForManyBlocks([](const GuardedBlock& samples, std::mt19937&) {
        const auto [width, height, pitch, alignment] = samples.Geometry();
        for (const PredictMethod method : kMethods)
            for (const PredictorKernels& form : kPredictorImplementations) {
                GuardedBlock block(samples);
                form.predictInPlace(block.View(), width, height, method);
                form.UnpredictOne(block.View(), width, height, method);
                ASSERT_TRUE(SameBlock(block, samples))
                    << form.name << " " << samples.Geometry() << " " << method;
            }
    });
}

TEST(PredictorForms, ScoresAreThoseOfTheScalarForm)
{
    int scored = 0;
    ForManyBlocks([&](const GuardedBlock& samples, std::mt19937& random) {
        const auto [width, height, pitch, alignment] = samples.Geometry();
        GuardedBlock block(samples);
        const PredictorScores expected = kReference.scorePredictors(block.View(), width, height);
        scored += expected.median > 0;
        const GuardedBlock target =
            MakeBlock({width, height, RandomPitch(width, random), static_cast<int>(random() % 16)}, random);
        GuardedBlock residuals(target);
        const PredictMethod method = kMethods[random() % std::size(kMethods)];
        const Counts before = SomeCounts(random);
        Counts after = before;
        kReference.predict(block.View(), residuals.View(), width, height, method, after.data(), {});
        for (const PredictorKernels& form : kPredictorImplementations) {
            ASSERT_EQ(form.scorePredictors(block.View(), width, height), expected)
                << form.name << " " << samples.Geometry();
            GuardedBlock actual(target);
            Counts counts = before;
            ASSERT_EQ(
                form.scoreAndPredict(block.View(), actual.View(), width, height, method, counts.data(), {}),
                expected)
                << form.name << " " << samples.Geometry();
            ASSERT_EQ(counts, after) << form.name << " " << samples.Geometry();
            ASSERT_TRUE(SameBlock(actual, residuals)) << form.name << " " << samples.Geometry();
        }
        ASSERT_TRUE(SameBlock(block, samples));
    });
    EXPECT_GT(scored, 4000);
}

TEST(PredictorForms, FieldsAreBlocksOfTheirOwn)
{
    std::mt19937 random(TestSeed());
    for (int height = 2; height <= 70; height += 2) {
        const int width = 1 + static_cast<int>(random() % 200);
        const GuardedBlock samples =
            MakeBlock({width, height, RandomPitch(width, random), static_cast<int>(random() % 16)}, random);
        const int rows = height / 2;
        for (const PredictMethod method : kMethods)
            for (const PredictorKernels& form : kPredictorImplementations) {
                GuardedBlock block(samples);
                GuardedBlock expected(samples);
                for (int field = 0; field < 2; ++field) {
                    GuardedBlock alone({width, rows, width, 0});
                    for (int r = 0; r < rows; ++r)
                        std::copy_n(&expected.At(2 * r + field, 0), width, &alone.At(r, 0));
                    kReference.predictInPlace(alone.View(), width, rows, method);
                    for (int r = 0; r < rows; ++r)
                        std::copy_n(&alone.At(r, 0), width, &expected.At(2 * r + field, 0));
                    form.predictInPlace(FieldOf(block.View(), field), width, rows, method);
                }
                ASSERT_TRUE(SameBlock(block, expected)) << form.name << " " << samples.Geometry();
                for (int field = 0; field < 2; ++field)
                    form.UnpredictOne(FieldOf(block.View(), field), width, rows, method);
                ASSERT_TRUE(SameBlock(block, samples)) << form.name << " " << samples.Geometry();
            }
    }
}

// Rows that a field skips are those of the other one.
TEST(PredictorForms, FieldsAreScoredPredictedAndCountedOutOfPlace)
{
    std::mt19937 random(TestSeed());
    for (int height = 2; height <= 70; height += 2) {
        const int width = 1 + static_cast<int>(random() % 200);
        const int pitch = RandomPitch(width, random);
        const auto alignment = static_cast<int>(random() % 16);
        GuardedBlock samples = MakeBlock({width, height, pitch, alignment}, random);
        GuardedBlock target = MakeBlock({width, height, RandomPitch(width, random), 3}, random);
        for (const PredictMethod method : kMethods) {
            GuardedBlock expected(samples); // samples in place, and their residuals beside the guards
            for (int field = 0; field < 2; ++field)
                kReference.predictInPlace(FieldOf(expected.View(), field), width, height / 2, method);
            GuardedBlock wanted(target);
            for (int r = 0; r < height; ++r)
                std::copy_n(&expected.At(r, 0), width, &wanted.At(r, 0));
            const Counts counted = CountsWith({}, wanted);
            for (const PredictorKernels& form : kPredictorImplementations)
                for (const bool scored : {false, true}) {
                    GuardedBlock actual(target);
                    Counts counts{};
                    for (int field = 0; field < 2; ++field) {
                        const ConstPlaneInfo from = FieldOf(samples.View(), field);
                        const PlaneInfo to = FieldOf(actual.View(), field);
                        if (!scored)
                            form.predict(from, to, width, height / 2, method, counts.data(), {});
                        else
                            ASSERT_EQ(
                                form.scoreAndPredict(from, to, width, height / 2, method, counts.data(), {}),
                                kReference.scorePredictors(from, width, height / 2));
                    }
                    ASSERT_TRUE(SameBlock(actual, wanted))
                        << form.name << " " << samples.Geometry() << " " << method;
                    ASSERT_EQ(counts, counted) << form.name << " " << samples.Geometry() << " " << method;
                }
        }
    }
}

TEST(PredictorForms, RowsBelowABlockAreLeftAlone)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 300; ++round) {
        const int width = 1 + static_cast<int>(random() % 200);
        const int height = 1 + static_cast<int>(random() % 30);
        const RowsBelow below = {static_cast<int>(random() % 8), static_cast<int>(random() % 8)};
        GuardedBlock samples =
            MakeBlock({width, height + below.source, RandomPitch(width, random), 5}, random);
        const GuardedBlock target =
            MakeBlock({width, height + below.target, RandomPitch(width, random), 3}, random);
        const PredictMethod method = kMethods[random() % 3];
        GuardedBlock expected(target);
        Counts after{};
        kReference.predict(samples.View(), expected.View(), width, height, method, after.data(), {});
        const GuardedBlock before(samples);
        for (const PredictorKernels& form : kPredictorImplementations)
            for (const bool scored : {false, true}) {
                GuardedBlock actual(target);
                Counts counts{};
                if (scored)
                    form.scoreAndPredict(samples.View(), actual.View(), width, height, method, counts.data(),
                                         below);
                else
                    form.predict(samples.View(), actual.View(), width, height, method, counts.data(), below);
                ASSERT_TRUE(SameBlock(actual, expected)) << form.name << " " << samples.Geometry();
                ASSERT_EQ(counts, after) << form.name << " " << samples.Geometry();
                ASSERT_TRUE(SameBlock(samples, before)) << form.name << " " << samples.Geometry();
            }
    }
}

// The address sanitizer watches the ends of each allocation, which are the first and last bytes of the block
// here.
TEST(PredictorForms, NothingOutsideTheBlockIsReadOrWritten)
{
    std::mt19937 random(TestSeed());
    Counts counts{};
    for (int width = 1; width <= 100; ++width)
        for (const int height : {1, 2, 9, 16, 17, 31, 32}) {
            const size_t size = static_cast<size_t>(width) * static_cast<size_t>(height);
            const auto source = std::make_unique<uint8_t[]>(size);
            const auto target = std::make_unique<uint8_t[]>(size);
            std::generate_n(source.get(), size, [&] { return static_cast<uint8_t>(random()); });
            const std::vector<uint8_t> before(source.get(), source.get() + size);
            for (const int pitch : {width, -width}) {
                const ptrdiff_t start = pitch < 0 ? static_cast<ptrdiff_t>(width) * (height - 1) : 0;
                const PlaneInfo view = {source.get() + start, pitch};
                const PlaneInfo residuals = {target.get() + start, pitch};
                for (const PredictorKernels& form : kPredictorImplementations) {
                    for (const PredictMethod method : kMethods) {
                        form.predict(view, residuals, width, height, method, counts.data(), {});
                        form.UnpredictOne(residuals, width, height, method);
                        ASSERT_TRUE(std::equal(before.begin(), before.end(), target.get()))
                            << form.name << " " << width << " x " << height;
                        form.predictInPlace(view, width, height, method);
                        form.UnpredictOne(view, width, height, method);
                        ASSERT_TRUE(std::equal(before.begin(), before.end(), source.get()))
                            << form.name << " " << width << " x " << height;
                    }
                    const PredictorScores scores = form.scorePredictors(view, width, height);
                    ASSERT_EQ(form.scoreAndPredict(view, residuals, width, height, PredictMethod::Median,
                                                   counts.data(), {}),
                              scores);
                }
            }
        }
}

TEST(PredictorForms, CallersGetTheVectorImplementationWhereThereIsOne)
{
#ifdef ORVANE_SSE2
    EXPECT_STREQ(kPredictors.name, "sse2");
#else
    EXPECT_STREQ(kPredictors.name, "scalar");
#endif
}

} // namespace
