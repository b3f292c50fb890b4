// A recording that ends is a recording: what was written is finished, under its final name when it came
// through a pipe, and the tool ends by the signal that it was sent.
#include "platform/shared_file.h"
#include "reliability/posix/tool_process_test.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Recording : public ToolProcessTest
{
  protected:
    Recording() { std::filesystem::remove(folder.Path() / "out.avi"); }

    const std::vector<std::string> kRecord = {"encode", "-", "-o", "out.avi"};

    void AwaitFrames(size_t frames) const
    {
        ASSERT_TRUE(WaitFor([&] { return Exists("out.avi.part") && FramesIn("out.avi.part") == frames; }));
    }
    int Verify(const std::string& file) const { return RunToolProcess(folder, {"verify", file}).code; }

    /// Interrupts a command that writes the frames of `y4m` to out.avi. They are told and intact in the
    /// unfinished file, with index and checksums.
    void ExpectCompleteWhenAborted(const char* command, const std::string& input, const char* told,
                                   const std::string& y4m) const
    {
        // The signal may come after the last frame: then once more.
        for (int tries = 0; tries < 50; ++tries) {
            ToolProcess tool(folder, {command, input, "-o", "out.avi"});
            ASSERT_TRUE(WaitFor([&] {
                return Exists("out.avi") || (Exists("out.avi.part") && FramesIn("out.avi.part") > 0);
            }));
            tool.Signal(SIGINT);
            const ToolEnd end = tool.Wait();
            if (std::filesystem::remove(folder.Path() / "out.avi"))
                continue;
            EXPECT_EQ(end.signal, SIGINT);
            const int frames = DecodedFrames("out.avi.part", y4m);
            EXPECT_GT(frames, 0);
            EXPECT_EQ(end.err, std::string("orvane: error: ") + told +
                                   ", start again to have the whole result; " +
                                   Counted(static_cast<uint64_t>(frames), "frame") +
                                   (frames == 1 ? " is" : " are") + " in out.avi.part\n");
            EXPECT_EQ(Verify("out.avi.part"), 0);
            return;
        }
        FAIL() << "no signal came in time";
    }
};

} // namespace

TEST_F(Recording, EverySignalToEndFinishesItWhileTheInputWaits)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE("signal " + std::to_string(signal));
        const std::string y4m = Y4mHead() + Y4mFrames(5);
        ToolProcess tool(folder, kRecord);
        ASSERT_TRUE(tool.Feed(y4m));
        AwaitFrames(5);
        tool.Signal(signal);
        const ToolEnd end = tool.Wait(/*endInput=*/false);
        EXPECT_EQ(end.signal, signal) << end.code << end.err;
        EXPECT_EQ(end.err, "");
        EXPECT_FALSE(Exists("out.avi.part"));
        EXPECT_EQ(DecodedFrames("out.avi", y4m), 5);
        EXPECT_EQ(Verify("out.avi"), 0);
        std::filesystem::remove(folder.Path() / "out.avi");
    }
}

TEST_F(Recording, HalfAPictureAtItsEndIsLeftOut)
{
    const std::string y4m = Y4mHead() + Y4mFrames(3);
    ToolProcess tool(folder, kRecord);
    ASSERT_TRUE(tool.Feed(y4m + Y4mFrames(1).substr(0, 1000)));
    AwaitFrames(3);
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Wait(/*endInput=*/false).signal, SIGINT);
    EXPECT_EQ(DecodedFrames("out.avi", y4m), 3);
    EXPECT_EQ(Verify("out.avi"), 0);
}

TEST_F(Recording, WithoutAFrameNothingGetsAName)
{
    ToolProcess tool(folder, kRecord);
    ASSERT_TRUE(tool.Feed(Y4mHead()));
    ASSERT_TRUE(WaitFor([&] { return Exists("out.avi.part"); }));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Wait(/*endInput=*/false).signal, SIGINT);
    EXPECT_FALSE(Exists("out.avi"));
    EXPECT_FALSE(Exists("out.avi.part"));
}

TEST_F(Recording, IgnoredSignalsStayIgnored)
{
    const std::string y4m = Y4mHead() + Y4mFrames(2);
    ToolProcess tool(folder, kRecord, {.ignored = SIGHUP});
    ASSERT_TRUE(tool.Feed(y4m));
    AwaitFrames(2);
    EXPECT_FALSE(tool.Catches(SIGHUP));
    EXPECT_TRUE(tool.Catches(SIGINT));
    tool.Signal(SIGHUP);
    ASSERT_TRUE(tool.Feed(Y4mFrames(1)));
    AwaitFrames(3);
    EXPECT_EQ(tool.Wait().code, 0);
    EXPECT_EQ(FramesIn("out.avi"), 3u);
}

