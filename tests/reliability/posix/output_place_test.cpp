// Outputs that are no ordinary files, and standard output that takes nothing.
#include "reliability/posix/tool_process_test.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class OutputPlace : public ToolProcessTest
{
  protected:
    void SetUp() override
    {
        y4m = Y4mHead() + Y4mFrames(4);
        ASSERT_EQ(RunToolProcess(folder, {"encode", "-", "-o", "in.avi"}, y4m).code, 0);
    }
    /// All bytes that come through a named pipe.
    static std::string Drain(int pipe)
    {
        std::string text;
        char bytes[4096];
        for (ssize_t got; (got = read(pipe, bytes, sizeof bytes)) > 0;)
            text.append(bytes, static_cast<size_t>(got));
        return text;
    }
    std::string Pictures(const std::string& text) const { return text.substr(text.find('\n') + 1); }

    std::string y4m;
};

} // namespace

TEST_F(OutputPlace, ANamedPipeIsWrittenToAsItIs)
{
    ASSERT_EQ(mkfifo(Name("pipe").c_str(), 0666), 0);
    for (const bool raw : {false, true}) {
        std::vector<std::string> line = {"decode", "in.avi", "-o", "pipe"};
        if (raw)
            line.insert(line.end(), {"--to", "I420"});
        ToolProcess tool(folder, line);
        const int pipe = open(Name("pipe").c_str(), O_RDONLY);
        ASSERT_GE(pipe, 0);
        const std::string text = Drain(pipe);
        close(pipe);
        EXPECT_EQ(tool.Wait().code, 0);
        if (raw)
            EXPECT_EQ(text.size(), 4 * kPictureBytes) << "--to means raw frames";
        else
            EXPECT_EQ(Pictures(text), Pictures(y4m));
    }
    EXPECT_TRUE(std::filesystem::is_fifo(folder.Path() / "pipe"));
    EXPECT_FALSE(Exists("pipe.part"));
}

TEST_F(OutputPlace, AviCannotBeWrittenToAPipe)
{
    ASSERT_EQ(mkfifo(Name("pipe.avi").c_str(), 0666), 0);
    ToolProcess tool(folder, {"encode", "-", "-o", "pipe.avi"});
    ASSERT_TRUE(tool.Feed(y4m));
    const int pipe = open(Name("pipe.avi").c_str(), O_RDONLY);
    ASSERT_GE(pipe, 0);
    EXPECT_EQ(Drain(pipe), "");
    close(pipe);
    ExpectError(tool.Wait(), "an AVI file cannot be written to a pipe");
}

TEST_F(OutputPlace, DevicesAndStandardOutputByNameStayWhatTheyAre)
{
    EXPECT_EQ(RunToolProcess(folder, {"decode", "in.avi", "-o", "/dev/null"}).code, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    WriteText(Name("all"), "");
    EXPECT_EQ(
        RunToolProcess(folder, {"decode", "in.avi", "-o", "/dev/stdout"}, {}, {.output = Name("all")}).code,
        0);
    EXPECT_EQ(Pictures(Text("all")), Pictures(y4m));
    EXPECT_EQ(RunToolProcess(folder, {"encode", "-", "-o", "/dev/null"}, y4m).code, 0);
}

TEST_F(OutputPlace, AviGoesToStandardOutputWhereThatIsAnEmptyFile)
{
    WriteText(Name("file.avi"), "");
    const std::vector<std::string> line = {"encode", "-", "-o", "/dev/stdout"};
    ToolEnd end = RunToolProcess(folder, line, y4m, {.output = Name("file.avi")});
    EXPECT_EQ(end.code, 0);
    EXPECT_TRUE(end.err.starts_with("/dev/stdout: 4 frames, 64x48")) << end.err;
    EXPECT_EQ(ReadFile(Name("file.avi")), ReadFile(Name("in.avi")));
    end = RunToolProcess(folder, line, y4m, {.output = Name("file.avi")});
    ExpectError(end,
                "an AVI file cannot be written to a pipe, to a device that cannot go back, or after what");
    EXPECT_EQ(ReadFile(Name("file.avi")), ReadFile(Name("in.avi")));
}

TEST_F(OutputPlace, ALinkIsFollowedToTheFileThatIsWritten)
{
    std::filesystem::create_directory(folder.Path() / "far");
    std::filesystem::create_symlink("far/real.y4m", folder.Path() / "link.y4m");
    EXPECT_EQ(RunToolProcess(folder, {"decode", "in.avi", "-o", "link.y4m"}).code, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.Path() / "link.y4m"));
    EXPECT_EQ(Pictures(Text("far/real.y4m")), Pictures(y4m));
    ExpectError(RunToolProcess(folder, {"decode", "in.avi", "-o", "link.y4m"}), "the output exists");
    std::filesystem::create_symlink("in.avi", folder.Path() / "self.avi");
    const ToolEnd end = RunToolProcess(folder, {"repair", "in.avi", "-o", "self.avi", "--force"});
    EXPECT_EQ(end.code, 2);
    EXPECT_NE(end.err.find("overwrite the input"), std::string::npos) << end.err;
}

TEST_F(OutputPlace, TwoRunsToOneNameDoNotShareAnUnfinishedFile)
{
    std::filesystem::remove(folder.Path() / "out.avi");
    ToolProcess first(folder, {"encode", "-", "-o", "out.avi"});
    ASSERT_TRUE(first.Feed(y4m));
    ASSERT_TRUE(WaitFor([&] { return Exists("out.avi.part") && FramesIn("out.avi.part") == 4; }));
    ExpectError(RunToolProcess(folder, {"encode", "-", "-o", "out.avi"}, y4m), "out.avi.part");
    ExpectError(RunToolProcess(folder, {"encode", "-", "-o", "out.avi", "--force"}, y4m),
                "another run is writing this file, out.avi.part");
    EXPECT_EQ(first.Wait().code, 0);
    EXPECT_EQ(DecodedFrames("out.avi", y4m), 4);
}

TEST_F(OutputPlace, StandardOutputThatTakesNothingIsAnErrorOfEveryCommand)
{
    const std::vector<std::vector<std::string>> lines = {
        {"info", "in.avi"},
        {"info", "in.avi", "--json"},
        {"verify", "in.avi"},
        {"decode", "in.avi", "-o", "-"},
        {"encode", "in.y4m", "-o", "a.avi", "--force"},
        {"inspect", "in.avi", "--frame", "0", "-o", "a.png", "--force"},
        {"plot", "in.avi", "-o", "a.svg", "--force"},
        {"repair", "in.avi", "-o", "b.avi", "--force"},
        {"config"},
        {"--help"},
        {"--version"}};
    WriteText(Name("in.y4m"), y4m);
    for (const std::string output : {"/dev/full", ""})
        for (const auto& line : lines) {
            SCOPED_TRACE(line.front() + (output.empty() ? " with a closed output" : " on a full disk"));
            ExpectError(RunToolProcess(folder, line, {}, {.output = output}),
                        "cannot write to standard output");
        }
}
