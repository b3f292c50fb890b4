#include "imgproc/frontend/planar_frontends.h"

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>

using namespace imgproc;

namespace {

struct PlanarSet {
    ImgProcFrontend_Y8 y8;
    ImgProcFrontend_I420 i420;
    ImgProcFrontend_I444 i444;
    ImgProcFrontend_YV12 yv12;
    ImgProcFrontend_YV24 yv24;

    std::array<const ImgProcFrontend*, 5> All() const { return {&y8, &i420, &i444, &yv12, &yv24}; }
};

} // namespace

TEST(PlanarFrontends, AnyAddressAndPitchWillDo)
{
    const PlanarSet set;
    for (const ImgProcFrontend* frontend : set.All())
        for (const size_t plane : {0, 1, 2, 3}) {
            EXPECT_EQ(frontend->GetDefaultRowAlignment(plane), 1);
            EXPECT_EQ(frontend->GetBaseAlignment(plane), 1);
            EXPECT_EQ(frontend->GetPitchAlignment(plane), 1);
            EXPECT_EQ(frontend->GetGroupBytes(plane), 1);
            EXPECT_EQ(frontend->GetGroupPixels(plane), 1);
            EXPECT_FALSE(frontend->SupportsFlip());
        }
}

TEST(PlanarFrontends, ChromaSizesTruncate)
{
    const PlanarSet set;
    for (const ImgProcFrontend* frontend :
         std::initializer_list<const ImgProcFrontend*>{&set.i420, &set.yv12}) {
        EXPECT_EQ(frontend->GetPlaneCount(), 3U);
        EXPECT_EQ(frontend->GetPlaneWidth(0, 5), 5);
        EXPECT_EQ(frontend->GetPlaneHeight(0, 5), 5);
        for (const size_t plane : {1, 2}) {
            EXPECT_EQ(frontend->GetPlaneWidth(plane, 5), 2);
            EXPECT_EQ(frontend->GetPlaneHeight(plane, 5), 2);
            EXPECT_EQ(frontend->GetPlaneWidth(plane, -5), -2);
        }
        EXPECT_EQ(frontend->planeBackend.GetHorizontalSubsampling(), 2);
        EXPECT_EQ(frontend->nativeBackend.GetVerticalSubsampling(), 2);
    }
    for (const ImgProcFrontend* frontend :
         std::initializer_list<const ImgProcFrontend*>{&set.i444, &set.yv24}) {
        EXPECT_EQ(frontend->GetPlaneCount(), 3U);
        EXPECT_EQ(frontend->GetPlaneWidth(1, 5), 5);
        EXPECT_EQ(frontend->GetPlaneHeight(2, 5), 5);
        EXPECT_EQ(frontend->planeBackend.GetHorizontalSubsampling(), 1);
    }
    EXPECT_EQ(set.y8.GetPlaneCount(), 1U);
    EXPECT_EQ(set.y8.planeBackend.GetPlaneCount(), 1U);
}

TEST(PlanarFrontends, PlanesAreTheHostsOwn)
{
    const PlanarSet set;
    uint8_t memory[4];
    for (const ImgProcFrontend* frontend : set.All()) {
        const bool vFirst = frontend == &set.yv12 || frontend == &set.yv24;
        for (size_t plane = 0; plane < frontend->planeBackend.GetPlaneCount(); ++plane)
            EXPECT_EQ(frontend->GetHostPlane(plane), vFirst && plane > 0 ? 3 - plane : plane);
        for (const PlaneShape& shape : frontend->PrepareBuffers({memory, 11}, 4, 4, false))
            EXPECT_EQ(shape.Bytes(), 0U) << "nothing is to be stored";
    }
}

TEST(PlanarFrontends, SplitAndJoinTouchNothing)
{
    const PlanarSet set;
    const PlaneArray nothing; // null pointers: any access would fault
    for (const ImgProcFrontend* frontend : set.All())
        for (const int rows : {-1, 0, 1, 1000}) {
            frontend->Split(ReadOnly(nothing), 1000, rows, nothing);
            frontend->Join(nothing, 1000, rows, ReadOnly(nothing));
        }
}
