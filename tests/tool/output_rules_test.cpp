// What holds for every command that writes a file: names that are taken, unfinished files, inputs.
#include "files/byte_source.h"
#include "files/output_file.h"
#include "tool/run_command.h"
#include "tool_error.h"

using namespace driver;

namespace {

class OutputRulesTest : public CommandTest
{
  protected:
    void SetUp() override
    {
        y4m = MakeY4m(32, 24, "F25:1 C420jpeg", 1152, 3);
        WriteText(Name("in.y4m"), y4m);
        RunGood({"encode", Name("in.y4m"), "-o", Name("in.avi")});
        replaceOutputs = false;
    }

    /// A command line for each command that writes a file, without --force.
    std::vector<std::vector<std::string>> Lines() const
    {
        return {{"encode", Name("in.y4m"), "-o", Name("out.avi")},
                {"decode", Name("in.avi"), "-o", Name("out.y4m")},
                {"decode", Name("in.avi"), "-o", Name("out.raw")},
                {"decode", Name("in.avi"), "-o", Name("out.ppm"), "--frames", "1"},
                {"inspect", Name("in.avi"), "--frame", "1", "-o", Name("out.png")},
                {"plot", Name("in.avi"), "-o", Name("out.svg")},
                {"repair", Name("in.avi"), "-o", Name("out.avi")}};
    }
    static std::string OutputOf(const std::vector<std::string>& line)
    {
        return *(std::ranges::find(line, "-o") + 1);
    }
    static std::vector<std::string> Forced(std::vector<std::string> line)
    {
        line.push_back("--force");
        return line;
    }
    void Clear(const std::string& name) const
    {
        std::filesystem::remove(PathOf(name));
        std::filesystem::remove(PathOf(name + ".part"));
    }

    std::string y4m;
};

Bytes OlderBytes()
{
    return {'o', 'l', 'd'};
}

} // namespace

TEST_F(OutputRulesTest, AnExistingOutputIsReplacedWithForceOnly)
{
    for (const auto& line : Lines()) {
        const std::string output = OutputOf(line);
        SCOPED_TRACE(line.front() + " " + output);
        WriteFile(output, OlderBytes());
        ExpectError(Run(line), 1, "the output exists, " + output);
        EXPECT_EQ(ReadFile(output), OlderBytes());
        EXPECT_FALSE(std::filesystem::exists(PathOf(output + ".part")));
        RunGood(Forced(line));
        EXPECT_NE(ReadFile(output), OlderBytes());
        Clear(output);
    }
}

TEST_F(OutputRulesTest, AnUnfinishedFileOfAnEarlierRunIsReplacedWithForceOnly)
{
    for (const auto& line : Lines()) {
        const std::string output = OutputOf(line);
        SCOPED_TRACE(line.front() + " " + output);
        WriteFile(output + ".part", OlderBytes());
        ExpectError(Run(line), 1, "is in the way, " + output + ".part");
        EXPECT_EQ(ReadFile(output + ".part"), OlderBytes());
        EXPECT_FALSE(std::filesystem::exists(PathOf(output)));
        RunGood(Forced(line));
        EXPECT_FALSE(std::filesystem::exists(PathOf(output + ".part")));
        Clear(output);
    }
}

TEST_F(OutputRulesTest, ForceNeverLetsAnOutputOverwriteAnInput)
{
    const Bytes avi = ReadFile(Name("in.avi"));
    for (const bool symbolic : {false, true}) {
        for (const auto& line : Lines()) {
            const std::string output = OutputOf(line), input = line[1];
            SCOPED_TRACE(line.front() + " " + output);
            std::error_code error;
            if (symbolic)
                std::filesystem::create_symlink(PathOf(input), PathOf(output), error);
            else
                std::filesystem::create_hard_link(PathOf(input), PathOf(output), error);
            if (error)
                GTEST_SKIP() << "no links here: " << error.message();
            ExpectError(Run(Forced(line)), 2, "the output would overwrite the input");
            Clear(output);
        }
    }
    EXPECT_EQ(ReadFile(Name("in.avi")), avi);
    EXPECT_EQ(ReadFile(Name("in.y4m")), Bytes(y4m.begin(), y4m.end()));
}

TEST_F(OutputRulesTest, APictureOfASourceSequenceIsAnInputToo)
{
    RunGood({"decode", Name("in.avi"), "-o", Name("s_%d.png")});
    std::error_code error;
    std::filesystem::create_hard_link(PathOf(Name("s_1.png")), PathOf(Name("out.avi")), error);
    if (error)
        GTEST_SKIP() << "no links here: " << error.message();
    ExpectError(Run({"encode", Name("s_%d.png"), "-o", Name("out.avi"), "--force"}), 2,
                "overwrite the input");
}

TEST_F(OutputRulesTest, PicturesOfASequenceAreReplacedWithForceOnly)
{
    WriteFile(Name("s_1.png"), OlderBytes());
    const std::vector<std::string> line = {"decode", Name("in.avi"), "-o", Name("s_%d.png")};
    ExpectError(Run(line), 1, "the output exists, " + Name("s_1.png"));
    EXPECT_FALSE(Exists("s_0.png")) << "refused before anything is written";
    EXPECT_EQ(ReadFile(Name("s_1.png")), OlderBytes());
    WriteFile(Name("s_2.png"), OlderBytes());
    ExpectError(Run(line), 1, "the output exists (and 1 more of these names)");
    RunGood(Forced(line));
    for (const char* name : {"s_0.png", "s_1.png", "s_2.png"})
        EXPECT_GT(ReadFile(Name(name)).size(), 100u) << name;
}

