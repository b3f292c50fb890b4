#include "imgproc/frontend/frontend_set.h"

#include "support/plain_layouts.h"

#include <gtest/gtest.h>

#include <set>
#include <typeindex>
#include <utility>
#include <vector>

using namespace imgproc;

namespace {

using Pair = std::pair<FormatId, FormatId>; // host layout, planes

/// The planes that a layout gives without a converter.
std::set<FormatId> PlanesOf(const PlainLayout& layout)
{
    if (layout.planar || layout.code == kCodeYuva)
        return {layout.code};
    switch (layout.code) {
    case kCodeRgba:
        return {kCodeRgba, kCodeYuva};
    case kCodeRgb:
        return {kCodeRgb, kCodeYuv444, kCodeGray};
    default:
        return {layout.code, kCodeGray};
    }
}

std::set<Pair> DirectPairs()
{
    std::set<Pair> pairs;
    for (const PlainLayout& layout : kPlainLayouts)
        for (const FormatId planes : PlanesOf(layout))
            pairs.insert({layout.host, planes});
    return pairs;
}

/// RGB to YUV: one front end for each matrix.
bool ConvertsColor(const Pair& pair)
{
    const PlainLayout* layout = FindPlainLayout(pair.first);
    return layout && layout->IsRgb() && pair.second != kCodeRgb && pair.second != kCodeRgba;
}

} // namespace

TEST(FrontendSet, HoldsOneObjectOfEachClass)
{
    const FrontendSet set;
    std::set<std::type_index> classes;
    size_t objects = 0;
    set.ForEach([&](const FrontendKey&, const ImgProcFrontend& frontend) {
        classes.insert(typeid(frontend));
        ++objects;
    });
    size_t expected = 0;
    for (const Pair& pair : DirectPairs())
        expected += ConvertsColor(pair) ? kColorStandards : 1;
    EXPECT_EQ(objects, expected);
    EXPECT_EQ(classes.size(), objects);
}

TEST(FrontendSet, FindsEveryObjectByItsKey)
{
    const FrontendSet set;
    set.ForEach([&](const FrontendKey& key, const ImgProcFrontend& frontend) {
        EXPECT_EQ(set.Find(key.host, key.planes, key.standard), &frontend);
    });
}

TEST(FrontendSet, OnlyColourConversionsDependOnTheStandard)
{
    const FrontendSet set;
    for (FormatId host = 0; host <= 255; ++host)
        for (FormatId planes = 0; planes <= 255; ++planes) {
            std::set<const ImgProcFrontend*> found;
            for (int standard = 0; standard < kColorStandards; ++standard)
                found.insert(set.Find(host, planes, static_cast<ColorStandard>(standard)));
            const bool converts = ConvertsColor({host, planes}) && *found.begin();
            EXPECT_EQ(found.size(), converts ? 4U : 1U) << host << ' ' << planes;
        }
}

TEST(FrontendSet, ServesExactlyTheDirectPairs)
{
    const FrontendSet set;
    std::set<Pair> served;
    for (FormatId host = 0; host <= 255; ++host)
        for (FormatId planes = 0; planes <= 255; ++planes)
            if (set.Find(host, planes, ColorStandard::Rec709_Full))
                served.insert({host, planes});
    EXPECT_EQ(served, DirectPairs());
}

TEST(FrontendSet, KeysLeadToTheNamedClasses)
{
    const FrontendSet set;
    const auto is = [&]<class Expected>(std::type_identity<Expected>, FormatId host, FormatId planes,
                                        ColorStandard standard) {
        return dynamic_cast<const Expected*>(set.Find(host, planes, standard)) != nullptr;
    };
    const auto any = ColorStandard::Rec601_Full;
    using std::type_identity;
    EXPECT_TRUE(
        is(type_identity<TImgProcFrontend32<4, Decorr4<1, 2, 3, 0, DecorrAlgoRGB>>>{}, kHostArgb, 102, any));
    EXPECT_TRUE(is(type_identity<TImgProcFrontend32<4, Decorr4<1, 2, 3, 0, DecorrAlgoYUV>>>{}, 8, 106, any));
    EXPECT_TRUE(
        is(type_identity<TImgProcFrontend24<3, Decorr3<2, 1, 0, DecorrAlgoRGBToYUV<Rec709_Limited>>>>{}, 3,
           103, ColorStandard::Rec709_Limited));
    EXPECT_TRUE(is(type_identity<TImgProcFrontend24<1, Decorr3<0, 1, 2, DecorrAlgoRGBToYUV<Rec601_Full>>>>{},
                   22, 107, ColorStandard::Rec601_Full));
    EXPECT_TRUE(is(type_identity<TImgProcFrontend_YUY2_UYVY<OrderUyvy, true>>{}, 5, 107, any));
    EXPECT_TRUE(is(type_identity<ImgProcFrontend_YV12>{}, 6, 105, any));
    EXPECT_TRUE(is(type_identity<ImgProcFrontend_I420>{}, 10, 105, any));
    EXPECT_FALSE(is(type_identity<ImgProcFrontend_YV12>{}, 10, 105, any));
}

