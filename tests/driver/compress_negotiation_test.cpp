// What the driver takes for compression, what it writes into the compressed header, and what it logs of both.
#include "driver/driver_session.h"
#include "driver/test_log.h"

#include "common/settings_records.h"
#include "support/exact_buffer.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

constexpr int kLowest = std::numeric_limits<int>::min();

void SetState(const Instance& instance, const EncodeSettings& state)
{
    ASSERT_EQ(instance.Send(ICM_SETSTATE, &state, LPARAM{sizeof state}), 44);
}

bool Takes(const Instance& instance, const BITMAPINFOHEADER& in)
{
    const LRESULT result = instance.Send(ICM_COMPRESS_QUERY, &in);
    EXPECT_TRUE(result == 0 || result == -2) << result;
    return result == 0;
}

bool CanTake(const Variant& variant, const HostFormat& format, uint32_t mask)
{
    const int id = IdFor(format, variant);
    const int family = FamilyOf(id);
    return (variant.lossless.contains(id) || variant.converted.contains(id)) &&
           (mask >> (family - 101) & 1) != 0;
}

} // namespace

TEST(CompressQuery, TakesTheLayoutsOfEachVariantUnderEveryMask)
{
    const TestUser user;
    std::vector<uint32_t> masks = {0xFFFFFFFF, 0, 0x7F, 0x80, 8 | 16};
    for (int bit = 0; bit < 9; ++bit)
        masks.push_back(1U << bit);
    int taken = 0;
    for (const Variant& variant : kVariants) {
        const Instance instance(variant.fourCC);
        for (const uint32_t mask : masks) {
            EncodeSettings state;
            state.InputColorSpace = mask;
            SetState(instance, state);
            for (const HostFormat& format : kHostFormats)
                for (const int height : {48, -48}) {
                    const bool expected = CanTake(variant, format, mask);
                    EXPECT_EQ(Takes(instance, MakeHeader(format, 64, height)), expected)
                        << variant.fourCC << " from " << format.name << format.bits << " mask " << mask;
                    taken += expected;
                }
        }
    }
    EXPECT_EQ(taken, 462);
}

TEST(CompressQuery, OfTheGenericDecoderTakesNothingWithoutAnOutput)
{
    const TestUser user;
    const Instance generic;
    for (const HostFormat& format : kHostFormats)
        EXPECT_FALSE(Takes(generic, MakeHeader(format, 64, 48))) << format.name;
    const BITMAPINFOHEADER in = MakeHeader("YUY2", 16, 64, 48);
    const StreamHeader out = MakeStream(104, 64, 48);
    EXPECT_EQ(generic.Send(ICM_COMPRESS_QUERY, &in, &out), 0) << "with one it takes any route";
}

TEST(CompressQuery, TakesAnyRoutableOutput)
{
    const TestUser user;
    for (const Variant& opened : kVariants) {
        const Instance instance(opened.fourCC);
        for (const Variant& target : kVariants)
            for (const HostFormat& format : kHostFormats) {
                const BITMAPINFOHEADER in = MakeHeader(format, 64, 48);
                const StreamHeader out = MakeStream(target.id, 64, 48);
                // The layout of an ambiguous header is chosen by the variant, not by the output.
                const int id = IdFor(format, opened);
                const bool expected = target.lossless.contains(id) || target.converted.contains(id);
                EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in, &out), expected ? 0 : -2)
                    << opened.fourCC << ": " << format.name << " -> " << target.fourCC;
            }
    }
}

TEST(CompressQuery, RefusesOutputsThatAreNoFrames)
{
    const TestUser user;
    const Instance instance("O8Y2");
    const BITMAPINFOHEADER in = MakeHeader("YUY2", 16, 64, 48);
    for (const HostFormat& format : kHostFormats) {
        const BITMAPINFOHEADER out = MakeHeader(format, 64, 48);
        EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in, &out), ICERR_BADFORMAT) << format.name;
    }
    const BITMAPINFOHEADER bare = MakeHeader("O8Y2", 24, 64, 48);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in, &bare), ICERR_BADFORMAT) << "no record";
    for (const auto& [width, height] : {std::pair{63, 48}, {64, 47}, {-64, 48}, {48, 64}}) {
        const StreamHeader out = MakeStream(104, width, height);
        EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in, &out), ICERR_BADFORMAT);
    }
    const StreamHeader flipped = MakeStream(104, 64, -48);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in, &flipped), 0) << "heights compare without their sign";
}

