// The tool where the disk is full, where it is killed, and where a person has had enough: an older file keeps its
// bytes, what was recorded can be read up to its last whole frame, and the tool says how many frames that is.
#include "files/avi_reader.h"
#include "files/byte_source.h"
#include "reliability/amount.h"
#include "reliability/posix/tool_process.h"
#include "support/long_tests.h"
#include "support/test_seed.h"
#include "tool/tool_test_support.h"
#include "tool_error.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <random>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;
constexpr size_t kPictureBytes = kWidth * kHeight * 3 / 2;
constexpr size_t kY4mFrameBytes = 6 + kPictureBytes;
const std::string kOlder = "an older file";
constexpr std::chrono::seconds kPatience{60};

std::string Y4mHead()
{
    return "YUV4MPEG2 W64 H48 F25:1 Ip C420jpeg\n";
}

std::string Y4mFrames(int count, uint32_t seed = 1)
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

class ToolFault : public testing::Test
{
  protected:
    ToolFault() { WriteText(Name("out.avi"), kOlder); }

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
        const ToolEnd end = RunToolProcess(folder, {"decode", file, "-o", "back.y4m"});
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

    TestFolder folder;
};

} // namespace

TEST_F(ToolFault, AFullDiskAtAnyByteKeepsTheOlderFileAndTheFramesThatItTells)
{
    constexpr int kFrames = 8;
    const std::string y4m = Y4mHead() + Y4mFrames(kFrames);
    WriteText(Name("in.y4m"), y4m);
    ASSERT_EQ(RunToolProcess(folder, {"encode", "in.y4m", "-o", "whole.avi"}).code, 0);
    const size_t whole = ReadFile(Name("whole.avi")).size();
    std::vector<size_t> limits;
    if (LongTests()) {
        // Below 4096 bytes the settings of the run do not fit either.
        for (size_t limit = 4096; limit < whole; limit += 211)
            limits.push_back(limit);
    } else {
        for (const AviFrame& frame : ReadAvi(FileSource(PathOf(Name("whole.avi"))), "whole.avi").frames)
            limits.push_back(static_cast<size_t>(frame.offset) + frame.size / 2);
        limits.push_back(whole - 1);
    }
    size_t seen = 0;
    for (const size_t limit : limits) {
        SCOPED_TRACE("room for " + std::to_string(limit) + " of " + std::to_string(whole) + " bytes");
        const ToolEnd end = RunToolProcess(folder, {"encode", "in.y4m", "-o", "out.avi"}, {}, limit);
        const int saved = DecodedFrames("out.avi.part", y4m);
        ExpectError(end, "cannot write");
        ExpectError(end, "out.avi.part");
        ExpectError(end, std::to_string(saved) + " frames are in it");
        EXPECT_EQ(Text("out.avi"), kOlder);
        EXPECT_LE(ReadFile(Name("out.avi.part")).size(), limit);
        seen |= size_t{1} << std::max(saved, 0);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(seen & 0x1FF, 0x1FFU) << "some number of frames never came about";
    EXPECT_EQ(RunToolProcess(folder, {"encode", "in.y4m", "-o", "out.avi"}, {}, whole).code, 0);
    EXPECT_EQ(ReadFile(Name("out.avi")), ReadFile(Name("whole.avi")));
    EXPECT_FALSE(Exists("out.avi.part"));
}

TEST_F(ToolFault, ADeviceWithoutRoomIsTold)
{
    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "there is no such device here";
    std::filesystem::create_symlink("/dev/full", folder.Path() / "out.avi.part");
    const ToolEnd end = RunToolProcess(folder, {"encode", "-", "-o", "out.avi"}, Y4mHead() + Y4mFrames(3));
    ExpectError(end, "cannot write");
    ExpectError(end, "0 frames are in it");
    EXPECT_EQ(Text("out.avi"), kOlder);
}

TEST_F(ToolFault, AFileSystemWithoutRoomIsTold)
{
    const std::string disk = folder.Path() / "disk";
    std::filesystem::create_directory(disk);
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=65536") != 0)
        GTEST_SKIP() << "may not mount a small file system";
    WriteText(Name("disk/out.avi"), kOlder);
    const std::string y4m = Y4mHead() + Y4mFrames(40);
    const ToolEnd end = RunToolProcess(folder, {"encode", "-", "-o", "disk/out.avi"}, y4m);
    const int saved = DecodedFrames("disk/out.avi.part", y4m);
    ExpectError(end, "cannot write");
    ExpectError(end, std::to_string(saved) + " frames are in it");
    EXPECT_GT(saved, 3);
    EXPECT_EQ(Text("disk/out.avi"), kOlder);
    EXPECT_EQ(umount2(disk.c_str(), MNT_DETACH), 0);
}

TEST_F(ToolFault, SettingsThatCannotBeKeptAreAnError)
{
    // Else the run would go on with other settings than those of the command line.
    const ToolEnd end = RunToolProcess(folder, {"encode", "-", "-o", "out.avi", "--method", "median"},
                                       Y4mHead() + Y4mFrames(1), 0);
    ExpectError(end, "cannot keep the settings of this run");
    EXPECT_EQ(Text("out.avi"), kOlder);
    EXPECT_FALSE(Exists("out.avi.part"));
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        EXPECT_FALSE(entry.is_directory()) << "left behind: " << entry.path();
}

TEST_F(ToolFault, AKilledRecordingHasEveryFrameThatCameIn)
{
    for (const int frames : {0, 1, 7}) {
        std::filesystem::remove(folder.Path() / "out.avi.part");
        const std::string y4m = Y4mHead() + Y4mFrames(frames);
        ToolProcess tool(folder, {"encode", "-", "-o", "out.avi"});
        ASSERT_TRUE(tool.Feed(y4m + Y4mFrames(1).substr(0, 1000)));
        ASSERT_TRUE(WaitFor([&] {
            return Exists("out.avi.part") && FramesIn("out.avi.part") == static_cast<size_t>(frames);
        }));
        tool.Signal(SIGKILL);
        EXPECT_EQ(tool.Wait().signal, SIGKILL);
        EXPECT_EQ(Text("out.avi"), kOlder);
        EXPECT_EQ(DecodedFrames("out.avi.part", y4m), frames);
    }
}

TEST_F(ToolFault, KillsAtAnyMomentLeaveTheOlderFileOrTheWholeNewOne)
{
    const std::string y4m = Y4mHead() + Y4mFrames(60);
    WriteText(Name("in.y4m"), y4m);
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(RunToolProcess(folder, {"encode", "in.y4m", "-o", "whole.avi"}).code, 0);
    const auto micros =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start)
            .count();
    const Bytes whole = ReadFile(Name("whole.avi"));
    std::mt19937 random(TestSeed());
    int cut = 0, frames = 0;
    const int kills = Amount(20, 500);
    for (int i = 0; i < kills; ++i) {
        WriteText(Name("out.avi"), kOlder);
        ToolProcess tool(folder, {"encode", "in.y4m", "-o", "out.avi"});
        std::this_thread::sleep_for(std::chrono::microseconds(random() % static_cast<uint64_t>(micros + 1)));
        tool.Signal(SIGKILL);
        tool.Wait();
        EXPECT_TRUE(Text("out.avi") == kOlder || ReadFile(Name("out.avi")) == whole);
        if (!Exists("out.avi.part"))
            continue;
        const int saved = DecodedFrames("out.avi.part", y4m);
        ASSERT_GE(saved, 0) << "other frames than those of the input";
        ASSERT_EQ(static_cast<size_t>(saved), FramesIn("out.avi.part"));
        ++cut;
        frames += saved;
    }
    std::cout << kills << " kills, " << cut << " unfinished files with " << frames << " frames\n";
}

