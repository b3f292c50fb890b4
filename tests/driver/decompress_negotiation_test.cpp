// What streams decode to: masks, suggestions, refusals, and what is logged of them.
#include "driver/driver_session.h"
#include "driver/test_log.h"

#include "support/exact_buffer.h"

#include <gtest/gtest.h>

namespace {

struct Masks {
    const char* name;
    uint32_t yuv400;
    uint32_t yuv420;
    uint32_t yuv422;
    uint32_t yuv444;
};

constexpr Masks kMasks[] = {
    {"default", 25, 9, 1, 1}, {"empty", 0, 0, 0, 0}, {"full", 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},
    {"dialog", 29, 13, 5, 1}, {"mixed", 4, 8, 1, 2}, {"alpha only", 2, 2, 2, 2}};

void Store(const Masks& masks)
{
    TestUser::Set("DecompSettings_YUV400", masks.yuv400);
    TestUser::Set("DecompSettings_YUV420", masks.yuv420);
    TestUser::Set("DecompSettings_YUV422", masks.yuv422);
    TestUser::Set("DecompSettings_YUV444", masks.yuv444);
}

bool IsAllowed(const Variant& variant, int output, const Masks& masks)
{
    if (variant.lossless.contains(output))
        return true;
    if (!variant.offered.contains(output))
        return false;
    const uint32_t bit = 1U << (FamilyOf(output) - 101);
    switch (variant.id) {
    case 103:
        return (masks.yuv444 & bit) != 0;
    case 104:
        return (masks.yuv422 & bit) != 0;
    case 105:
        return (masks.yuv420 & bit) != 0;
    case 107:
        return (masks.yuv400 & bit) != 0;
    default:
        return true; // no mask
    }
}

ResultCode Query(const Instance& instance, const StreamHeader& stream, const BITMAPINFOHEADER* out = nullptr)
{
    return instance.Send(ICM_DECOMPRESS_QUERY, &stream, out);
}

ResultCode Begin(const Instance& instance, const StreamHeader& stream, const BITMAPINFOHEADER& out)
{
    const LRESULT result = instance.Send(ICM_DECOMPRESS_BEGIN, &stream, &out);
    instance.Send(ICM_DECOMPRESS_END);
    return result;
}

/// "YV24 24" for what GET_FORMAT suggests; empty when it refuses.
std::string Suggestion(const Instance& instance, const StreamHeader& stream)
{
    BITMAPINFOHEADER out;
    if (instance.Send(ICM_DECOMPRESS_GET_FORMAT, &stream, &out) != 0)
        return "";
    return (out.biCompression == 0 ? "RGB" : FourCCText(out.biCompression)) + " " +
           std::to_string(out.biBitCount);
}

} // namespace

TEST(DecompressQuery, FollowsTheMasksForEveryStreamAndOutput)
{
    for (const Masks& masks : kMasks) {
        const TestUser user;
        Store(masks);
        const Instance generic;
        const Instance other("O8RA"); // the variant plays no part
        for (const Variant& variant : kVariants) {
            const StreamHeader stream = MakeStream(variant.id, 64, 48);
            EXPECT_EQ(Query(generic, stream), 0) << variant.fourCC;
            for (const HostFormat& format : kHostFormats)
                for (const int height : {48, -48}) {
                    const BITMAPINFOHEADER out = MakeHeader(format, 64, height);
                    const LRESULT expected = IsAllowed(variant, IdFor(format, variant), masks) ? 0 : -2;
                    EXPECT_EQ(Query(generic, stream, &out), expected)
                        << variant.fourCC << " to " << format.name << format.bits << " masks " << masks.name;
                    EXPECT_EQ(Query(other, stream, &out), expected);
                    EXPECT_EQ(Begin(generic, stream, out), expected)
                        << variant.fourCC << " to " << format.name << format.bits << " masks " << masks.name;
                }
        }
    }
}

TEST(DecompressQuery, RefusesFormatsWithoutAPixelPath)
{
    const TestUser user;
    const Instance generic;
    for (int code = 0; code < 256; ++code) {
        StreamHeader stream = MakeStream(104, 64, 48);
        stream.record.formatCode = static_cast<uint8_t>(code);
        for (const int maxLength : {12, 14, 16, 18}) {
            stream.record.maxCodeLength = static_cast<uint8_t>(maxLength);
            EXPECT_EQ(Query(generic, stream), code >= 101 && code <= 107 && maxLength == 12 ? 0 : -2) << code;
        }
    }
}

