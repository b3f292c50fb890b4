// The tool where the disk is full, where it is killed, and where a person has had enough: an older file keeps
// its bytes, what was recorded can be read up to its last whole frame, and the tool says how many frames that
// is.
#include "reliability/amount.h"
#include "reliability/posix/tool_process_test.h"
#include "support/long_tests.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <random>
#include <sys/mount.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

class ToolFault : public ToolProcessTest
{};

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
        const ToolEnd end = RunToolProcess(folder, {"encode", "in.y4m", "-o", "out.avi", "--force"}, {},
                                           {.largestFile = limit});
        const int saved = DecodedFrames("out.avi.part", y4m);
        ExpectError(end, "cannot write");
        ExpectError(end, "out.avi.part");
        EXPECT_EQ(Text("out.avi"), kOlder);
        EXPECT_EQ(Exists("out.avi.part"), saved > 0);
        if (saved > 0) {
            ExpectError(end, InIt(saved));
            EXPECT_LE(ReadFile(Name("out.avi.part")).size(), limit);
        }
        seen |= size_t{1} << std::max(saved, 0);
        ASSERT_FALSE(HasFailure());
    }
    EXPECT_EQ(seen & 0x1FF, 0x1FFU) << "some number of frames never came about";
    EXPECT_EQ(
        RunToolProcess(folder, {"encode", "in.y4m", "-o", "out.avi", "--force"}, {}, {.largestFile = whole})
            .code,
        0);
    EXPECT_EQ(ReadFile(Name("out.avi")), ReadFile(Name("whole.avi")));
    EXPECT_FALSE(Exists("out.avi.part"));
}

TEST_F(ToolFault, ADeviceWithoutRoomIsTold)
{
    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "there is no such device here";
    const ToolEnd end = RunToolProcess(folder, {"encode", "-", "-o", "/dev/full"}, Y4mHead() + Y4mFrames(3));
    ExpectError(end, "cannot write (No space left on device), /dev/full");
}

TEST_F(ToolFault, AFileSystemWithoutRoomIsTold)
{
    const std::string disk = folder.Path() / "disk";
    std::filesystem::create_directory(disk);
    if (mount("tmpfs", disk.c_str(), "tmpfs", 0, "size=65536") != 0)
        GTEST_SKIP() << "may not mount a small file system";
    WriteText(Name("disk/out.avi"), kOlder);
    const std::string y4m = Y4mHead() + Y4mFrames(40);
    const ToolEnd end = RunToolProcess(folder, {"encode", "-", "-o", "disk/out.avi", "--force"}, y4m);
    const int saved = DecodedFrames("disk/out.avi.part", y4m);
    ExpectError(end, "cannot write");
    ExpectError(end, InIt(saved));
    EXPECT_GT(saved, 3);
    EXPECT_EQ(Text("disk/out.avi"), kOlder);
    EXPECT_EQ(umount2(disk.c_str(), MNT_DETACH), 0);
}

TEST_F(ToolFault, SettingsThatCannotBeKeptAreAnError)
{
    // Else the run would go on with other settings than those of the command line.
    const ToolEnd end = RunToolProcess(folder, {"encode", "-", "-o", "out.avi", "--method", "median"},
                                       Y4mHead() + Y4mFrames(1), {.largestFile = 0});
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
        ToolProcess tool(folder, {"encode", "-", "-o", "out.avi", "--force"});
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
        ToolProcess tool(folder, {"encode", "in.y4m", "-o", "out.avi", "--force"});
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

TEST_F(ToolFault, DecodingToAFullDiskKeepsTheOlderFile)
{
    const std::string y4m = Y4mHead() + Y4mFrames(6);
    ASSERT_EQ(RunToolProcess(folder, {"encode", "-", "-o", "in.avi"}, y4m).code, 0);
    for (const char* const name : {"out.y4m", "out.raw"}) {
        const std::string part = std::string(name) + ".part";
        for (const int frames : {0, 2, 5}) {
            WriteText(Name(name), kOlder);
            const size_t room = Y4mHead().size() + static_cast<size_t>(frames) * kY4mFrameBytes + 3000;
            const ToolEnd end = RunToolProcess(folder, {"decode", "in.avi", "-o", name, "--force"}, {},
                                               {.largestFile = room});
            ExpectError(end, part);
            EXPECT_EQ(Exists(part), frames > 0);
            if (frames > 0)
                ExpectError(end, InIt(frames));
            EXPECT_EQ(Text(name), kOlder);
        }
    }
    WriteText(Name("out.png"), kOlder);
    ExpectError(RunToolProcess(folder, {"decode", "in.avi", "-o", "out.png", "--frames", "2", "--force"}, {},
                               {.largestFile = 3000}),
                "out.png.part");
    EXPECT_EQ(Text("out.png"), kOlder);
}