TEST(CompressQuery, RefusesCompressedInputs)
{
    const TestUser user;
    for (const Variant& variant : kVariants) {
        const Instance instance(variant.fourCC);
        for (const int code : {0, 101, 102, 103, 104, 105, 106, 107, 108, 118, 126, 255}) {
            StreamHeader in = MakeStream(variant.id, 64, 48);
            in.record.formatCode = static_cast<uint8_t>(code);
            EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in), ICERR_BADFORMAT)
                << variant.fourCC << " from " << code;
        }
    }
}

TEST(CompressQuery, WantsSizesThatTheFormatCanCarry)
{
    const TestUser user;
    struct Row {
        const char* variant;
        const char* input;
        int bits;
        int across;
        int down;
    };
    const Row rows[] = {{"O8RG", "RGB", 24, 1, 1},  {"O8RA", "RGB", 32, 1, 1},  {"O8YA", "AYUV", 32, 1, 1},
                        {"O8Y4", "YV24", 24, 1, 1}, {"O8Y2", "YUY2", 16, 2, 1}, {"O8Y2", "RGB", 32, 2, 1},
                        {"O8Y2", "I444", 24, 2, 1}, {"O8Y0", "YV12", 12, 2, 2}, {"O8Y0", "RGB", 24, 2, 2},
                        {"O8Y0", "YUY2", 16, 2, 2}, {"O8Y0", "v308", 24, 2, 2}, {"O8G0", "Y8  ", 8, 1, 1},
                        {"O8G0", "YV24", 24, 1, 1}, {"O8G0", "YUY2", 16, 2, 1}, {"O8G0", "I420", 12, 2, 2},
                        {"O8G0", "RGB", 32, 1, 1}};
    for (const uint32_t interlaced : {0U, 1U, 2U})
        for (const Row& row : rows) {
            const Instance instance(row.variant);
            EncodeSettings state;
            state.Interlaced = interlaced;
            SetState(instance, state);
            const int down = row.down * (interlaced != 0 ? 2 : 1);
            for (int width = -1; width <= 12; ++width)
                for (int height = -12; height <= 12; ++height) {
                    const bool expected =
                        width >= 4 && std::abs(height) >= 4 && width % row.across == 0 && height % down == 0;
                    EXPECT_EQ(Takes(instance, MakeHeader(row.input, row.bits, width, height)), expected)
                        << row.variant << " from " << row.input << " " << width << " x " << height
                        << " interlaced " << interlaced;
                }
        }
}

TEST(CompressQuery, RefusesPicturesThatCannotBeAddressed)
{
    const TestUser user;
    for (const Variant& variant : kVariants) {
        const Instance instance(variant.fourCC);
        for (const HostFormat& format : kHostFormats)
            for (const auto& [width, height] : {std::pair{65536, 65536},
                                                {0x7FFFFFFC, 4},
                                                {4, 0x7FFFFFFC},
                                                {0x40000000, 0x40000000},
                                                {64, kLowest},
                                                {kLowest, 64},
                                                {kLowest, kLowest},
                                                {-64, 48},
                                                {0, 48},
                                                {64, 0},
                                                {4, 1 << 29}})
                EXPECT_FALSE(Takes(instance, MakeHeader(format, width, height)))
                    << variant.fourCC << " from " << format.name << " " << width << " x " << height;
    }
}

TEST(CompressQuery, LogsWhatItAnswers)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    const BITMAPINFOHEADER yuy2 = MakeHeader("YUY2", 16, 64, 48);
    const BITMAPINFOHEADER rgb = MakeHeader("RGB", 24, 63, -48);
    const StreamHeader out = MakeStream(104, 64, 48);
    const BITMAPINFOHEADER bare = MakeHeader("O8Y2", 24, 64, 48);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY), ICERR_BADPARAM);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, nullptr, &out), ICERR_BADPARAM);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &yuy2), 0);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &rgb), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &yuy2, &out), 0);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &rgb, &out), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &yuy2, &bare), ICERR_BADFORMAT);
    const std::string null =
        "#### APPLICATION ERROR #### : ICM_COMPRESS_QUERY: Codec received NULL for input format";
    const std::string stream = "O8Y2 [YUV 4:2:2 (Rec.709) (limited)] (64 x 48)";
    EXPECT_EQ(user.NewLines(),
              (std::vector<std::string>{
                  null,
                  null,
                  "Compress query: YUY2 (64 x 48): OK",
                  "Compress query: RGB24 (63 x -48): NOT SUPPORTED",
                  "Compress query: YUY2 (64 x 48) -> " + stream + ": OK",
                  "Compress query: RGB24 (63 x -48) -> " + stream + ": NOT SUPPORTED",
                  "Compress query: YUY2 (64 x 48) -> O8Y2 [INVALID HEADER (size: 0)] (64 x 48): "
                  "NOT SUPPORTED",
              }));
}