TEST_F(ToolFault, CtrlCKeepsWhatWasRecordedAndTellsHowMuch)
{
    for (const bool moreComes : {false, true}) {
        std::filesystem::remove(folder.Path() / "out.avi.part");
        const std::string y4m = Y4mHead() + Y4mFrames(5);
        ToolProcess tool(folder, {"encode", "-", "-o", "out.avi"});
        ASSERT_TRUE(tool.Feed(y4m));
        ASSERT_TRUE(WaitFor([&] { return Exists("out.avi.part") && FramesIn("out.avi.part") == 5; }));
        tool.Signal(SIGINT);
        // The program at the other end of the pipe goes on, or has been stopped by the same key.
        if (moreComes)
            tool.Feed(Y4mFrames(1));
        const ToolEnd end = tool.Wait();
        ExpectError(end, "interrupted");
        ExpectError(end, "5 frames are in out.avi.part");
        EXPECT_EQ(Text("out.avi"), kOlder);
        EXPECT_EQ(DecodedFrames("out.avi.part", y4m), 5);
    }
}

TEST_F(ToolFault, ASecondCtrlCEndsAtOnce)
{
    const std::string y4m = Y4mHead() + Y4mFrames(3);
    ToolProcess tool(folder, {"encode", "-", "-o", "out.avi"});
    ASSERT_TRUE(tool.Feed(y4m));
    ASSERT_TRUE(WaitFor([&] { return Exists("out.avi.part") && FramesIn("out.avi.part") == 3; }));
    // Two that come too close count as one.
    tool.Signal(SIGINT);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    tool.Signal(SIGINT);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(tool.Wait().signal, SIGINT);
    EXPECT_EQ(Text("out.avi"), kOlder);
    EXPECT_EQ(DecodedFrames("out.avi.part", y4m), 3);
}

