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

/// The start of a PNG file: signature and IHDR, with a right length and no right checksum.
Bytes PngHead(uint32_t width, uint32_t height, uint8_t depth, uint8_t colorType)
{
    Bytes bytes = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13, 'I', 'H', 'D', 'R'};
    for (const uint32_t size : {width, height})
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes.push_back(static_cast<uint8_t>(size >> shift));
    for (const uint8_t field : {depth, colorType, uint8_t{0}, uint8_t{0}, uint8_t{0}})
        bytes.push_back(field);
    bytes.resize(bytes.size() + 40);
    return bytes;
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
            const StillImage read = DecodeStill(EncodeStill(kind, info, pixels, "test"), "test");
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
    EXPECT_NE(ErrorOf(PngHead(8, 8, 16, 2)).find("16 bits"), std::string::npos);
    EXPECT_NE(ErrorOf(PngHead(0x7FFFFFFF, 0x7FFFFFFF, 8, 6)).find("too large"), std::string::npos);
    EXPECT_NE(ErrorOf(PngHead(0, 8, 8, 6)).find("not supported"), std::string::npos);
    EXPECT_NE(ErrorOf(PngHead(8, 8, 8, 2)).find("damaged"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P6 2 2 65535\n123456789012345678901234")).find("16 bits"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P5 2 2 100\n1234")).find("maximum of 100"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P5 2 2 255\n123")).find("damaged"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P5 99999 99999 255\n123")).find("too large"), std::string::npos);
    EXPECT_NE(ErrorOf(BytesOf("P3 1 1 255 1 2 3")).find("not a PNG"), std::string::npos);
    EXPECT_NE(ErrorOf({}).find("not a PNG"), std::string::npos);
}

TEST(StillImage, EmptyDataChunksAreNoPartOfAPicture)
{
    const VideoInfo info = InfoOf("RGBA", 9, 5);
    const Bytes pixels = Pixels(info);
    const Bytes png = EncodeStill(StillKind::Png, info, pixels, "test");
    const std::string dataName = "IDAT";
    const auto data = std::search(png.begin(), png.end(), dataName.begin(), dataName.end()) - 4;
    const Bytes empty = {0, 0, 0, 0, 'I', 'D', 'A', 'T', 0x35, 0xAF, 0x06, 0x1E};

    Bytes padded = png;
    padded.insert(padded.begin() + (data - png.begin()), empty.begin(), empty.end());
    EXPECT_EQ(DecodeStill(padded, "test").pixels, pixels);

    Bytes bare(png.begin(), data); // nothing else follows
    bare.insert(bare.end(), empty.begin(), empty.end());
    EXPECT_NE(ErrorOf(bare).find("damaged"), std::string::npos);
}

TEST(StillImage, DataChunkThatPromisesMoreThanTheFileIsDamage)
{
    const VideoInfo info = InfoOf("RGBA", 9, 5);
    Bytes png = EncodeStill(StillKind::Png, info, Pixels(info), "test");
    const std::string dataName = "IDAT";
    const auto data = std::search(png.begin(), png.end(), dataName.begin(), dataName.end());
    *(data - 4) = 0x40; // a gibibyte
    EXPECT_NE(ErrorOf(png).find("damaged"), std::string::npos);
    *(data - 4) = 0x7F;
    EXPECT_NE(ErrorOf(png).find("damaged"), std::string::npos);
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
            const Bytes good = EncodeStill(kind, info, Pixels(info), "test");
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
                  EncodeStill(StillKind::Pnm, info, Bytes(48, static_cast<uint8_t>(number)), "test"));
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
                  EncodeStill(StillKind::Png, info, Pixels(info), "test"));
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