TEST(CompressGetFormat, FillsAllSeventyTwoBytes)
{
    const TestUser user;
    for (const Variant& variant : kVariants) {
        const Instance instance(variant.fourCC);
        for (const HostFormat& format : kHostFormats)
            for (const int height : {48, -48}) {
                if (!CanTake(variant, format, 0x7F))
                    continue;
                BITMAPINFOHEADER in = MakeHeader(format, 64, height, 12345);
                in.biPlanes = 7;
                in.biXPelsPerMeter = 1;
                in.biYPelsPerMeter = -2;
                in.biClrUsed = 3;
                in.biClrImportant = 4;
                const BITMAPINFOHEADER before = in;
                ExactBuffer out(72, 0, 0xCC);
                ASSERT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, &in), 72);
                ASSERT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, &in, out.data()), 0);
                EXPECT_EQ(std::memcmp(&in, &before, sizeof in), 0) << "the input header is never written to";

                StreamHeader expected = MakeStream(variant.id, 64, 48);
                expected.header = in;
                expected.header.biSize = 72;
                expected.header.biPlanes = 1;
                expected.header.biHeight = 48;
                expected.header.biBitCount = static_cast<WORD>(variant.frameBits);
                expected.header.biCompression = FourCCOf(variant.fourCC);
                expected.header.biSizeImage =
                    static_cast<DWORD>(instance.Send(ICM_COMPRESS_GET_SIZE, &in, out.data()));
                EXPECT_EQ(std::memcmp(out.data(), &expected, sizeof expected), 0)
                    << variant.fourCC << " from " << format.name;
                EXPECT_GT(expected.header.biSizeImage, 262144U);
            }
    }
}

TEST(CompressGetFormat, RecordFollowsTheSettings)
{
    const TestUser user;
    for (const Variant& variant : kVariants) {
        const Instance instance(variant.fourCC);
        for (const uint32_t matrix : {1U, 2U})
            for (const uint32_t fullRange : {0U, 5U})
                for (const uint32_t interlaced : {0U, 5U})
                    for (const uint32_t coderType : {0U, 1U, 2U, 3U}) {
                        EncodeSettings state;
                        state.ColorMatrix = matrix;
                        state.FullRangeYUV = fullRange;
                        state.Interlaced = interlaced;
                        state.CoderType = coderType;
                        SetState(instance, state);
                        const bool yuv = variant.id >= 103;
                        FrameHeader expected = MakeStream(variant.id, 64, 48).record;
                        expected.colorMatrix = static_cast<uint8_t>(yuv ? matrix : 2);
                        expected.flags = 0x20000 | (interlaced != 0 ? 2 : 0) |
                                         (yuv && fullRange != 0 ? 4 : 0) |
                                         (coderType == 1 ? 2 : coderType) << 20;
                        const StreamHeader stream =
                            instance.GetStream(MakeHeader(NativeFormatOf(variant), 64, 48));
                        EXPECT_EQ(std::memcmp(&stream.record, &expected, sizeof expected), 0)
                            << variant.fourCC;
                    }
    }
}

