#include "surroundings/tray_text.h"

#include <gtest/gtest.h>

#include <cstdio>

using namespace surroundings;

namespace {

TrayStatus StatusOf(TrayMode mode, bool bottomUp = false)
{
    TrayStatus status;
    status.Mode = mode;
    status.BottomUp = bottomUp;
    status.Width = 1920;
    status.Height = 1080;
    std::snprintf(status.FormatText, sizeof status.FormatText, "RGB32");
    std::snprintf(status.CompressedText, sizeof status.CompressedText, "YUV 4:2:2 (Rec.709) (limited)");
    return status;
}

TEST(TrayText, CompressingTellsInputFirst)
{
    const TrayTexts texts = BuildTrayTexts(StatusOf(TrayMode::Compressing), "editor.exe");
    EXPECT_EQ(texts.title, "Orvane (64 bit) compressing...");
    EXPECT_EQ(texts.info,
              "App: editor.exe (64 bit)\nIn: RGB32\nComp: YUV 4:2:2 (Rec.709) (limited)\nRes: 1920 x 1080");
    EXPECT_EQ(texts.tip, texts.info);
}

TEST(TrayText, DecompressingTellsTheStreamFirst)
{
    const TrayTexts texts = BuildTrayTexts(StatusOf(TrayMode::Decompressing), "player.exe");
    EXPECT_EQ(texts.title, "Orvane (64 bit) decompressing...");
    EXPECT_EQ(texts.info,
              "App: player.exe (64 bit)\nComp: YUV 4:2:2 (Rec.709) (limited)\nOut: RGB32\nRes: 1920 x 1080");
}

TEST(TrayText, BottomUpStandsBehindTheUncompressedFormat)
{
    EXPECT_EQ(
        BuildTrayTexts(StatusOf(TrayMode::Compressing, true), "a").info,
        "App: a (64 bit)\nIn: RGB32 (bottom-up)\nComp: YUV 4:2:2 (Rec.709) (limited)\nRes: 1920 x 1080");
    EXPECT_EQ(
        BuildTrayTexts(StatusOf(TrayMode::Decompressing, true), "a").info,
        "App: a (64 bit)\nComp: YUV 4:2:2 (Rec.709) (limited)\nOut: RGB32 (bottom-up)\nRes: 1920 x 1080");
}

TEST(TrayText, EveryOtherModeIsIdle)
{
    for (const TrayMode mode : {TrayMode::Idle, static_cast<TrayMode>(3)}) {
        const TrayTexts texts = BuildTrayTexts(StatusOf(mode, true), "editor.exe");
        EXPECT_EQ(texts.title, "Orvane (64 bit) idle...");
        EXPECT_EQ(texts.info, "App: editor.exe\nIdle...");
        EXPECT_EQ(texts.tip, texts.info);
    }
}

TEST(TrayText, TheTipIsCutAt127BytesAndTheInfoIsNot)
{
    TrayStatus status = StatusOf(TrayMode::Compressing);
    std::string(63, 'f').copy(status.FormatText, 63);
    std::string(63, 'c').copy(status.CompressedText, 63);
    const TrayTexts texts = BuildTrayTexts(status, "12345678901234567890");
    EXPECT_EQ(texts.tip.size(), 127U);
    EXPECT_TRUE(texts.info.starts_with(texts.tip));
    EXPECT_TRUE(texts.info.ends_with("\nRes: 1920 x 1080"));
    EXPECT_LE(texts.info.size(), 255U) << "as much as the shell takes";
}

TEST(TrayText, TheHostIsTheFileNameCutAtTwentyBytes)
{
#ifdef _WIN32
    EXPECT_EQ(ShortHostName("C:\\Programs\\Editor 3\\editor.exe"), "editor.exe");
    EXPECT_EQ(ShortHostName("C:\\abcdefghijklmnopqrstuvwxyz.exe"), "abcdefghijklmnopqrst");
#else
    EXPECT_EQ(ShortHostName("/usr/bin/editor"), "editor");
    EXPECT_EQ(ShortHostName("/usr/bin/abcdefghijklmnopqrstuvwxyz"), "abcdefghijklmnopqrst");
#endif
    EXPECT_EQ(ShortHostName("editor.exe"), "editor.exe");
    EXPECT_EQ(ShortHostName("12345678901234567890"), "12345678901234567890");
    EXPECT_EQ(ShortHostName(""), "");
}

} // namespace
