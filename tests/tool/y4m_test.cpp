#include "files/y4m_stream.h"
#include "support/test_seed.h"
#include "tool/run_command.h"
#include "tool_error.h"

#include <numeric>
#include <random>
#include <sstream>

namespace {

Y4mHeader Parse(const std::string& fields)
{
    return ParseY4mHeader("YUV4MPEG2 " + fields, "test");
}

std::string ErrorOf(const std::string& line)
{
    try {
        ParseY4mHeader(line, "test");
    } catch (const ToolError& error) {
        return ErrorLine(error);
    }
    return "none";
}

} // namespace

TEST(Y4mHeader, ChromaTagsChooseTheLayout)
{
    const struct {
        const char* tag;
        const char* layout;
        size_t bytes; // of a picture of 8 x 6
    } rows[] = {{"", "I420", 72},          {"C420", "I420", 72},       {"C420jpeg", "I420", 72},
                {"C420mpeg2", "I420", 72}, {"C420paldv", "I420", 72},  {"C422", "YUY2", 96},
                {"C444", "I444", 144},     {"C444alpha", "AYUV", 192}, {"Cmono", "Y800", 48}};
    for (const auto& row : rows) {
        const Y4mHeader header = Parse(std::string("W8 H6 ") + row.tag);
        EXPECT_STREQ(header.info.layout->name, row.layout) << row.tag;
        EXPECT_EQ(header.info.FrameBytes(), row.bytes) << row.tag;
    }
}

TEST(Y4mHeader, FieldsAreKept)
{
    const VideoInfo info = Parse("W8 H6 F30000:1001 It A1:1 C420jpeg XYSCSS=420JPEG XCOLORRANGE=FULL").info;
    EXPECT_EQ(info.width, 8);
    EXPECT_EQ(info.height, 6);
    EXPECT_EQ(info.rate, (Rational{30000, 1001}));
    EXPECT_EQ(info.interlaced, true);
    EXPECT_EQ(info.bottomFieldFirst, false);
    EXPECT_EQ(info.fullRange, true);
    EXPECT_EQ(Parse("W8 H6 Ib").info.bottomFieldFirst, true);
    EXPECT_EQ(Parse("W8 H6 Ip").info.interlaced, false);
    EXPECT_EQ(Parse("W8 H6 XCOLORRANGE=LIMITED").info.fullRange, false);
}

TEST(Y4mHeader, UnknownFieldsSayNothing)
{
    const VideoInfo info = Parse("W8 H6 F0:0 I? A0:0 Zfoo Xbar").info;
    EXPECT_FALSE(info.rate);
    EXPECT_FALSE(info.interlaced);
    EXPECT_FALSE(info.fullRange);
}

TEST(Y4mHeader, WhatCannotBeReadIsRefusedWithItsReason)
{
    const struct {
        const char* line;
        const char* part;
    } rows[] = {{"", "no Y4M"},
                {"YUV4MPEG W8 H6", "no Y4M"},
                {"YUV4MPEG2", "0x0"},
                {"YUV4MPEG2 W8", "8x0"},
                {"YUV4MPEG2 W8 H6 C420p10", "10 bits"},
                {"YUV4MPEG2 W8 H6 C422p16", "16 bits"},
                {"YUV4MPEG2 W8 H6 C444p12", "12 bits"},
                {"YUV4MPEG2 W8 H6 Cmono16", "16 bits"},
                {"YUV4MPEG2 W8 H6 C411", "C411"},
                {"YUV4MPEG2 W8 H6 C420p", "C420p"},
                {"YUV4MPEG2 W7 H6 C420", "multiple of 2"},
                {"YUV4MPEG2 W8 H5 C420", "multiple of 2"},
                {"YUV4MPEG2 W7 H6 C422", "multiple of 2"},
                {"YUV4MPEG2 W-8 H6", "bad size"},
                {"YUV4MPEG2 W99999999999 H6", "bad size"},
                {"YUV4MPEG2 W1000000 H1000000", "not supported"}};
    for (const auto& row : rows)
        EXPECT_NE(ErrorOf(row.line).find(row.part), std::string::npos)
            << row.line << " gives " << ErrorOf(row.line);
    EXPECT_EQ(ErrorOf("YUV4MPEG2 W7 H5 C444"), "none");
}

