#include "files/picture_sequence.h"
#include "files/still_image.h"
#include "support/test_seed.h"
#include "tool/tool_test_support.h"
#include "tool_error.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

VideoInfo InfoOf(const char* layout, int width, int height)
{
    VideoInfo info;
    info.layout = &LayoutNamed(layout);
    info.width = width;
    info.height = height;
    return info;
}

Bytes Pixels(const VideoInfo& info)
{
    Bytes pixels(info.FrameBytes());
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<uint8_t>(i * 37 + i / 5);
    return pixels;
}

Bytes BytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

std::string ErrorOf(const Bytes& bytes)
{
    try {
        DecodeStill(bytes, "test");
    } catch (const ToolError& error) {
        return ErrorLine(error);
    }
    return "none";
}

} // namespace

TEST(StillImage, PicturesReadBackTheSame)
{
    for (const char* layout : {"Y800", "RGB24", "RGBA"})
        for (const StillKind kind : {StillKind::Png, StillKind::Pnm}) {
            const VideoInfo info = InfoOf(layout, 13, 7);
            if (kind == StillKind::Pnm && std::string(layout) == "RGBA") {
                EXPECT_THROW(CheckStillLayout(kind, *info.layout, "test"), ToolError);
                continue;
            }
            const Bytes pixels = Pixels(info);
            const StillImage read = DecodeStill(EncodeStill(kind, info, pixels), "test");
            EXPECT_EQ(read.info.layout, info.layout);
            EXPECT_EQ(read.info.width, 13);
            EXPECT_EQ(read.info.height, 7);
            EXPECT_EQ(read.pixels, pixels) << layout;
        }
    EXPECT_THROW(CheckStillLayout(StillKind::Png, LayoutNamed("I420"), "test"), ToolError);
}

TEST(StillImage, PpmHoldsRedFirstAndMayHaveComments)
{
    const StillImage read = DecodeStill(BytesOf("P6 # a comment\n 2\t1 # another\n255\nRGBrgb"), "test");
    EXPECT_EQ(read.pixels, BytesOf("BGRbgr"));
}

TEST(StillImage, WhatCannotBeReadIsRefusedWithItsReason)
{
    EXPECT_NE(ErrorOf(BytesOf("P6 2 2 65535\n123456789012345678901234")).find("16 bits"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P5 2 2 100\n1234")).find("maximum of 100"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P5 2 2 255\n123")).find("damaged"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P5 99999 99999 255\n123")).find("not supported"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P3 1 1 255 1 2 3")).find("not a PNG"), std::string::npos);
    EXPECT_NE(ErrorOf({}).find("not a PNG"), std::string::npos);
}

TEST(StillImage, SeveralPicturesInOneFileAreFrames)
{
    const Bytes bytes = BytesOf("P5 2 1 255\nabP5\n#\n2 1 255\ncdP6 2 1 255\nABCDEF\n");
    StillFile file(std::make_unique<MemorySource>(bytes), "test");
    EXPECT_EQ(file.CountPictures(), 3u);
    EXPECT_EQ(file.Next()->pixels, BytesOf("ab"));
    EXPECT_EQ(file.CountPictures(), 2u);
    EXPECT_EQ(file.Next()->pixels, BytesOf("cd"));
    const StillImage last = *file.Next();
    EXPECT_EQ(last.pixels, BytesOf("CBAFED"));
    EXPECT_TRUE(last.warnings.empty()) << "a line end at the end of the file is nothing";
    EXPECT_FALSE(file.Next());
}

TEST(StillImage, WhatFollowsThePicturesIsWarnedOf)
{
    const StillImage read = DecodeStill(BytesOf("P5 2 1 255\nabrest"), "test");
    ASSERT_EQ(read.warnings.size(), 1u);
    EXPECT_EQ(read.warnings[0].what, "bytes that are no picture follow the picture");
}

