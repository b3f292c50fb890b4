#include "core/frame_planes.h"

#include "support/plan_maker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace core {
namespace {

constexpr uint32_t kSide = 112; // four bands
constexpr uint8_t kSource = 0x10, kUntouched = 0xEE;

/// Four planes of kSide rows.
struct Planes {
    explicit Planes(uint8_t fill)
    {
        for (size_t i = 0; i < memory.size(); ++i) {
            memory[i].assign(size_t{kSide} * kSide, fill);
            planes[i] = {memory[i].data(), kSide};
        }
    }

    std::array<std::vector<uint8_t>, kMaxPlanes> memory;
    PlaneArray planes;
};

TEST(ConvertBlock, WritesItsOwnBandAlone)
{
    for (const bool interlaced : {false, true}) {
        PlanMaker maker;
        const RunPlan plan = maker.Make({.host = kHostI444,
                                         .code = kCodeYuv422,
                                         .width = kSide,
                                         .height = kSide,
                                         .interlaced = interlaced});
        const Planes source(kSource);
        for (size_t band = 0; band < plan.bandCount; ++band) {
            const Planes target(kUntouched);
            ConvertBlock(plan, ReadOnly(source.planes), target.planes, 0, band);
            const Band own = plan.BandAt(band);
            for (int row = 0; row < static_cast<int>(kSide); ++row) {
                const bool isOwn = row >= own.first && row < own.first + own.rows;
                EXPECT_EQ(target.memory[1][size_t{kSide} * static_cast<size_t>(row)],
                          isOwn ? kSource : kUntouched)
                    << "band " << band << ", row " << row << (interlaced ? ", interlaced" : "");
            }
        }
    }
}

} // namespace
} // namespace core