TEST_F(Recording, OfANamedPipeIsOneToo)
{
    ASSERT_EQ(mkfifo(Name("in.y4m").c_str(), 0666), 0);
    const std::string y4m = Y4mHead() + Y4mFrames(4);
    ToolProcess tool(folder, {"encode", "in.y4m", "-o", "out.avi"});
    const int pipe = open(Name("in.y4m").c_str(), O_WRONLY);
    ASSERT_GE(pipe, 0);
    ASSERT_EQ(write(pipe, y4m.data(), y4m.size()), static_cast<ssize_t>(y4m.size()));
    AwaitFrames(4);
    tool.Signal(SIGTERM);
    EXPECT_EQ(tool.Wait(/*endInput=*/false).signal, SIGTERM);
    close(pipe);
    EXPECT_EQ(DecodedFrames("out.avi", y4m), 4);
    EXPECT_EQ(Verify("out.avi"), 0);
}

TEST_F(Recording, AConversionThatIsAbortedLeavesACompleteUnfinishedFile)
{
    const std::string y4m = Y4mHead() + Y4mFrames(400);
    WriteText(Name("in.y4m"), y4m);
    ExpectCompleteWhenAborted("encode", "in.y4m", "interrupted, in.y4m", y4m);
}

TEST_F(Recording, ASecondCtrlCEndsAtOnce)
{
    // While another process holds the store, a setting is tried to be stored for seconds.
    const platform::SharedFileLock lock(folder.Path() / "store.reg");
    ASSERT_TRUE(lock.IsHeld());
    ToolProcess tool(folder, {"config", "set", "EnableCodecLog", "1"});
    ASSERT_TRUE(WaitFor([&] { return tool.Catches(SIGINT); }));
    tool.Signal(SIGINT);
    ASSERT_TRUE(WaitFor([&] { return !tool.Catches(SIGINT); })) << "the first one never arrived";
    tool.Signal(SIGINT);
    const ToolEnd end = tool.Wait();
    EXPECT_EQ(end.signal, SIGINT);
    EXPECT_EQ(end.err, "") << "it went on to the end of its work";
}

TEST_F(Recording, AWriteThatWaitsIsGivenUp)
{
    const std::string y4m = Y4mHead() + Y4mFrames(60);
    ASSERT_EQ(RunToolProcess(folder, {"encode", "-", "-o", "in.avi"}, y4m).code, 0);
    const std::string name = Name("pipe.y4m");
    ASSERT_EQ(mkfifo(name.c_str(), 0666), 0);
    for (const std::string output : {"pipe.y4m", "-"})
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            SCOPED_TRACE(output + ", signal " + std::to_string(signal));
            // A reader that holds the pipe open and reads nothing.
            const int reader = open(name.c_str(), O_RDONLY | O_NONBLOCK);
            ASSERT_GE(reader, 0);
            ToolProcess tool(folder, {"decode", "in.avi", "-o", output}, {.output = name});
            const int probe = open(name.c_str(), O_WRONLY | O_NONBLOCK);
            ASSERT_GE(probe, 0);
            ASSERT_TRUE(WaitFor([&] {
                pollfd room{probe, POLLOUT, 0};
                return poll(&room, 1, 0) == 0;
            })) << "the pipe is never full";
            tool.Signal(signal);
            EXPECT_TRUE(WaitFor([&] { return tool.HasEnded(); })) << "it still waits";
            close(reader); // wakes it in any case
            const ToolEnd end = tool.Wait();
            EXPECT_EQ(end.signal, signal) << end.err;
            EXPECT_TRUE(end.err.starts_with("orvane: error: interrupted")) << end.err;
            close(probe);
        }
}

TEST_F(Recording, ARepairThatIsAbortedLeavesACompleteUnfinishedFile)
{
    const std::string y4m = Y4mHead() + Y4mFrames(400);
    WriteText(Name("in.y4m"), y4m);
    ASSERT_EQ(RunToolProcess(folder, {"encode", "in.y4m", "-o", "in.avi"}).code, 0);
    ExpectCompleteWhenAborted("repair", "in.avi", "interrupted", y4m);
}

TEST_F(Recording, APipeThatNobodyWritesToIsGivenUp)
{
    ASSERT_EQ(mkfifo(Name("pipe.y4m").c_str(), 0666), 0);
    const std::vector<std::vector<std::string>> lines = {{"encode", "pipe.y4m", "-o", "new.avi"},
                                                         {"verify", "in.avi", "--against", "pipe.y4m"}};
    ASSERT_EQ(RunToolProcess(folder, {"encode", "-", "-o", "in.avi"}, Y4mHead() + Y4mFrames(1)).code, 0);
    for (const auto& line : lines) {
        ToolProcess tool(folder, line);
        ASSERT_TRUE(WaitFor([&] { return tool.Catches(SIGTERM); }));
        tool.Signal(SIGTERM);
        const ToolEnd end = tool.Wait(/*endInput=*/false);
        EXPECT_EQ(end.signal, SIGTERM) << end.err;
        EXPECT_TRUE(end.err.starts_with("orvane: error: interrupted")) << end.err;
        EXPECT_FALSE(Exists("new.avi") || Exists("new.avi.part"));
    }
}