TEST(Y4mHeader, WrittenLineReadsBackTheSame)
{
    for (const char* layout : {"I420", "YUY2", "I444", "AYUV", "Y800"})
        for (const std::optional<bool> interlaced : {std::optional<bool>{}, {false}, {true}})
            for (const std::optional<bool> fullRange : {std::optional<bool>{}, {false}, {true}}) {
                VideoInfo info;
                info.layout = &LayoutNamed(layout);
                info.width = 8;
                info.height = 6;
                info.rate = {24000, 1001};
                info.interlaced = interlaced;
                info.fullRange = fullRange;
                std::string line = MakeY4mHeader(info, "test");
                ASSERT_EQ(line.back(), '\n');
                line.pop_back();
                const VideoInfo read = ParseY4mHeader(line, "test").info;
                EXPECT_EQ(read.layout, info.layout);
                EXPECT_EQ(read.rate, info.rate);
                EXPECT_EQ(read.interlaced, interlaced);
                EXPECT_EQ(read.fullRange, fullRange);
            }
    VideoInfo rgb;
    rgb.layout = &LayoutNamed("RGB24");
    EXPECT_THROW(MakeY4mHeader(rgb, "test"), ToolError);
}

TEST(Y4mStream, PackedPicturesHaveTheSamplesOfTheirPlanes)
{
    const std::vector<uint8_t> planes422 = {1, 2, 3, 4, /* U */ 10, 20, /* V */ 30, 40};
    std::vector<uint8_t> picture(8);
    InterleaveY4m(Y4mKind::Yuy2, planes422, picture);
    EXPECT_EQ(picture, (std::vector<uint8_t>{1, 10, 2, 30, 3, 20, 4, 40}));
    const std::vector<uint8_t> planesAlpha = {1, 2, /* U */ 10, 20, /* V */ 30, 40, /* alpha */ 50, 60};
    InterleaveY4m(Y4mKind::Ayuv, planesAlpha, picture);
    EXPECT_EQ(picture, (std::vector<uint8_t>{50, 1, 10, 30, 60, 2, 20, 40}));

    std::vector<uint8_t> any(96), packed(96), back(96);
    std::iota(any.begin(), any.end(), uint8_t{0});
    for (const Y4mKind kind : {Y4mKind::Yuy2, Y4mKind::Ayuv}) {
        InterleaveY4m(kind, any, packed);
        DeinterleaveY4m(kind, packed, back);
        EXPECT_EQ(back, any);
    }
}

TEST(Y4mStream, FrameLinesMayHaveParameters)
{
    std::istringstream stream("YUV4MPEG2 W4 H1 Cmono\nFRAME Ixyz\nabcdFRAME\nefgh");
    Y4mReader reader(stream, "test");
    std::vector<uint8_t> picture(4);
    EXPECT_TRUE(reader.Next(picture));
    EXPECT_EQ(picture[0], 'a');
    EXPECT_TRUE(reader.Next(picture));
    EXPECT_EQ(picture[3], 'h');
    EXPECT_FALSE(reader.Next(picture));
}

TEST(Y4mStream, CutAnywhereBehindTheHeaderIsAnErrorButBetweenPictures)
{
    const std::string text = "YUV4MPEG2 W4 H1 Cmono\nFRAME\nabcdFRAME\nefgh";
    const size_t header = text.find('\n') + 1;
    for (size_t size = 0; size <= text.size(); ++size) {
        std::istringstream stream(text.substr(0, size));
        std::vector<uint8_t> picture(4);
        const auto readAll = [&] {
            Y4mReader reader(stream, "test");
            while (reader.Next(picture)) {
            }
        };
        if (size == header || size == header + 10 || size == text.size())
            EXPECT_NO_THROW(readAll()) << size;
        else
            EXPECT_THROW(readAll(), ToolError) << size;
    }
}

TEST(Y4mStream, NoBytesHarmTheReader)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    const std::string good =
        "YUV4MPEG2 W4 H2 F25:1 It A1:1 C422 XCOLORRANGE=FULL\nFRAME\nabcdefghijklmnopFRAME\n"
        "abcdefghijklmnop";
    for (int round = 0; round < 5000; ++round) {
        std::string text = good;
        for (size_t n = 1 + random() % 4; n > 0; --n)
            text[random() % text.size()] = static_cast<char>(random());
        std::istringstream stream(text);
        try {
            Y4mReader reader(stream, "test");
            if (reader.Info().FrameBytes() > 1 << 20)
                continue;
            std::vector<uint8_t> picture(reader.Info().FrameBytes());
            while (reader.Next(picture)) {
            }
        } catch (const ToolError&) { // a refusal is a good answer
        }
    }
    std::istringstream endless(std::string(100000, 'Y'));
    EXPECT_THROW(Y4mReader(endless, "test"), ToolError);
}

