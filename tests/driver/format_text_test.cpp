#include "driver/format_text.h"

#include "driver/driver_session.h"

#include <gtest/gtest.h>

using namespace driver;

namespace {

std::string Describe(const BITMAPINFOHEADER& header)
{
    return DescribeHeader(&header);
}

std::string Describe(const StreamHeader& stream)
{
    return DescribeHeader(&stream.header);
}

} // namespace

TEST(CompressedFormatName, EveryCodeHasItsText)
{
    const char* const names[] = {
        "RGB",           "RGBA",        "YUV 4:4:4#",        "YUV 4:2:2#",  "YUV 4:2:0#",
        "YUVA 4:4:4:4#", "YUV 4:0:0#",  "YUV 4:2:2 10-bit#", "RGB 10-bit",  "RGBA 10-bit",
        "RGB 12-bit",    "RGBA 12-bit", "RGB 14-bit",        "RGBA 14-bit", "YUV 4:0:0 10-bit#",
        "UNKNOWN",       "UNKNOWN",     "YUV 4:4:4 10-bit#", "UNKNOWN",     "UNKNOWN",
        "UNKNOWN",       "UNKNOWN",     "YUV 4:2:0 10-bit#", "UNKNOWN",     "UNKNOWN",
        "UNKNOWN"};
    for (int code = 0; code < 256; ++code)
        for (const bool fullRange : {false, true})
            for (const bool interlaced : {false, true})
                for (const uint32_t matrix : {0U, 1U, 2U, 3U, 200U}) {
                    std::string expected = code >= 101 && code <= 126 ? names[code - 101] : "UNKNOWN";
                    if (expected.back() == '#') {
                        expected.pop_back();
                        expected += matrix == 1 ? " (Rec.601)" : matrix == 2 ? " (Rec.709)" : "";
                        expected += fullRange ? " (full)" : " (limited)";
                    }
                    if (expected != "UNKNOWN" && interlaced)
                        expected += " (interlaced)";
                    ASSERT_EQ(CompressedFormatName(code, fullRange, interlaced, matrix), expected) << code;
                }
}

TEST(DescribeHeader, NamesUncompressedHeaders)
{
    EXPECT_EQ(DescribeHeader(nullptr), "N/A");
    EXPECT_EQ(Describe(MakeHeader("RGB", 24, 640, 480)), "RGB24 (640 x 480)");
    EXPECT_EQ(Describe(MakeHeader("RGB", 32, 640, -480)), "RGB32 (640 x -480)");
    EXPECT_EQ(Describe(MakeHeader("RGB", 0, -1, 0)), "RGB0 (-1 x 0)");
    EXPECT_EQ(Describe(MakeHeader("YUY2", 16, 720, 576)), "YUY2 (720 x 576)");
    EXPECT_EQ(Describe(MakeHeader("Y8  ", 8, 4, 4)), "Y8   (4 x 4)");
    EXPECT_EQ(Describe(MakeHeader("DIB ", 24, 4, 4)), "DIB  (4 x 4)");
    EXPECT_EQ(Describe(MakeHeader("Y3[11][10]", 15, 4, 4)), "Y3[11][10] (4 x 4)");
    EXPECT_EQ(Describe(MakeHeader("G3[0][10]", 30, 4, 4)), "G3[0][10] (4 x 4)");
    EXPECT_EQ(Describe(MakeHeader("BRA[64]", 64, 4, 4)), "BRA[64] (4 x 4)");
    EXPECT_EQ(Describe(MakeHeader("BGR[48]", 48, 4, 4)), "BGR0 (4 x 4)");
    EXPECT_EQ(Describe(MakeHeader("[255][128][127][46]", 16, 4, 4)), "[255][128][127][46] (4 x 4)");
    EXPECT_EQ(Describe(MakeHeader("RGB", 65535, -2147483647 - 1, 2147483647)),
              "RGB65535 (-2147483648 x 2147483647)");
}

TEST(DescribeHeader, NamesCompressedHeadersByTheirRecord)
{
    StreamHeader stream = MakeStream(104, 64, 48);
    EXPECT_EQ(Describe(stream), "O8Y2 [YUV 4:2:2 (Rec.709) (limited)] (64 x 48)");
    stream.record.colorMatrix = 1;
    stream.record.flags |= 6;
    EXPECT_EQ(Describe(stream), "O8Y2 [YUV 4:2:2 (Rec.601) (full) (interlaced)] (64 x 48)");
    stream.record.colorMatrix = 0;
    EXPECT_EQ(Describe(stream), "O8Y2 [YUV 4:2:2 (Rec.709) (full) (interlaced)] (64 x 48)");
    stream.record.colorMatrix = 3;
    EXPECT_EQ(Describe(stream), "O8Y2 [YUV 4:2:2 (full) (interlaced)] (64 x 48)");
    stream.record.formatCode = 101;
    stream.header.biCompression = MakeFourCC("ORVN");
    EXPECT_EQ(Describe(stream), "ORVN [RGB (interlaced)] (64 x 48)");
    stream.record.formatCode = 7;
    EXPECT_EQ(Describe(stream), "ORVN [UNKNOWN] (64 x 48)");
}

TEST(DescribeHeader, SaysWhenTheRecordIsNoGood)
{
    StreamHeader stream = MakeStream(104, 64, 48);
    const std::pair<uint32_t, const char*> sizes[] = {{40, "0"},  {41, "1"},  {43, "3"}, {44, "4"},
                                                      {71, "31"}, {39, "-1"}, {0, "-40"}};
    for (const auto& [size, text] : sizes) {
        stream.header.biSize = size;
        EXPECT_EQ(Describe(stream), std::string("O8Y2 [INVALID HEADER (size: ") + text + ")] (64 x 48)");
    }
    stream = MakeStream(104, 64, 48);
    stream.record.version = 8;
    EXPECT_EQ(Describe(stream), "O8Y2 [INVALID HEADER (size: 32)] (64 x 48)");
}

TEST(PictureFormatText, NamesRgbWithAlphaBySight)
{
    EXPECT_EQ(PictureFormatText(MakeHeader("RGB", 32, 4, 4), true), "RGBA");
    EXPECT_EQ(PictureFormatText(MakeHeader("RGB", 32, 4, 4), false), "RGB32");
    EXPECT_EQ(PictureFormatText(MakeHeader("DIB ", 32, 4, 4), true), "DIB ");
    EXPECT_EQ(PictureFormatText(MakeHeader("AYUV", 32, 4, 4), true), "AYUV");
    EXPECT_EQ(PictureFormatText(MakeHeader("Y3[11][10]", 15, 4, 4), false), "Y3[11][10]");
}
