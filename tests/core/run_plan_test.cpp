#include "core/run_plan.h"

#include "core/band_items.h"
#include "support/plan_maker.h"

#include <gtest/gtest.h>

#include <vector>

namespace core {
namespace {

using Steps = std::vector<PassStep>;

std::vector<Storage> StorageOf(const PlanePlans& planes)
{
    std::vector<Storage> list;
    for (const PlanePlan& plane : planes)
        if (plane.storage != Storage::None)
            list.push_back(plane.storage);
    return list;
}

using Stored = std::vector<Storage>;

TEST(RunPlan, OfPlanarPicturesStoresResidualsOnly)
{
    PlanMaker maker;
    const RunPlan plan = maker.Make({.host = kHostYv12});
    EXPECT_EQ(plan.planeCount, 3U);
    EXPECT_EQ(plan.bandCount, 3U);
    EXPECT_EQ(plan.blocks.size(), 9U);
    EXPECT_EQ(StorageOf(plan.image), Stored(3, Storage::Picture));
    EXPECT_EQ(plan.image[1].hostPlane, 2U) << "V is the picture's second plane";
    EXPECT_EQ(plan.steps, (Steps{{0, PassStep::Predict, 0}}));
    EXPECT_EQ(plan.imageBytes + plan.convertedBytes, 0U);
    EXPECT_EQ(plan.residualBytes, LayOutPlanes({{{64, 60}, {32, 30}, {32, 30}, {}}}).size);
    EXPECT_EQ(plan.ScratchBytes(1), 0U);
    EXPECT_EQ(plan.symbolsPerBlock, 64U * 28);
    EXPECT_GE(plan.slotBytes, 64U * 28 * 12 / 8 + 8);
}

TEST(RunPlan, OfPackedPicturesGoesBandByBand)
{
    PlanMaker maker;
    const RunPlan plan = maker.Make({.host = kHostBgra, .code = kCodeRgba});
    EXPECT_EQ(StorageOf(plan.image), Stored(4, Storage::Scratch));
    EXPECT_EQ(plan.steps, (Steps{{0, PassStep::Transform, 0}, {0, PassStep::Predict, 0}}));
    EXPECT_EQ(plan.imageBytes, 0U);
    EXPECT_GE(plan.ScratchBytes(1), 4U * 64 * 28);
    EXPECT_LT(plan.ScratchBytes(1), plan.ScratchBytes(2));
    EXPECT_EQ(plan.ScratchBytes(3), plan.ScratchBytes(100)) << "no more rows than the picture has";

    RunInputs separate = maker.InputsOf({.host = kHostBgra, .code = kCodeRgba, .compressing = false});
    separate.separateRuns = true;
    const RunPlan apart = MakeRunPlan(separate);
    EXPECT_EQ(StorageOf(apart.image), Stored(4, Storage::Image)) << "planes wait for the next pool run";
    EXPECT_EQ(apart.steps, (Steps{{0, PassStep::Decode, 0}, {1, PassStep::JoinPicture, 0}}));
    EXPECT_GE(apart.imageBytes, 4U * 64 * 60);
    EXPECT_EQ(apart.ScratchBytes(1), 0U);
}

TEST(RunPlan, OfConvertersKeepsWholePlanesAndWaitsWhereRowsOfOtherBandsAreRead)
{
    PlanMaker maker;
    const RunPlan down = maker.Make({.host = kHostBgr, .code = kCodeYuv420});
    EXPECT_EQ(StorageOf(down.image), Stored(3, Storage::Image));
    EXPECT_EQ(StorageOf(down.coded), (Stored{Storage::Image, Storage::Converted, Storage::Converted}));
    EXPECT_TRUE(down.PredictsInPlace(0) && down.PredictsInPlace(1));
    EXPECT_EQ(down.residualBytes, 0U);
    EXPECT_EQ(down.steps,
              (Steps{{0, PassStep::Transform, 0}, {1, PassStep::ConvertPass, 0}, {1, PassStep::Predict, 0}}));
    // A single band has no neighbors.
    const RunPlan single = maker.Make({.host = kHostBgr, .code = kCodeYuv420, .height = 28});
    EXPECT_EQ(single.steps.back().step, 0);

    const RunPlan up = maker.Make({.host = kHostI444, .code = kCodeYuv420, .compressing = false});
    EXPECT_EQ(StorageOf(up.coded), (Stored{Storage::Picture, Storage::Converted, Storage::Converted}));
    EXPECT_EQ(
        up.steps,
        (Steps{{0, PassStep::Decode, 0}, {0, PassStep::ConvertPass, 0}, {1, PassStep::ConvertPass, 1}}));
}

TEST(RunPlan, KnowsWhetherBlocksCoverWholeRows)
{
    PlanMaker maker;
    const auto whole = [&](uint32_t blockHeight, bool interlaced, uint32_t listHeight) {
        RunInputs inputs =
            maker.InputsOf({.compressing = false, .interlaced = interlaced, .blockHeight = blockHeight});
        inputs.listBlockHeight = listHeight;
        return MakeRunPlan(inputs).wholeRows;
    };
    EXPECT_TRUE(whole(28, false, 28));
    EXPECT_TRUE(whole(28, true, 28));
    EXPECT_TRUE(whole(61, true, 61)) << "one block";
    EXPECT_FALSE(whole(27, false, 27)) << "half a chroma row";
    EXPECT_FALSE(whole(26, true, 26)) << "half a row of a chroma field";
    EXPECT_FALSE(whole(28, false, 26)) << "a list of another height";
    EXPECT_FALSE(whole(0, false, 0));
}

TEST(BandItems, ShareOutEveryBandOnce)
{
    for (size_t bands = 0; bands <= 100; ++bands)
        for (size_t threads = 1; threads <= 9; ++threads)
            for (const BandItems& items : {LargeItems(bands, threads), EvenItems(bands, threads)}) {
                size_t next = 0;
                for (size_t item = 0; item < items.count; ++item) {
                    const BandRange range = items.Of(item);
                    ASSERT_EQ(range.first, next);
                    ASSERT_GT(range.end, range.first);
                    ASSERT_LE(range.end - range.first, items.Largest());
                    next = range.end;
                }
                ASSERT_EQ(next, bands) << threads << " threads";
                ASSERT_LE(items.Largest(), kMaxBandsPerItem);
            }
}

} // namespace
} // namespace core
