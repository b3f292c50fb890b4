// Runs command lines of the tool in this process, over the driver's own code, with a settings store of the
// test's.
#pragma once

#include "driver/message_table.h"
#include "run_tool.h"
#include "support/test_store.h"
#include "tool/tool_test_support.h"

#include <gtest/gtest.h>

#include <sstream>

struct CommandResult {
    int code;
    std::string out;
    std::string err;
};

class CommandTest : public testing::Test
{
  protected:
    /// `input` is what standard input holds.
    CommandResult Run(const std::vector<std::string>& arguments, const std::string& input = {},
                      DriverEntry driver = &driver::HandleMessage)
    {
        std::istringstream in(input);
        std::ostringstream out, err;
        ToolContext context{driver, in, out, err};
        context.outputs.force = replaceOutputs;
        const int code = RunTool(arguments, context);
        return {code, out.str(), err.str()};
    }

    /// Runs what has to succeed, and gives what it says.
    std::string RunGood(const std::vector<std::string>& arguments, const std::string& input = {})
    {
        const CommandResult result = Run(arguments, input);
        EXPECT_EQ(result.code, 0) << arguments.front() << ": " << result.err;
        EXPECT_EQ(result.err, "");
        return result.out;
    }

    /// Runs what has to fail: this code, one line on standard error, and `part` in it.
    void ExpectError(const CommandResult& result, int code, const std::string& part)
    {
        EXPECT_EQ(result.code, code) << result.err;
        EXPECT_TRUE(result.err.starts_with("orvane: error: ")) << result.err;
        EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
        EXPECT_TRUE(result.err.ends_with('\n'));
        EXPECT_NE(result.err.find(part), std::string::npos) << result.err;
    }

    std::string Name(const std::string& file) const { return NameIn(folder, file); }
    bool Exists(const std::string& file) const { return std::filesystem::exists(PathOf(Name(file))); }

    TestFolder folder;
    TestStore store;
    bool replaceOutputs = true; ///< as with --force, so that a test may write a name again
};

/// A Y4M stream of moving content. `fields` stand behind width and height, as "C444 F30:1".
inline std::string MakeY4m(int width, int height, const std::string& fields, size_t frameBytes, int frames)
{
    std::string text =
        "YUV4MPEG2 W" + std::to_string(width) + " H" + std::to_string(height) + " " + fields + "\n";
    for (int frame = 0; frame < frames; ++frame) {
        text += "FRAME\n";
        for (size_t i = 0; i < frameBytes; ++i)
            text += static_cast<char>((i % static_cast<size_t>(width)) * 3 + i / 97 +
                                      static_cast<size_t>(frame) * 5 + (i * i) % 7);
    }
    return text;
}

/// The bytes behind the first line.
inline std::string PicturesOf(const std::string& y4m)
{
    return y4m.substr(y4m.find('\n') + 1);
}

inline std::string FirstLineOf(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}