TEST(DecompressQuery, ChecksTheRecord)
{
    const TestUser user;
    const Instance generic;
    const BITMAPINFOHEADER out = MakeHeader("YUY2", 16, 64, 48);
    const auto answer = [&](auto change) {
        StreamHeader stream = MakeStream(104, 64, 48);
        change(stream);
        const LRESULT result = Query(generic, stream, &out);
        EXPECT_EQ(Query(generic, stream), result);
        EXPECT_EQ(Begin(generic, stream, out), result);
        return result;
    };
    for (int version = 0; version < 256; ++version)
        EXPECT_EQ(answer([&](StreamHeader& s) { s.record.version = static_cast<uint8_t>(version); }),
                  version <= 7 ? 0 : -2)
            << "version " << version;
    for (int matrix = 0; matrix < 256; ++matrix)
        EXPECT_EQ(answer([&](StreamHeader& s) { s.record.colorMatrix = static_cast<uint8_t>(matrix); }),
                  matrix <= 2 ? 0 : -2)
            << "matrix " << matrix;
    for (int limit = 0; limit < 256; ++limit)
        EXPECT_EQ(answer([&](StreamHeader& s) { s.record.maxCodeLength = static_cast<uint8_t>(limit); }),
                  limit == 12 ? 0 : -2)
            << "code length " << limit;
    for (const uint32_t size : {0U, 39U, 40U, 43U, 44U, 71U})
        EXPECT_EQ(answer([&](StreamHeader& s) { s.header.biSize = size; }), -2) << "biSize " << size;
    EXPECT_EQ(answer([](StreamHeader& s) { s.record.headerSize = 31; }), -2);
    EXPECT_EQ(answer([](StreamHeader& s) { s.record.magic[3] = 'n'; }), -2);
    EXPECT_EQ(answer([](StreamHeader& s) { s.header.biCompression = FourCCOf("ORVN"); }), 0);
    EXPECT_EQ(answer([](StreamHeader& s) { s.header.biCompression = FourCCOf("O8Y0"); }), 0);
    EXPECT_EQ(answer([](StreamHeader& s) { s.header.biCompression = FourCCOf("YUY2"); }), ICERR_BADFORMAT);
    EXPECT_EQ(answer([](StreamHeader& s) { s.header.biCompression = 0x2E532E42; }), ICERR_BADFORMAT);
}

TEST(DecompressQuery, RefusesRecordsOfAnotherSizeThanTheirHeader)
{
    const TestUser user;
    const Instance generic;
    for (const Variant& variant : kVariants) {
        const BITMAPINFOHEADER out = MakeHeader(NativeFormatOf(variant), 64, 48);
        for (const auto& [width, height] : {std::pair{128U, 48U},
                                            {64U, 96U},
                                            {60U, 48U},
                                            {64U, 44U},
                                            {48U, 64U},
                                            {64U, 0x80000030U},
                                            {0U, 0U},
                                            {0x7FFFFFFCU, 0x7FFFFFFCU}}) {
            StreamHeader stream = MakeStream(variant.id, 64, 48);
            stream.record.width = width;
            stream.record.height = height;
            EXPECT_EQ(Query(generic, stream), ICERR_BADFORMAT)
                << variant.fourCC << " " << width << " x " << height;
            EXPECT_EQ(Query(generic, stream, &out), ICERR_BADFORMAT);
            EXPECT_EQ(Begin(generic, stream, out), ICERR_BADFORMAT);
        }
        StreamHeader flipped = MakeStream(variant.id, 64, 48);
        flipped.header.biHeight = -48;
        EXPECT_EQ(Query(generic, flipped, &out), 0) << "the sign of a height is no size";
    }
}

