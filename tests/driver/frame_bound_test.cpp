#include "driver/frame_bound.h"

#include "driver/driver_session.h"

#include <gtest/gtest.h>

using namespace driver;

namespace {

struct BoundCase {
    int input;
    int code;
    uint32_t width;
    uint32_t height;
    uint32_t payload; ///< raw planes, rounded up to a multiple of four
    uint32_t share;   ///< of the record as MakeStream writes it
};

// share = 2 * (2 + 6 * (((code - 101) * 6 + 2) * 32 + 0)) for matrix 2, flags 0x220000, coder type 2.
constexpr BoundCase kCases[] = {
    {3, 101, 64, 48, 9216, 2 * (2 + 6 * 64)},         {2, 102, 64, 48, 12288, 2 * (2 + 6 * 256)},
    {7, 103, 64, 48, 9216, 2 * (2 + 6 * 448)},        {4, 104, 64, 48, 6144, 2 * (2 + 6 * 640)},
    {6, 105, 64, 48, 4608, 2 * (2 + 6 * 832)},        {8, 106, 64, 48, 12288, 2 * (2 + 6 * 1024)},
    {9, 107, 64, 48, 3072, 2 * (2 + 6 * 1216)},       {9, 107, 5, 5, 28, 2 * (2 + 6 * 1216)},
    {6, 105, 1920, 1080, 3110400, 2 * (2 + 6 * 832)}, {3, 105, 64, 48, 4608, 2 * (2 + 6 * 832)},
};

FrameHeader RecordOf(const BoundCase& row)
{
    return MakeStream(row.code, static_cast<int>(row.width), static_cast<int>(row.height)).record;
}

} // namespace

TEST(FrameSizeBound, IsTheCoresBoundAndTheRecordsShare)
{
    const Orvane codec(true, true);
    for (const BoundCase& row : kCases)
        EXPECT_EQ(FrameSizeBound(codec, row.input, RecordOf(row)), 262144 + row.payload + row.share)
            << row.code;
}

TEST(FrameSizeBound, CountsMatrixFlagsAndCoderType)
{
    const Orvane codec(true, true);
    const BoundCase row = kCases[3];
    const uint32_t base = 262144 + row.payload;
    const auto bound = [&](uint8_t version, uint8_t matrix, uint32_t flags) {
        FrameHeader record = RecordOf(row);
        record.version = version;
        record.colorMatrix = matrix;
        record.flags = flags;
        return FrameSizeBound(codec, row.input, record) - base;
    };
    EXPECT_EQ(bound(7, 1, 0x220000), 2U * (2 + 6 * (19 * 32)));
    EXPECT_EQ(bound(7, 0, 0x220000), 2U * (2 + 6 * (19 * 32)));
    EXPECT_EQ(bound(7, 6, 0x220000), 2U * (2 + 6 * (24 * 32)));
    EXPECT_EQ(bound(7, 255, 0x220000), 2U * (2 + 6 * (24 * 32)));
    EXPECT_EQ(bound(7, 2, 0x22003F), 2U * (2 + 6 * (20 * 32 + 31))) << "five flag bits count";
    EXPECT_EQ(bound(7, 2, 0x220020), 2U * (2 + 6 * (20 * 32)));
    EXPECT_EQ(bound(7, 2, 0x020000), 2U * (1 + 6 * (20 * 32))) << "coder type 0 counts as 1";
    EXPECT_EQ(bound(7, 2, 0xF00000), 2U * (6 + 6 * (20 * 32))) << "coder type 15 counts as 6";
    EXPECT_EQ(bound(6, 2, 0xF00001), 2U * (2 + 6 * (20 * 32 + 1)));
    EXPECT_EQ(bound(6, 2, 0xF00000), 2U * (1 + 6 * (20 * 32)));
}

TEST(FrameSizeBound, IsNothingWithoutARouteOrBeyond32Bits)
{
    const Orvane codec(true, true);
    const BoundCase row = kCases[3];
    for (const int code : {0, 4, 101, 108, 122, 132, 133, 254}) {
        FrameHeader record = RecordOf(row);
        record.formatCode = static_cast<uint8_t>(code);
        EXPECT_EQ(FrameSizeBound(codec, row.input, record), 0U) << code;
    }
    for (const int input : {0, 2, 9, 11, 104, 255, 256, -1})
        EXPECT_EQ(FrameSizeBound(codec, input, RecordOf(row)), 0U) << input;
    FrameHeader record = RecordOf(row);
    record.width = record.height = 65536;
    EXPECT_EQ(FrameSizeBound(codec, row.input, record), 0U);
    record.width = record.height = 0xFFFFFFFF;
    EXPECT_EQ(FrameSizeBound(codec, row.input, record), 0U);
}

TEST(FrameSizeBound, ReadsFormat255AsTheNativeOne)
{
    const Orvane codec(true, true);
    FrameHeader record = RecordOf(kCases[3]);
    record.formatCode = 255;
    EXPECT_EQ(FrameSizeBound(codec, 4, record), 262144U + 6144 + 2 * (2 + 6 * ((186 + 2) * 32)));
}