TEST_F(OutputRulesTest, AnUnfinishedFileCanBeRepairedToItsName)
{
    const Bytes avi = ReadFile(Name("in.avi"));
    const Bytes cut(avi.begin(), avi.end() - 200);
    WriteFile(Name("x.avi.part"), cut);
    const CommandResult result = Run({"repair", Name("x.avi.part"), "-o", Name("x.avi")});
    EXPECT_TRUE(result.code == 0 || result.code == 3) << result.err;
    EXPECT_EQ(ReadFile(Name("x.avi.part")), cut) << "the input stays as it is";
    EXPECT_FALSE(Exists("x.avi.part.part"));
    EXPECT_EQ(ReadAviBytes(ReadFile(Name("x.avi"))).frames.size(), 3u);
}

TEST_F(OutputRulesTest, TheAnswerOnATerminalDecides)
{
    WriteFile(Name("out.y4m"), OlderBytes());
    const auto run = [&](bool answer) {
        std::istringstream in;
        std::ostringstream out, err;
        ToolContext context{&HandleMessage, in, out, err};
        std::string asked;
        context.outputs.ask = [&](const std::string& name) {
            asked += name;
            return answer;
        };
        const int code = RunTool({"decode", Name("in.avi"), "-o", Name("out.y4m")}, context);
        EXPECT_EQ(asked, Name("out.y4m")) << "asked once";
        return code;
    };
    EXPECT_EQ(run(false), 1);
    EXPECT_EQ(ReadFile(Name("out.y4m")), OlderBytes());
    EXPECT_EQ(run(true), 0);
    EXPECT_NE(ReadFile(Name("out.y4m")), OlderBytes());
}

TEST_F(OutputRulesTest, BinaryDataIsNotWrittenToATerminal)
{
    std::istringstream in;
    std::ostringstream out, err;
    ToolContext context{&HandleMessage, in, out, err};
    context.outputs.outputIsTerminal = true;
    EXPECT_EQ(RunTool({"decode", Name("in.avi"), "-o", "-"}, context), 1);
    EXPECT_NE(err.str().find("binary data is not written to a terminal"), std::string::npos) << err.str();
    EXPECT_EQ(out.str(), "");
}

TEST_F(OutputRulesTest, AFileThatAppearsDuringTheRunIsNotReplaced)
{
    OutputFile file(PathOf(Name("late.raw")), {});
    file.Write(OlderBytes());
    WriteText(Name("late.raw"), "another");
    EXPECT_THROW(file.Commit(), ToolError);
    EXPECT_EQ(ReadFile(Name("late.raw")).size(), 7u);
    EXPECT_EQ(ReadFile(Name("late.raw.part")), OlderBytes());
}

TEST_F(OutputRulesTest, ReasonsAreTheSystems)
{
    ExpectError(Run({"encode", Name("in.y4m"), "-o", Name("missing/out.avi")}), 1,
                "cannot create the file (");
    ExpectError(Run({"decode", Name("in.avi"), "-o", Name(".") + "/in.y4m/out.y4m"}), 1,
                "cannot create the file (");
    std::filesystem::create_directory(folder.Path() / "out.y4m");
    ExpectError(Run({"decode", Name("in.avi"), "-o", Name("out.y4m")}), 1, "this is a folder");
}

TEST_F(OutputRulesTest, ResultsThatCannotBeWrittenAreAnError)
{
    for (const auto& line : std::vector<std::vector<std::string>>{
             {"info", Name("in.avi")}, {"config"}, {"--version"}, {"decode", Name("in.avi"), "-o", "-"}}) {
        std::istringstream in;
        std::ostringstream out, err;
        out.setstate(std::ios::badbit);
        ToolContext context{&HandleMessage, in, out, err};
        EXPECT_EQ(RunTool(line, context), 1) << line.front();
        EXPECT_NE(err.str().find("cannot write to standard output"), std::string::npos) << err.str();
    }
}

TEST_F(OutputRulesTest, PicturesAboveTheLimitOfPixelsAreRefused)
{
    ExpectError(Run({"encode", Name("in.y4m"), "-o", Name("out.avi"), "--max-pixels", "767"}), 1,
                "a picture of 32x24 is larger than the limit");
    RunGood({"encode", Name("in.y4m"), "-o", Name("out.avi"), "--max-pixels", "768"});
    ExpectError(Run({"--max-pixels", "767", "info", Name("in.avi")}), 1, "--max-pixels 768");
    RunGood({"info", Name("in.avi")});
    ExpectError(Run({"encode", "-", "-o", Name("big.avi")}, "YUV4MPEG2 W16384 H16386 Cmono\n"), 1,
                "--max-pixels");
    WriteText(Name("big.raw"), "few");
    ExpectError(Run({"encode", Name("big.raw"), "--raw", "16384x16386:Y800", "-o", Name("big.avi")}), 1,
                "--max-pixels");
}