TEST_F(ToolFault, DecodingToAFullDiskKeepsTheOlderFile)
{
    const std::string y4m = Y4mHead() + Y4mFrames(6);
    ASSERT_EQ(RunToolProcess(folder, {"encode", "-", "-o", "in.avi"}, y4m).code, 0);
    for (const char* const name : {"out.y4m", "out.raw"}) {
        const std::string part = std::string(name) + ".part";
        for (const int frames : {0, 2, 5}) {
            WriteText(Name(name), kOlder);
            const size_t room = Y4mHead().size() + static_cast<size_t>(frames) * kY4mFrameBytes + 3000;
            const ToolEnd end = RunToolProcess(folder, {"decode", "in.avi", "-o", name}, {}, room);
            ExpectError(end, part);
            ExpectError(end, std::to_string(frames) + " frames are in it");
            EXPECT_EQ(Text(name), kOlder);
        }
    }
    WriteText(Name("out.png"), kOlder);
    ExpectError(RunToolProcess(folder, {"decode", "in.avi", "-o", "out.png", "--frames", "2"}, {}, 3000),
                "out.png.part");
    EXPECT_EQ(Text("out.png"), kOlder);
}

TEST_F(ToolFault, CtrlCWhileDecodingNamesTheUnfinishedFile)
{
    const std::string y4m = Y4mHead() + Y4mFrames(60); // more than a pipe takes
    ASSERT_EQ(RunToolProcess(folder, {"encode", "-", "-o", "in.avi"}, y4m).code, 0);
    WriteText(Name("out.y4m"), kOlder);
    // A pipe under the unfinished file's name holds the tool until somebody reads.
    ASSERT_EQ(mkfifo(Name("out.y4m.part").c_str(), 0666), 0);
    ToolProcess tool(folder, {"decode", "in.avi", "-o", "out.y4m"});
    const int pipe = open(Name("out.y4m.part").c_str(), O_RDONLY);
    ASSERT_GE(pipe, 0);
    char bytes[4096];
    ASSERT_GT(read(pipe, bytes, sizeof bytes), 0);
    tool.Signal(SIGINT);
    while (read(pipe, bytes, sizeof bytes) > 0)
        continue;
    close(pipe);
    const ToolEnd end = tool.Wait();
    ExpectError(end, "interrupted");
    ExpectError(end, "frames are in out.y4m.part");
    EXPECT_EQ(Text("out.y4m"), kOlder);
}
