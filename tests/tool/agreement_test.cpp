// Help, manual, man page and completion agree: every option of every command is in all four, and none of
// them has an option that the command does not take.
#include "source_folder.h"
#include "tool/run_command.h"

#include <fstream>
#include <iterator>
#include <regex>
#include <set>

namespace {

using Names = std::set<std::string>;

std::string ReadText(const std::string& file)
{
    std::ifstream stream(std::string(kSourceFolder) + "/" + file, std::ios::binary);
    EXPECT_TRUE(stream) << file;
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// All matches of the first group.
Names Matches(const std::string& text, const char* pattern)
{
    const std::regex regex(pattern);
    Names names;
    for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at)
        names.insert((*at)[1]);
    return names;
}

/// The text from the line `begin` to the next line that starts with one of `ends`.
std::string SectionOf(const std::string& text, const std::string& begin, const std::vector<std::string>& ends)
{
    const size_t at = text.find("\n" + begin + "\n");
    if (at == std::string::npos)
        return {};
    size_t end = text.size();
    for (const std::string& next : ends)
        end = std::min(end, text.find("\n" + next, at + begin.size()));
    return text.substr(at, end - at);
}

Names Without(Names names, const Names& others)
{
    for (const std::string& name : others)
        names.erase(name);
    return names;
}

class Agreement : public CommandTest
{
  protected:
    /// "--format" and the like, of a command, or of the tool itself for no name.
    Names OptionsInHelp(const std::string& command)
    {
        std::vector<std::string> line = {"--help"};
        if (!command.empty())
            line.insert(line.begin(), command);
        Names options;
        std::istringstream help(RunGood(line));
        for (std::string text; std::getline(help, text);)
            if (text.starts_with("  -") || text.starts_with("          --"))
                options.merge(Matches(text.substr(0, text.find("  ", 2)), "(--[a-z-]+)"));
        return options;
    }

    Names Commands()
    {
        const std::string help = RunGood({"--help"});
        const size_t list = help.find("ommands:");
        return Matches(help.substr(list, help.find("Examples:") - list), "\n  ([a-z]+) ");
    }

    const std::string manual = ReadText("docs/tool.md");
    const std::string manPage =
        std::regex_replace(ReadText("packaging/debian/orvane.1"), std::regex("\\\\-"), "-");
    const std::string completion = ReadText("packaging/debian/completion.bash");
    const Names general = OptionsInHelp("");
};

} // namespace

TEST_F(Agreement, EveryCommandStandsInHelpManualManPageAndCompletion)
{
    const Names commands = Commands();
    EXPECT_GE(commands.size(), 8u);
    EXPECT_EQ(Matches(manual, "\n## ([a-z]+)\n"), commands);
    EXPECT_EQ(Matches(manual, "\n\\| \\[`([a-z]+)`\\]"), commands);
    EXPECT_EQ(Matches(manPage, "\n\\.B orvane ([a-z]+)\n"), commands);
    EXPECT_EQ(Matches(SectionOf(manPage, ".SH COMMANDS", {".SH"}), "\n\\.TP\n\\.B ([a-z]+)\n"), commands);
    std::smatch list;
    ASSERT_TRUE(std::regex_search(completion, list, std::regex("local commands='([^']*)'")));
    EXPECT_EQ(Matches(list[1], "([a-z]+)"), commands);
}

TEST_F(Agreement, EveryOptionOfEveryCommandStandsInHelpManualManPageAndCompletion)
{
    const Names shared = {"--output", "--help"}; // told once for all commands
    for (const std::string& command : Commands()) {
        const Names options = Without(OptionsInHelp(command), general);
        const Names own = Without(options, shared);

        const std::string section = SectionOf(manual, "## " + command, {"## "});
        EXPECT_EQ(Without(Matches(section, "`(--[a-z-]+)"), general), own) << "docs/tool.md, " << command;

        const std::string page = SectionOf(manPage, ".SS " + command, {".SS", ".SH"});
        EXPECT_EQ(Matches(page, "(--[a-z-]+)"), own) << "man page, " << command;

        std::smatch words;
        ASSERT_TRUE(std::regex_search(completion, words,
                                      std::regex("\n            (?:[a-z]+ \\| )*" + command +
                                                 "(?: \\| [a-z]+)*\\) words=['\"]([^'\"]*)['\"]")))
            << command;
        const Names completed = Matches(words[1], "(--[a-z-]+)");
        EXPECT_EQ(Without(completed, general), options) << "completion, " << command;
        EXPECT_TRUE(completed.contains("--help") || words[1].str().find("$everywhere") != std::string::npos)
            << command;
    }
}

TEST_F(Agreement, OptionsForAllCommandsStandInManPageAndCompletion)
{
    const Names page = Matches(SectionOf(manPage, ".SH OPTIONS", {".SS"}), "(--[a-z-]+)");
    for (const std::string& option : general)
        EXPECT_TRUE(page.contains(option)) << option;
    std::smatch words;
    ASSERT_TRUE(std::regex_search(completion, words, std::regex("''\\) words=\"([^\"]*)\"")));
    for (const std::string& option : general)
        EXPECT_TRUE(words[1].str().find(option) != std::string::npos) << option;
}