TEST(DecompressQuery, WantsSizesThatTheFormatCanCarry)
{
    const TestUser user;
    const Instance generic;
    for (const Variant& variant : kVariants)
        for (const bool interlaced : {false, true})
            for (int width = 1; width <= 9; ++width)
                for (int height = 1; height <= 9; ++height) {
                    StreamHeader stream = MakeStream(variant.id, width, height);
                    stream.record.flags |= interlaced ? 2 : 0;
                    const int across = variant.id == 104 || variant.id == 105 ? 2 : 1;
                    const int down = (variant.id == 105 ? 2 : 1) * (interlaced ? 2 : 1);
                    EXPECT_EQ(Query(generic, stream), width % across == 0 && height % down == 0 ? 0 : -2)
                        << variant.fourCC << " " << width << " x " << height;
                }
}

TEST(DecompressQuery, RefusesPicturesThatCannotBeAddressed)
{
    const TestUser user;
    const Instance generic;
    for (const Variant& variant : kVariants)
        for (const auto& [width, height] :
             {std::pair{65536, 65536}, {0x7FFFFFFC, 4}, {4, 0x7FFFFFFC}, {0x40000000, 0x40000000}}) {
            const StreamHeader stream = MakeStream(variant.id, width, height);
            EXPECT_EQ(Query(generic, stream), ICERR_BADFORMAT)
                << variant.fourCC << " " << width << " x " << height;
        }
}

TEST(DecompressQuery, RefusesOutputsOfAnotherSizeAndCompressedOutputs)
{
    const TestUser user;
    const Instance generic;
    const StreamHeader stream = MakeStream(104, 64, 48);
    for (const auto& [width, height] : {std::pair{62, 48}, {64, 47}, {-64, 48}, {48, 64}, {64, -49}}) {
        const BITMAPINFOHEADER out = MakeHeader("YUY2", 16, width, height);
        EXPECT_EQ(Query(generic, stream, &out), ICERR_BADFORMAT);
        EXPECT_EQ(Begin(generic, stream, out), ICERR_BADFORMAT);
    }
    // A host of DirectShow offers the compressed header as output.
    EXPECT_EQ(generic.Send(ICM_DECOMPRESS_QUERY, &stream, &stream), ICERR_BADFORMAT);
    EXPECT_EQ(generic.Send(ICM_DECOMPRESS_BEGIN, &stream, &stream), ICERR_BADFORMAT);
}

TEST(DecompressQuery, LogsWhatItAnswers)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    StreamHeader stream = MakeStream(104, 64, 48);
    const BITMAPINFOHEADER yuy2 = MakeHeader("YUY2", 16, 64, 48);
    const BITMAPINFOHEADER yv24 = MakeHeader("YV24", 24, 64, 48);
    const BITMAPINFOHEADER large = MakeHeader("YUY2", 16, 66, 48);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, nullptr, &yuy2), ICERR_BADPARAM);
    EXPECT_EQ(Query(instance, stream), 0);
    EXPECT_EQ(Query(instance, stream, &yuy2), 0);
    EXPECT_EQ(Query(instance, stream, &yv24), ICERR_BADFORMAT);
    EXPECT_EQ(Query(instance, stream, &large), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &yuy2), ICERR_BADFORMAT);
    stream.record.width = 128;
    EXPECT_EQ(Query(instance, stream), ICERR_BADFORMAT);
    EXPECT_EQ(Query(instance, stream, &yuy2), ICERR_BADFORMAT);
    EXPECT_EQ(Begin(instance, stream, yuy2), ICERR_BADFORMAT);
    const std::string name = "O8Y2 [YUV 4:2:2 (Rec.709) (limited)] (64 x 48)";
    EXPECT_EQ(user.NewLines(),
              (std::vector<std::string>{
                  "#### APPLICATION ERROR #### : ICM_DECOMPRESS_QUERY: Codec received NULL for "
                  "input format",
                  "Decompress query: " + name + ": OK",
                  "Decompress query: " + name + " -> YUY2 (64 x 48): OK",
                  "Decompress query: " + name + " -> YV24 (64 x 48): NOT SUPPORTED",
                  "Decompress query: " + name + " -> YUY2 (66 x 48): NOT SUPPORTED",
                  "Decompress query: YUY2 (64 x 48): NOT SUPPORTED",
                  "Decompress query: " + name + ": NOT SUPPORTED",
                  "Decompress query: " + name + " -> YUY2 (64 x 48): NOT SUPPORTED",
              }));
}