TEST(ColorStandard, FollowsMatrixAndRange)
{
    EXPECT_EQ(StandardOf(1, true), ColorStandard::Rec601_Full);
    EXPECT_EQ(StandardOf(1, false), ColorStandard::Rec601_Limited);
    for (const uint32_t matrix : {0U, 2U, 3U, 0xFFFFFFFFU}) {
        EXPECT_EQ(StandardOf(matrix, true), ColorStandard::Rec709_Full);
        EXPECT_EQ(StandardOf(matrix, false), ColorStandard::Rec709_Limited);
    }
}

TEST(ConverterSet, LeadsFromLayoutToLayout)
{
    struct Row {
        FormatId from, to;
        int sourceH, sourceV, targetH, targetV, passes;
    };
    const Row rows[] = {
        {103, 104, 1, 1, 2, 1, 1}, {103, 105, 1, 1, 2, 2, 1}, {104, 105, 2, 1, 2, 2, 1},
        {104, 103, 2, 1, 1, 1, 1}, {105, 104, 2, 2, 2, 1, 2}, {105, 103, 2, 2, 1, 1, 2},
        {107, 103, 1, 1, 1, 1, 1}, {107, 105, 1, 1, 2, 2, 1}, {103, 107, 1, 1, 1, 1, 0},
        {105, 107, 2, 2, 1, 1, 0},
    };
    ConverterSet set;
    std::set<const ImgProcConverter*> found;
    for (const Row& row : rows) {
        const ImgProcConverter* const converter = set.Find(row.from, row.to);
        ASSERT_NE(converter, nullptr);
        found.insert(converter);
        EXPECT_EQ(converter->sourceBackend.GetHorizontalSubsampling(), row.sourceH);
        EXPECT_EQ(converter->sourceBackend.GetVerticalSubsampling(), row.sourceV);
        EXPECT_EQ(converter->targetBackend.GetHorizontalSubsampling(), row.targetH);
        EXPECT_EQ(converter->targetBackend.GetVerticalSubsampling(), row.targetV);
        EXPECT_EQ(converter->sourceBackend.GetPlaneCount(), row.from == 107 ? 1U : 3U);
        EXPECT_EQ(converter->targetBackend.GetPlaneCount(), row.to == 107 ? 1U : 3U);
        EXPECT_EQ(converter->GetPassCount(), row.passes);
        const bool writes = row.passes > 0;
        EXPECT_EQ(converter->GetConvertedPlanes(), (std::array<bool, 4>{false, writes, writes, false}));
    }
    EXPECT_EQ(found.size(), 10U);
    for (FormatId from = 100; from < 110; ++from)
        for (FormatId to = 100; to < 110; ++to)
            found.insert(set.Find(from, to));
    EXPECT_EQ(found.size(), 11U); // the ten and null
}

TEST(ConverterSet, OnlyFiltersOverRowsDependOnOtherBands)
{
    const ConverterSet set;
    const std::set<std::pair<FormatId, FormatId>> readsAbove = {{103, 105}, {104, 105}};
    for (FormatId from : {103, 104, 105, 107})
        for (FormatId to : {103, 104, 105, 107})
            if (const ImgProcConverter* const converter = set.Find(from, to))
                for (const bool interpolate : {false, true}) {
                    const bool neighbours = interpolate && readsAbove.contains({from, to});
                    EXPECT_EQ(converter->GetRowDependency(0, interpolate), neighbours ? 0U : 1U)
                        << from << ' ' << to;
                    if (converter->GetPassCount() == 2) {
                        EXPECT_EQ(converter->GetRowDependency(1, interpolate), 0U);
                    }
                }
}
