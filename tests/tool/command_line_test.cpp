// What the command line itself promises: help, version, wrong usage, settings, and what info prints.
#include "tool/run_command.h"

#include <nlohmann/json.hpp>

namespace {

class CommandLine : public CommandTest
{
  protected:
    void SetUp() override
    {
        RunGood({"encode", "-", "-o", Name("clip.avi"), "--method", "median"},
                MakeY4m(32, 60, "F30:1 C420jpeg", 2880, 3));
    }
};

} // namespace

TEST_F(CommandLine, HelpAndVersionSucceed)
{
    EXPECT_EQ(RunGood({"--version"}), "orvane 2.4.1\n");
    const std::string help = RunGood({"--help"});
    for (const char* command :
         {"encode", "decode", "info", "verify", "inspect", "plot", "repair", "config"}) {
        EXPECT_NE(help.find(command), std::string::npos);
        EXPECT_NE(RunGood({command, "--help"}).find("Usage: orvane " + std::string(command)),
                  std::string::npos);
    }
    for (const char* command : {"list", "get", "set", "reset"})
        EXPECT_NE(RunGood({"config", command, "--help"}).find("Usage"), std::string::npos);
}

TEST_F(CommandLine, WrongUsageIsOneLineAndCode2)
{
    const std::vector<std::vector<std::string>> lines = {
        {},
        {"frobnicate"},
        {"encode"},
        {"encode", "a.y4m"},
        {"encode", "a.y4m", "-o"},
        {"encode", "a.y4m", "-o", "b.avi", "--method", "left"},
        {"encode", "a.y4m", "-o", "b.avi", "--threads", "65"},
        {"encode", "a.y4m", "-o", "b.avi", "--threads", "x"},
        {"encode", "a.y4m", "-o", "b.avi", "--matrix", "2020"},
        {"encode", "a.y4m", "-o", "b.avi", "--format", "rgb48"},
        {"encode", "a.y4m", "-o", "b.mkv"},
        {"decode", "a.avi"},
        {"info"},
        {"inspect", "a.avi", "-o", "b.png"},
        {"inspect", "a.avi", "--frame", "-1", "-o", "b.png"},
        {"inspect", "a.avi", "--frame", "x", "-o", "b.png"},
        {"inspect", "a.avi", "--frame", "0", "-o", "b.jpg"},
        {"plot", "a.avi"},
        {"plot", "a.avi", "-o", "b.png"},
        {"repair", "a.avi"},
        {"repair", "a.avi", "-o", "b.mkv"},
        {"config", "frobnicate"},
        {"config", "get"},
        {"config", "set", "EnableCodecLog"}};
    for (const auto& line : lines)
        ExpectError(Run(line), 2, "");
    ExpectError(Run({"frobnicate", "x"}), 2, "there is no command frobnicate");
    ExpectError(Run({}), 2, "a command is missing");
    ExpectError(Run({"encode", Name("."), "-o", Name("b.avi")}), 2, "this is a folder");
    RunGood({"-q", "info", Name("clip.avi")});
    RunGood({"info", Name("clip.avi"), "-q"});
}

TEST_F(CommandLine, ErrorLineIsOneLineWhateverTheNameHolds)
{
    ExpectError(Run({"info", Name("two\nlines\x1b.avi")}), 1, "two?lines?.avi");
}

TEST_F(CommandLine, JsonHasExactlyItsKeys)
{
    const auto json = nlohmann::ordered_json::parse(RunGood({"info", Name("clip.avi"), "--json"}));
    std::vector<std::string> keys;
    for (const auto& item : json.items())
        keys.push_back(item.key());
    EXPECT_EQ(keys,
              (std::vector<std::string>{"fourcc", "format", "width", "height", "fps", "frames", "bytes",
                                        "raw_bytes", "ratio", "matrix", "range", "interlaced", "methods",
                                        "raw_blocks", "checksums", "converted", "problems", "frame_list"}));
    EXPECT_EQ(json["fourcc"], "O8Y0");
    EXPECT_EQ(json["width"], 32);
    EXPECT_EQ(json["height"], 60);
    EXPECT_EQ(json["fps"], "30/1");
    EXPECT_EQ(json["frames"], 3);
    EXPECT_EQ(json["raw_bytes"], 3 * 2880);
    EXPECT_EQ(json["matrix"], "Rec.709");
    EXPECT_EQ(json["interlaced"], false);
    EXPECT_EQ(json["methods"]["median"], 27) << "three frames, three planes, three blocks";
    uint64_t bytes = 0;
    for (const auto& frame : json["frame_list"])
        bytes += frame["bytes"].get<uint64_t>();
    EXPECT_EQ(json["bytes"], bytes);
    EXPECT_EQ(json["frame_list"].size(), 3u);
}

TEST_F(CommandLine, FrameTableHasALineForEachFrame)
{
    const std::string plain = RunGood({"info", Name("clip.avi")});
    const std::string table = RunGood({"info", Name("clip.avi"), "--frames"});
    EXPECT_TRUE(table.starts_with(plain));
    EXPECT_EQ(std::ranges::count(table, '\n'), std::ranges::count(plain, '\n') + 4);
}

TEST_F(CommandLine, SettingsAreListedReadSetAndReset)
{
    const std::string list = RunGood({"config", "list"});
    EXPECT_EQ(list, RunGood({"config"}));
    for (const char* key : {"EnableCodecLog", "SuggestRGB", "O8RG.CompMethod", "O8G0.NumEncodeThreads"})
        EXPECT_NE(list.find(key), std::string::npos) << key;

    EXPECT_EQ(RunGood({"config", "get", "EnableCodecLog"}), "0\n");
    EXPECT_EQ(RunGood({"config", "set", "EnableCodecLog", "1"}), "EnableCodecLog = 1\n");
    EXPECT_EQ(RunGood({"config", "get", "EnableCodecLog"}), "1\n");
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableCodecLog"), 1u);
    RunGood({"config", "set", "O8Y2.NumEncodeThreads", "0x10"});
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8Y2", "NumEncodeThreads"), 16u);
    EXPECT_EQ(RunGood({"config", "set", "O8Y2.CompMethod", "1"}), "O8Y2.CompMethod = 4\n")
        << "Left becomes Dynamic";

    RunGood({"config", "reset", "EnableCodecLog"});
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableCodecLog"), std::nullopt);
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8Y2", "NumEncodeThreads"), 16u);
    RunGood({"config", "reset"});
    EXPECT_EQ(TestStore::Read("Software\\Orvane\\O8Y2", "NumEncodeThreads"), std::nullopt);
}

TEST_F(CommandLine, WrongSettingsAreRefused)
{
    ExpectError(Run({"config", "get", "NoSuchKey"}), 2, "no such setting");
    for (const char* value :
         {"2", "-1", "x", "0x", "0x100000000", "4294967296", "99999999999999999999", "1 "})
        ExpectError(Run({"config", "set", "EnableCodecLog", value}), 2, "");
    ExpectError(Run({"config", "set", "O8Y2.CompMethod", "5"}), 2, "1 to 4");
    ExpectError(Run({"config", "set", "DecompSettings_YUV444", "2"}), 2, "bits");
    EXPECT_EQ(TestStore::Read("Software\\Orvane", "EnableCodecLog"), std::nullopt);
}