namespace {

class Y4mFields : public CommandTest
{
  protected:
    std::string Back(const std::string& fields, size_t frameBytes,
                     const std::vector<std::string>& options = {})
    {
        std::vector<std::string> arguments{"encode", "-", "-o", Name("out.avi")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        RunGood(arguments, MakeY4m(32, 24, fields, frameBytes, 1));
        return FirstLineOf(RunGood({"decode", Name("out.avi"), "-o", "-"}));
    }
};

} // namespace

TEST_F(Y4mFields, AspectChromaNameAndFieldOrderComeBack)
{
    for (const char* fields :
         {"F25:1 Ib A128:117 C420paldv XCOLORRANGE=LIMITED", "F25:1 It A1:1 C420mpeg2 XCOLORRANGE=FULL",
          "F30000:1001 Ip A0:0 C420 XCOLORRANGE=LIMITED", "F25:1 Ip A10:11 C420jpeg XCOLORRANGE=LIMITED"})
        EXPECT_EQ(Back(fields, 1152), "YUV4MPEG2 W32 H24 " + std::string(fields));
    EXPECT_EQ(Back("F25:1 Ib A59:54 C422 XCOLORRANGE=FULL", 1536),
              "YUV4MPEG2 W32 H24 F25:1 Ib A59:54 C422 XCOLORRANGE=FULL");
}

TEST_F(Y4mFields, ARangeThatIsNotSaidStaysUnknownUnlessAnOptionSaysIt)
{
    EXPECT_EQ(Back("F25:1 Ip A1:1 C420jpeg", 1152), "YUV4MPEG2 W32 H24 F25:1 Ip A1:1 C420jpeg");
    EXPECT_EQ(Back("F25:1 Ip A1:1 C420jpeg", 1152, {"--full-range"}),
              "YUV4MPEG2 W32 H24 F25:1 Ip A1:1 C420jpeg XCOLORRANGE=FULL");
}

TEST_F(Y4mFields, TagsComeBack)
{
    EXPECT_EQ(Back("F25:1 Ip A1:1 C420jpeg XSHOT=12 XYSCSS=420JPEG XTAKE=3", 1152),
              "YUV4MPEG2 W32 H24 F25:1 Ip A1:1 C420jpeg XSHOT=12 XTAKE=3")
        << "C says what XYSCSS does";
}

TEST_F(Y4mFields, WhatCannotBeKeptIsWarnedOfOnce)
{
    const auto warningsOf = [&](const std::string& fields, const std::string& frameLine) {
        std::string y4m = MakeY4m(32, 24, fields, 1152, 3);
        for (size_t at = 0; (at = y4m.find("FRAME\n", at)) != y4m.npos; at += frameLine.size())
            y4m.replace(at, 6, frameLine);
        const CommandResult result = Run({"encode", "-", "-o", Name("out.avi")}, y4m);
        EXPECT_EQ(result.code, 0) << result.err;
        return result.err;
    };
    EXPECT_EQ(warningsOf("F25:1 C420jpeg", "FRAME\n"), "");
    EXPECT_EQ(warningsOf("C420jpeg I? A0:0", "FRAME \n"), "");
    EXPECT_EQ(warningsOf("F0:0 C420jpeg", "FRAME\n"), "orvane: warning: the Y4M stream says no usable frame "
                                                      "rate (F0:0), standard input, 25 frames a second "
                                                      "are taken; --fps sets another rate\n");
    EXPECT_NE(warningsOf("F25:1 Im", "FRAME\n").find("the interlacing Im"), std::string::npos);
    EXPECT_NE(warningsOf("F25:1 Zoom", "FRAME\n").find("the field Zoom"), std::string::npos);
    EXPECT_NE(warningsOf("F25:1 XCOLORRANGE=WIDE", "FRAME\n").find("the range XCOLORRANGE=WIDE"),
              std::string::npos);
    const std::string frames = warningsOf("F25:1", "FRAME Ixyz\n");
    EXPECT_NE(frames.find("parameters of their own, standard input frame 0"), std::string::npos) << frames;
    EXPECT_EQ(std::ranges::count(frames, '\n'), 1) << "three frames, one warning";
    const std::string tags =
        warningsOf("F25:1 X" + std::string(1500, 'a') + " X" + std::string(1500, 'b'), "FRAME\n");
    EXPECT_NE(tags.find("tags of the Y4M stream are too long"), std::string::npos) << tags;
}

TEST_F(Y4mFields, ASourceToCompareWithIsWarnedOfToo)
{
    std::string y4m = MakeY4m(32, 24, "F25:1 Zoom", 1152, 2);
    EXPECT_EQ(Run({"encode", "-", "-o", Name("out.avi")}, y4m).code, 0);
    const CommandResult result = Run({"verify", Name("out.avi"), "--against", "-"}, y4m);
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_NE(result.err.find("the field Zoom"), std::string::npos) << result.err;
}

TEST_F(Y4mFields, AStreamWithoutFramesIsAnErrorAndLeavesNothing)
{
    ExpectError(Run({"encode", "-", "-o", Name("none.avi")}, "YUV4MPEG2 W32 H24 F25:1\n"), 1,
                "the input has no frames");
    EXPECT_FALSE(Exists("none.avi"));
    EXPECT_FALSE(Exists("none.avi.part"));
}

TEST_F(Y4mFields, OptionsAndOtherLayoutsWin)
{
    EXPECT_EQ(Back("F25:1 Ib A1:1 C420mpeg2", 1152, {"--no-interlaced"}),
              "YUV4MPEG2 W32 H24 F25:1 Ip A1:1 C420mpeg2");
    EXPECT_EQ(FirstLineOf(RunGood({"decode", Name("out.avi"), "-o", "-", "--to", "I444"})),
              "YUV4MPEG2 W32 H24 F25:1 Ip A1:1 C444");
}

TEST(Y4m, StrayFieldsInAFileDoNothing)
{
    VideoInfo info;
    info.layout = &LayoutNamed("I420");
    info.width = info.height = 8;
    info.interlaced = true;
    const std::string plain = MakeY4mHeader(info, "test");
    for (const std::string text : {"", " ", "A", "C", "I", "Ix", "A0:0 C444 It", "A99999999999:1",
                                   "\n\t A:: Cmono", "C420jpeg\x01", "W9 H9 F1:1"}) {
        VideoInfo other = info;
        TakeY4mFields(text, other);
        EXPECT_EQ(MakeY4mHeader(other, "test"), plain) << text;
    }
}

TEST(Y4m, LastInterlaceFieldHolds)
{
    const VideoInfo progressive = ParseY4mHeader("YUV4MPEG2 W8 H8 F25:1 Ib Ip", "test").info;
    EXPECT_EQ(progressive.interlaced, false);
    EXPECT_EQ(progressive.bottomFieldFirst, std::nullopt);
    EXPECT_EQ(MakeY4mFields(progressive), "XCOLORRANGE=?");
    EXPECT_EQ(ParseY4mHeader("YUV4MPEG2 W8 H8 F25:1 Ip Ib", "test").info.bottomFieldFirst, true);
}

TEST(Y4m, RatesOfAllThatAviFilesCanSayComeBack)
{
    VideoInfo info = ParseY4mHeader("YUV4MPEG2 W8 H8", "test").info;
    for (const Rational rate : {Rational{25, 0x80000001}, Rational{UINT32_MAX, 1}, Rational{1, UINT32_MAX}}) {
        info.rate = rate;
        EXPECT_EQ(ParseY4mHeader(MakeY4mHeader(info, "test"), "test").info.rate, rate);
    }
    EXPECT_EQ(ParseRational("4294967296:1", ':'), std::nullopt);
}

TEST(Y4m, FilesTellTheirFramesAndPipesDoNot)
{
    const std::string y4m = MakeY4m(32, 24, "C420jpeg", 1152, 7);
    Y4mReader file(std::make_unique<std::istringstream>(y4m), "test");
    EXPECT_EQ(file.FrameCount(), 7u);
    Bytes picture(1152);
    int frames = 0;
    for (; file.Next(picture); ++frames)
        EXPECT_EQ(picture[0], static_cast<uint8_t>(frames * 5))
            << "counting has left the stream where it was";
    EXPECT_EQ(frames, 7);
    std::istringstream pipe(y4m);
    EXPECT_EQ(Y4mReader(pipe, "test").FrameCount(), std::nullopt);
}