TEST(DecompressGetFormat, SuggestsTheNativeLayout)
{
    const TestUser user;
    const Instance generic;
    const std::pair<int, const char*> rows[] = {{101, "RGB 24"},  {102, "RGB 32"},  {103, "YV24 24"},
                                                {104, "HDYC 16"}, {105, "YV12 12"}, {106, "AYUV 32"},
                                                {107, "Y8   8"}};
    for (const auto& [code, expected] : rows)
        EXPECT_EQ(Suggestion(generic, MakeStream(code, 64, 48)), expected) << code;
}

TEST(DecompressGetFormat, SuggestsYuy2ForRec601Only)
{
    const TestUser user;
    const Instance generic;
    StreamHeader stream = MakeStream(104, 64, 48);
    for (const auto& [matrix, expected] :
         {std::pair{0, "HDYC 16"}, {1, "YUY2 16"}, {2, "HDYC 16"}, {3, ""}}) {
        stream.record.colorMatrix = static_cast<uint8_t>(matrix);
        EXPECT_EQ(Suggestion(generic, stream), expected) << matrix;
    }
}

TEST(DecompressGetFormat, SuggestsRgbFirstWhereTheUserWantsItAndTheMaskLetsIt)
{
    TestUser user;
    TestUser::Set("SuggestRGB", 1);
    const auto suggestions = [] {
        const Instance generic;
        std::string text;
        for (const int code : {101, 102, 103, 104, 105, 106, 107})
            text += Suggestion(generic, MakeStream(code, 64, 48)) + ", ";
        return text;
    };
    EXPECT_EQ(suggestions(), "RGB 24, RGB 32, RGB 24, RGB 24, RGB 24, RGB 32, RGB 24, ");
    Store({"no RGB", 24, 8, 4, 0});
    EXPECT_EQ(suggestions(), "RGB 24, RGB 32, YV24 24, HDYC 16, YV12 12, RGB 32, Y8   8, ");
}

TEST(DecompressGetFormat, FillsAllFortyBytes)
{
    const TestUser user;
    const Instance generic;
    struct Row {
        int code;
        int width;
        uint32_t bytes;
    };
    const Row rows[] = {{101, 5, 16 * 48}, {102, 5, 20 * 48},     {103, 5, 15 * 48}, {104, 6, 12 * 48},
                        {105, 6, 9 * 48},  {106, 5, 20 * 48},     {107, 5, 8 * 48},  {107, 8, 8 * 48},
                        {107, 1, 4 * 48},  {101, 64, 64 * 3 * 48}};
    for (const Row& row : rows) {
        StreamHeader stream = MakeStream(row.code, row.width, 48);
        stream.header.biPlanes = 9;
        stream.header.biSizeImage = 77;
        stream.header.biXPelsPerMeter = 1;
        stream.header.biYPelsPerMeter = -2;
        stream.header.biClrUsed = 3;
        stream.header.biClrImportant = 4;
        ExactBuffer out(40, 0, 0xCC);
        EXPECT_EQ(generic.Send(ICM_DECOMPRESS_GET_FORMAT, &stream), 40);
        ASSERT_EQ(generic.Send(ICM_DECOMPRESS_GET_FORMAT, &stream, out.data()), 0) << row.code;
        BITMAPINFOHEADER expected = stream.header, actual;
        std::memcpy(&actual, out.data(), sizeof actual);
        expected.biSize = 40;
        expected.biSizeImage = row.bytes;
        expected.biCompression = actual.biCompression;
        expected.biBitCount = actual.biBitCount;
        EXPECT_EQ(std::memcmp(&expected, &actual, sizeof actual), 0) << row.code << " " << actual.biSizeImage;
    }
}

TEST(DecompressGetFormat, SuggestionIsAccepted)
{
    const TestUser user;
    const Instance generic;
    for (const uint32_t suggestRgb : {0U, 1U}) {
        TestUser::Set("SuggestRGB", suggestRgb);
        generic.Send(ICM_SETSTATE);
        for (const Variant& variant : kVariants) {
            const StreamHeader stream = MakeStream(variant.id, 64, 48);
            BITMAPINFOHEADER out;
            ASSERT_EQ(generic.Send(ICM_DECOMPRESS_GET_FORMAT, &stream, &out), 0);
            EXPECT_EQ(Query(generic, stream, &out), 0) << variant.fourCC;
            EXPECT_EQ(Begin(generic, stream, out), 0) << variant.fourCC;
        }
    }
}