TEST(CompressGetFormat, RefusesWhatTheQueryRefuses)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    StreamHeader out;
    std::memset(&out, 0xCC, sizeof out);
    const StreamHeader untouched = out;
    const BITMAPINFOHEADER narrow = MakeHeader("YUY2", 16, 2, 48);
    const BITMAPINFOHEADER foreign = MakeHeader("B.S.", 24, 320, 240);
    for (const BITMAPINFOHEADER& in : {narrow, foreign}) {
        EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, &in), 72) << "the size is told all the same";
        EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, &in, &out), ICERR_BADFORMAT);
    }
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, nullptr, &out), ICERR_BADPARAM);
    EXPECT_EQ(std::memcmp(&out, &untouched, sizeof out), 0);
    EXPECT_EQ(
        user.NewLines(),
        (std::vector<std::string>{
            "Compress get format: YUY2 (2 x 48): NOT SUPPORTED",
            "Compress get format: B[46]S[46] (320 x 240): NOT SUPPORTED",
            "#### APPLICATION ERROR #### : ICM_COMPRESS_GET_FORMAT: Codec received NULL for input format"}));
    const Instance generic;
    const BITMAPINFOHEADER good = MakeHeader("YUY2", 16, 64, 48);
    EXPECT_EQ(generic.Send(ICM_COMPRESS_GET_FORMAT, &good), 72);
    EXPECT_EQ(generic.Send(ICM_COMPRESS_GET_FORMAT, &good, &out), ICERR_BADFORMAT);
}

TEST(CompressGetFormat, LogsSizeAndFormat)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y0");
    const BITMAPINFOHEADER in = MakeHeader("RGB", 32, 64, -48);
    StreamHeader out;
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, &in), 72);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, &in, &out), 0);
    EXPECT_EQ(user.NewLines(),
              (std::vector<std::string>{
                  "Compress get format size: RGB32 (64 x -48): 72",
                  "Compress get format: RGB32 (64 x -48): O8Y0 [YUV 4:2:0 (Rec.709) (limited)] "
                  "(64 x 48)"}));
}

TEST(CompressGetSize, WantsARecordAndARoute)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    const BITMAPINFOHEADER yuy2 = MakeHeader("YUY2", 16, 64, 48);
    const BITMAPINFOHEADER rgba = MakeHeader("AYUV", 32, 64, 48);
    const BITMAPINFOHEADER bare = MakeHeader("O8Y2", 24, 64, 48);
    StreamHeader out = MakeStream(104, 64, 48);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE, &yuy2, &out), 262144 + 6144 + 2 * (2 + 6 * 640));
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE, &rgba, &out), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE, &yuy2, &bare), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE, &yuy2, &yuy2), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE, &yuy2), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE, nullptr, &out), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE), ICERR_BADFORMAT);
    out.record.width = 128;
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE, &yuy2, &out), 262144 + 12288 + 2 * (2 + 6 * 640))
        << "the size is the record's";
    out.record.width = out.record.height = 65536;
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_SIZE, &yuy2, &out), ICERR_BADFORMAT) << "does not fit 32 bits";
    EXPECT_TRUE(user.NewLines().empty()) << "this message logs nothing";
}

TEST(CompressBegin, RefusesInSilence)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    const BITMAPINFOHEADER in = MakeHeader("YUY2", 16, 64, 48);
    const auto begin = [&](const BITMAPINFOHEADER& input, const StreamHeader& out) {
        return instance.Send(ICM_COMPRESS_BEGIN, &input, &out);
    };
    const StreamHeader good = MakeStream(104, 64, 48);
    EXPECT_EQ(begin(MakeHeader("YUY2", 16, 64, 44), good), -2) << "sizes differ";
    EXPECT_EQ(begin(MakeHeader("AYUV", 32, 64, 48), good), -2) << "no route";
    EXPECT_EQ(begin(in, MakeStream(101, 64, 48)), -2) << "no route";
    StreamHeader bad = good;
    bad.header.biSize = 40;
    EXPECT_EQ(begin(in, bad), -2) << "no record";
    bad = good;
    bad.header.biCompression = FourCCOf("YUY2");
    EXPECT_EQ(begin(in, bad), -2) << "not a compressed header";

    // Records that would make frames larger than the host's buffer, or of another size than its pictures.
    bad = good;
    bad.record.width = 62;
    EXPECT_EQ(begin(in, bad), -2);
    bad = good;
    bad.record.height = 49;
    EXPECT_EQ(begin(in, bad), -2);
    bad = MakeStream(104, 64, 45);
    EXPECT_EQ(begin(MakeHeader("YUY2", 16, 64, 45), bad), 0);
    bad.record.flags |= 2;
    EXPECT_EQ(begin(MakeHeader("YUY2", 16, 64, 45), bad), -2) << "the record's own interlace flag counts";
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
    user.NewLines();
    bad = MakeStream(104, 4, 100000);
    bad.record.blockHeight = 1;
    EXPECT_EQ(begin(MakeHeader("YUY2", 16, 4, 100000), bad), -2) << "300000 block heads pass the bound";
    bad.record.blockHeight = 28;
    EXPECT_EQ(begin(MakeHeader("YUY2", 16, 4, 100000), bad), 0);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
}