TEST(StillImage, NoBytesHarmTheReader)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    for (const char* layout : {"Y800", "RGB24", "RGBA"})
        for (const StillKind kind : {StillKind::Png, StillKind::Pnm}) {
            const VideoInfo info = InfoOf(layout, 9, 5);
            if (kind == StillKind::Pnm && info.layout->family == kCodeRgba)
                continue;
            const Bytes good = EncodeStill(kind, info, Pixels(info));
            for (int round = 0; round < 2000; ++round) {
                Bytes bytes = good;
                for (size_t n = 1 + random() % 3; n > 0; --n)
                    bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
                if (random() % 4 == 0)
                    bytes.resize(random() % bytes.size());
                try {
                    const StillImage read = DecodeStill(bytes, "test");
                    ASSERT_EQ(read.pixels.size(), read.info.FrameBytes());
                } catch (const ToolError&) { // a refusal is a good answer
                }
            }
        }
}

TEST(NumberPattern, NamesAndNumbersBelongTogether)
{
    const auto pattern = NumberPattern::Parse(PathOf("folder/shot_%04d.png"));
    ASSERT_TRUE(pattern);
    EXPECT_EQ(TextOf(pattern->NameOf(7).filename()), "shot_0007.png");
    EXPECT_EQ(TextOf(pattern->NameOf(12345).filename()), "shot_12345.png");
    EXPECT_EQ(pattern->NumberOf("shot_0007.png"), 7u);
    EXPECT_EQ(pattern->NumberOf("shot_12345.png"), 12345u);
    for (const char* other :
         {"shot_007.png", "shot_00007.png", "shot_.png", "shot_0007.ppm", "xshot_0007.png", "shot_00x7.png",
          "shot_-007.png", "shot_9999999999999999999999.png"})
        EXPECT_EQ(pattern->NumberOf(other), std::nullopt) << other;
    EXPECT_EQ(NumberPattern::Parse(PathOf("%d.png"))->NumberOf("10.png"), 10u);
    EXPECT_FALSE(NumberPattern::Parse(PathOf("plain.png")));
    for (const char* bad : {"a%s.png", "a%4d.png", "a%.png", "a%d%d.png", "a%099d.png"})
        EXPECT_THROW(NumberPattern::Parse(PathOf(bad)), UsageError) << bad;
}

TEST(PictureSequence, IsReadFromItsFirstNumberOn)
{
    const TestFolder folder;
    const VideoInfo info = InfoOf("RGB24", 4, 4);
    for (const int number : {9, 10, 11})
        WriteFile(NameIn(folder, "s_" + std::to_string(number) + ".ppm"),
                  EncodeStill(StillKind::Pnm, info, Bytes(48, static_cast<uint8_t>(number))));
    StillReader reader(PathOf(NameIn(folder, "s_%d.ppm")));
    EXPECT_EQ(reader.FrameCount(), 3u);
    Bytes picture(48);
    for (const int expected : {9, 10, 11}) {
        ASSERT_TRUE(reader.Next(picture));
        EXPECT_EQ(picture, Bytes(48, static_cast<uint8_t>(expected)));
    }
    EXPECT_FALSE(reader.Next(picture));
}

TEST(PictureSequence, GapAndChangeOfFormAreErrors)
{
    const TestFolder folder;
    const auto write = [&](int number, const VideoInfo& info) {
        WriteFile(NameIn(folder, "s_0" + std::to_string(number) + ".png"),
                  EncodeStill(StillKind::Png, info, Pixels(info)));
    };
    write(1, InfoOf("RGB24", 4, 4));
    write(2, InfoOf("RGB24", 4, 4));
    write(4, InfoOf("RGB24", 4, 4));
    const std::filesystem::path name = PathOf(NameIn(folder, "s_%02d.png"));
    try {
        StillReader reader(name);
        FAIL() << "a gap";
    } catch (const ToolError& error) {
        EXPECT_NE(ErrorLine(error).find("s_03.png"), std::string::npos) << ErrorLine(error);
    }
    write(3, InfoOf("RGBA", 4, 4));
    StillReader reader(name);
    Bytes picture(48);
    EXPECT_TRUE(reader.Next(picture));
    EXPECT_TRUE(reader.Next(picture));
    EXPECT_THROW(reader.Next(picture), ToolError);
    EXPECT_THROW(StillReader(PathOf(NameIn(folder, "none_%d.png"))), ToolError);
}
