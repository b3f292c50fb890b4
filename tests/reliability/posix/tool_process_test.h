// What tests of the tool as a process share: a clip, an older output, and looks at what is left.
#pragma once

#include "counted.h"
#include "files/avi_reader.h"
#include "files/byte_source.h"
#include "reliability/posix/tool_process.h"
#include "tool/tool_test_support.h"
#include "tool_error.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <random>
#include <thread>

inline constexpr int kWidth = 64;
inline constexpr int kHeight = 48;
inline constexpr size_t kPictureBytes = kWidth * kHeight * 3 / 2;
inline constexpr size_t kY4mFrameBytes = 6 + kPictureBytes;
inline const std::string kOlder = "an older file";
inline constexpr std::chrono::seconds kPatience{60};

inline std::string Y4mHead()
{
    return "YUV4MPEG2 W64 H48 F25:1 Ip C420jpeg\n";
}

inline std::string Y4mFrames(int count, uint32_t seed = 1)
{
    std::mt19937 random(seed);
    std::string text;
    for (int frame = 0; frame < count; ++frame) {
        text += "FRAME\n";
        for (size_t i = 0; i < kPictureBytes; ++i)
            text += static_cast<char>(i % 64 * 2 + i / 200 + random() % 16);
    }
    return text;
}

class ToolProcessTest : public testing::Test
{
  protected:
    ToolProcessTest() { WriteText(Name("out.avi"), kOlder); }

    std::string Name(const std::string& file) const { return NameIn(folder, file); }
    bool Exists(const std::string& file) const { return std::filesystem::exists(folder.Path() / file); }
    std::string Text(const std::string& file) const
    {
        const Bytes bytes = ReadFile(Name(file));
        return {bytes.begin(), bytes.end()};
    }

    /// Whole frames of an AVI file in any state; 0 when it has none.
    size_t FramesIn(const std::string& file) const
    {
        try {
            return ReadAvi(FileSource(PathOf(Name(file))), file).frames.size();
        } catch (const ToolError&) {
            return 0;
        }
    }

    bool WaitFor(const std::function<bool()>& isSo) const
    {
        const auto end = std::chrono::steady_clock::now() + kPatience;
        while (std::chrono::steady_clock::now() < end) {
            if (isSo())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return false;
    }

    /// The frames that the unfinished file gives, which must be the first ones of `y4m`. -1 if they are not.
    int DecodedFrames(const std::string& file, const std::string& y4m) const
    {
        if (FramesIn(file) == 0)
            return 0;
        const ToolEnd end = RunToolProcess(folder, {"decode", file, "-o", "back.y4m", "--force"});
        EXPECT_TRUE(end.code == 3 || end.code == 0) << end.err;
        const std::string back = Text("back.y4m");
        const std::string frames = back.substr(back.find('\n') + 1);
        const bool areFirst = y4m.substr(y4m.find('\n') + 1, frames.size()) == frames;
        return areFirst ? static_cast<int>(frames.size() / kY4mFrameBytes) : -1;
    }

    static void ExpectError(const ToolEnd& end, const std::string& part)
    {
        EXPECT_EQ(end.code, 1) << "signal " << end.signal << ": " << end.err;
        EXPECT_TRUE(end.err.starts_with("orvane: error: ")) << end.err;
        EXPECT_EQ(std::ranges::count(end.err, '\n'), 1) << end.err;
        EXPECT_NE(end.err.find(part), std::string::npos) << end.err << "has no: " << part;
    }

    static std::string InIt(int frames)
    {
        return Counted(static_cast<uint64_t>(frames), "frame") + (frames == 1 ? " is in it" : " are in it");
    }

    TestFolder folder;
};