TEST(CompressBegin, RefusesRecordsWhosePicturesCouldNotComeBack)
{
    const TestUser user;
    StreamHeader bad = MakeStream(105, 64, 48);
    const Instance yuv420("O8Y0");
    const BITMAPINFOHEADER planar = MakeHeader("I420", 12, 64, 48);
    for (const auto& [rows, flags, result] : {std::tuple{0U, 0U, -2},
                                              {27U, 0U, -2},
                                              {26U, 0U, 0},
                                              {26U, 2U, -2},
                                              {24U, 2U, 0},
                                              {48U, 2U, 0},
                                              {49U, 2U, 0}}) {
        bad.record.blockHeight = rows;
        bad.record.flags = (bad.record.flags & ~2U) | flags;
        EXPECT_EQ(yuv420.Send(ICM_COMPRESS_BEGIN, &planar, &bad), result) << rows << " rows, flags " << flags;
        yuv420.Send(ICM_COMPRESS_END);
    }
}

TEST(CompressBegin, LogsNullFormats)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    const BITMAPINFOHEADER in = MakeHeader("YUY2", 16, 64, 48);
    const StreamHeader out = MakeStream(104, 64, 48);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_BEGIN), ICERR_BADPARAM);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in), ICERR_BADPARAM);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_BEGIN, nullptr, &out), ICERR_BADPARAM);
    const std::string line =
        "#### APPLICATION ERROR #### : ICM_COMPRESS_BEGIN: Codec received NULL for input/output format";
    EXPECT_EQ(user.NewLines(), std::vector<std::string>(3, line));
}

TEST(CompressBegin, LogsTheRun)
{
    TestUser user;
    TestUser::EnableLog();
    TestUser::SetFor("O8Y0", "AutoEncodeThreads", 0);
    TestUser::SetFor("O8Y0", "NumEncodeThreads", 3);
    const Instance instance("O8Y0");
    const auto block = [](const std::string& input, const std::string& compressed,
                          const std::string& interlaced) {
        return std::vector<std::string>{"--------------------------",
                                        "Compress begin:",
                                        "    Threads:            3",
                                        "    Input format:       " + input,
                                        "    Compressed format:  " + compressed,
                                        "    Resolution:         64 x 48",
                                        "    Interlaced:         " + interlaced};
    };
    const auto begin = [&](const BITMAPINFOHEADER& in, StreamHeader out, uint32_t flags, uint8_t matrix) {
        out.record.flags |= flags;
        out.record.colorMatrix = matrix;
        EXPECT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in, &out), 0);
        const auto lines = user.NewLines();
        EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
        user.NewLines();
        return lines;
    };
    const StreamHeader out = MakeStream(105, 64, 48);
    EXPECT_EQ(begin(MakeHeader("YV12", 12, 64, 48), out, 0, 2),
              block("YV12", "YUV 4:2:0 (Rec.709) (limited)", "NO"));
    EXPECT_EQ(begin(MakeHeader("RGB", 24, 64, 48), out, 6, 1),
              block("RGB24 (bottom-up)", "YUV 4:2:0 (Rec.601) (full) (interlaced)", "YES"));
    EXPECT_EQ(begin(MakeHeader("RGB", 32, 64, -48), out, 0, 0),
              block("RGB32", "YUV 4:2:0 (Rec.709) (limited)", "NO"));
    EXPECT_EQ(begin(MakeHeader("DIB ", 32, 64, 48), out, 2, 2),
              block("DIB  (bottom-up)", "YUV 4:2:0 (Rec.709) (limited) (interlaced)", "YES"));
}

TEST(CompressBegin, NamesInputsWithAlpha)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8RA");
    const BITMAPINFOHEADER in = MakeHeader("RGB", 32, 64, 48);
    const StreamHeader out = MakeStream(102, 64, 48);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in, &out), 0);
    const auto lines = user.NewLines();
    EXPECT_EQ(lines.at(3), "    Input format:       RGBA (bottom-up)");
    EXPECT_EQ(lines.at(4), "    Compressed format:  RGBA");
}
