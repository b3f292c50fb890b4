#include "common/plane_layout.h"

#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <random>

namespace {

TEST(PlaneLayout, StaggersPlanesAndKeepsTheirPhases)
{
    const PlaneLayout layout = LayOutPlanes({{{100, 4, 0}, {50, 2, 60}, {50, 2, 1}, {}}});
    EXPECT_EQ(layout.offset, (std::array<size_t, 4>{0, 1024 + 256 + 60, 2048 + 512 + 1, 0}));
    EXPECT_EQ(layout.size, 2048 + 512 + 1 + 100 + kLayoutMargin);
    EXPECT_EQ(LayOutPlanes({}).size, 0U);
}

TEST(PlaneLayout, PlanesNeverOverlapAndTheBoundHoldsForAllPhases)
{
    std::mt19937 random(TestSeed());
    for (int round = 0; round < 20000; ++round) {
        PlaneShapes shapes{};
        for (PlaneShape& shape : shapes)
            if (random() % 4 != 0)
                shape = {static_cast<int32_t>(1 + random() % 3000), static_cast<int32_t>(1 + random() % 30),
                         static_cast<uint32_t>(random() % kRowBoundary)};
        const PlaneLayout layout = LayOutPlanes(shapes);
        size_t end = 0;
        for (size_t i = 0; i < shapes.size(); ++i) {
            if (shapes[i].Bytes() == 0)
                continue;
            ASSERT_GE(layout.offset[i], end) << "round " << round;
            ASSERT_EQ(layout.offset[i] % kRowBoundary, shapes[i].phase) << "round " << round;
            end = layout.offset[i] + shapes[i].Bytes();
        }
        ASSERT_LE(end + (end > 0 ? kLayoutMargin : 0), layout.size) << "round " << round;
        ASSERT_GE(LayoutBound(shapes), layout.size) << "round " << round;

        PlaneShapes smaller = shapes;
        for (PlaneShape& shape : smaller)
            shape.rows -= shape.rows > 0 ? static_cast<int32_t>(random()) & 1 : 0;
        ASSERT_GE(LayoutBound(shapes), LayOutPlanes(smaller).size) << "round " << round;
    }
}

TEST(PlaneLayout, PhasesOfRowsFollowThePitch)
{
    const PlaneShape shape{67, 100, 5};
    for (int row = 0; row < shape.rows; ++row)
        EXPECT_EQ(PhaseOfRow(shape, row), (5 + 67U * static_cast<uint32_t>(row)) % 64);
}

} // namespace