TEST(DecompressGetFormat, AnswersAndLogsRefusals)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    BITMAPINFOHEADER out;
    const BITMAPINFOHEADER yuy2 = MakeHeader("YUY2", 16, 64, 48);
    const BITMAPINFOHEADER bare = MakeHeader("O8Y2", 24, 64, 48);
    StreamHeader stream = MakeStream(104, 64, 48);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_GET_FORMAT, nullptr, &out), ICERR_BADPARAM);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_GET_FORMAT), ICERR_BADPARAM);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_GET_FORMAT, &yuy2), 40) << "whatever the header is";
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_GET_FORMAT, &yuy2, &out), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_GET_FORMAT, &bare, &out), ICERR_BADFORMAT);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_GET_FORMAT, &stream, &out), 0);
    const std::string null =
        "#### APPLICATION ERROR #### : ICM_DECOMPRESS_GET_FORMAT: Codec received NULL for input format";
    EXPECT_EQ(user.NewLines(),
              (std::vector<std::string>{
                  null, null, "Decompress get format: YUY2 (64 x 48): NOT SUPPORTED",
                  "Decompress get format: O8Y2 [INVALID HEADER (size: 0)] (64 x 48): NOT SUPPORTED",
                  "Decompress get format: O8Y2 [YUV 4:2:2 (Rec.709) (limited)] (64 x 48): HDYC (64 x 48)"}));
}

TEST(DecompressGetFormat, ReportsSizesThatCannotBe)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    for (const auto& [width, height] : {std::pair{0, 48}, {64, 0}, {64, -48}, {-64, 48}, {65536, 65536}}) {
        StreamHeader stream = MakeStream(104, 64, 48);
        stream.header.biWidth = width;
        stream.header.biHeight = height;
        BITMAPINFOHEADER out;
        EXPECT_EQ(instance.Send(ICM_DECOMPRESS_GET_FORMAT, &stream, &out), ICERR_BADFORMAT)
            << width << " x " << height;
        const std::string rule = "##############################################################";
        EXPECT_EQ(user.NewLines(),
                  (std::vector<std::string>{
                      rule, "INTERNAL ERROR: Decompress get format: 1 0",
                      "Please send a bug report with this log and steps to reproduce!", rule,
                      "Decompress get format: O8Y2 [YUV 4:2:2 (Rec.709) (limited)] (" +
                          std::to_string(width) + " x " + std::to_string(height) + "): NOT SUPPORTED"}));
    }
}

TEST(DecompressBegin, LogsNullFormats)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    const StreamHeader stream = MakeStream(104, 64, 48);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN), ICERR_BADPARAM);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, &stream), ICERR_BADPARAM);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, nullptr, &stream), ICERR_BADPARAM);
    const std::string line =
        "#### APPLICATION ERROR #### : ICM_DECOMPRESS_BEGIN: Codec received NULL for input/output format";
    EXPECT_EQ(user.NewLines(), std::vector<std::string>(3, line));
}

TEST(DecompressBegin, LogsTheRun)
{
    TestUser user;
    TestUser::EnableLog();
    TestUser::Set("AutoDecodeThreads", 0);
    TestUser::Set("NumDecodeThreads", 100);
    const Instance instance;
    StreamHeader stream = MakeStream(105, 64, 48);
    stream.record.flags |= 6;
    stream.record.colorMatrix = 1;
    BITMAPINFOHEADER out = MakeHeader("RGB", 24, 64, 48);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, &stream, &out), 0);
    std::vector<std::string> expected = {"--------------------------",
                                         "Decompress begin:",
                                         "    Threads:            64",
                                         "    Compressed format:  YUV 4:2:0 (Rec.601) (full) (interlaced)",
                                         "    Output format:      RGB24 (bottom-up)",
                                         "    Resolution:         64 x 48",
                                         "    Interlaced:         YES"};
    EXPECT_EQ(user.NewLines(), expected);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_END), 0);
    user.NewLines();
    out = MakeHeader("YUY2", 16, 64, -48);
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, &stream, &out), 0);
    expected[4] = "    Output format:      YUY2";
    EXPECT_EQ(user.NewLines(), expected);
}
