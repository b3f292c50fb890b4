#include "surroundings/codec_log.h"

#include "platform/clock.h"
#include "platform/host_path.h"
#include "platform/profile_folder.h"
#include "support/test_folder.h"
#include "surroundings/log_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <memory>
#include <set>
#include <thread>

#ifndef _WIN32
#include <sys/stat.h>
#endif

using namespace surroundings;

namespace {

namespace fs = std::filesystem;

/// The folder of the logs, taken away before and after the test. Where HOME decides, it is in a profile of
/// the test's own.
class CodecLogTest : public ::testing::Test
{
  protected:
    CodecLogTest()
    {
        logs = *platform::ProfileFolder() / "orvane";
        kept = *platform::ProfileFolder() / "orvane.kept_by_tests";
        if (fs::exists(kept)) // by a run that was cut off
            fs::remove_all(logs);
        else if (fs::exists(logs))
            fs::rename(logs, kept);
    }
    ~CodecLogTest() override
    {
        std::error_code fault;
        fs::remove_all(logs, fault);
        EXPECT_FALSE(fault) << fault.message();
        if (fs::exists(kept))
            fs::rename(kept, logs, fault);
        EXPECT_FALSE(fault) << fault.message();
    }

    std::set<std::string> FileNames() const
    {
        std::set<std::string> names;
        if (fs::exists(logs))
            for (const fs::directory_entry& entry : fs::directory_iterator(logs))
                names.insert(entry.path().filename().string());
        return names;
    }

    /// The lines of a file as text, without their ends.
    std::vector<std::string> Lines(const std::string& name) const
    {
        std::ifstream file(logs / name);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        return lines;
    }

    TestFolder profile;
    ScopedEnvironment home{"HOME", profile.Path().string()};
    fs::path logs;
    fs::path kept;
};

constexpr size_t kPrefix = sizeof "[2024-11-03 14:22:07] " - 1;

/// The line without its time, which is checked for its form.
std::string Message(const std::string& line)
{
    constexpr std::string_view form = "[0000-00-00 00:00:00] ";
    const std::string prefix = line.substr(0, kPrefix);
    EXPECT_TRUE(std::ranges::equal(prefix, form, [](char a, char b) {
        return b == '0' ? a >= '0' && a <= '9' : a == b;
    })) << line;
    return line.size() < kPrefix ? line : line.substr(kPrefix);
}

std::vector<std::string> Messages(const std::vector<std::string>& lines)
{
    std::vector<std::string> messages;
    std::ranges::transform(lines, std::back_inserter(messages), Message);
    return messages;
}

TEST_F(CodecLogTest, SwitchedOffMakesNeitherFolderNorFile)
{
    {
        CodecLog log("Orvane - RGB");
        log.LogLine(0, "lost %d\n", 1);
    }
    EXPECT_FALSE(fs::exists(logs));
}

TEST_F(CodecLogTest, FirstLineOpensTheFileWithThreeOpeningLines)
{
    CodecLog log("Orvane - YUV 4:2:2");
    log.LogLine(1, "Compress begin:\n");
    log.LogLine(1, "    Compressed:         %d frames of %s, %llu bytes\n", 3, "text", 1ULL << 40);
    ASSERT_EQ(FileNames().size(), 1U);
    const std::string name = *FileNames().begin();
    EXPECT_TRUE(name.starts_with("orvane_20") && name.ends_with("_00.log")) << name;
    EXPECT_EQ(name.size(), std::string("orvane_20241103_142207_00.log").size());
    const std::vector<std::string> expected = {
        "Log opened - Orvane lossless video codec 2.4.1 (Standard) (64 bit)",
        "Codec variant: Orvane - YUV 4:2:2",
        "Application: " + platform::HostPath(),
        "Compress begin:",
        "    Compressed:         3 frames of text, 1099511627776 bytes",
    };
    // The file is still open: every line is there as soon as it is logged.
    EXPECT_EQ(Messages(Lines(name)), expected);
}

TEST_F(CodecLogTest, OpeningLinesShareOneTime)
{
    CodecLog log("x");
    log.LogLine(1, "y\n");
    const std::vector<std::string> lines = Lines(*FileNames().begin());
    ASSERT_EQ(lines.size(), 4U);
    for (const std::string& line : lines)
        EXPECT_EQ(line.substr(0, kPrefix), lines[0].substr(0, kPrefix));
}

TEST_F(CodecLogTest, ClosingWritesTwoLinesOnce)
{
    CodecLog log("x");
    log.LogLine(1, "y\n");
    log.Close();
    log.Close();
    const std::vector<std::string> messages = Messages(Lines(*FileNames().begin()));
    ASSERT_EQ(messages.size(), 6U);
    EXPECT_EQ(messages[4], "--------------------------");
    EXPECT_EQ(messages[5], "Log closed");
}

TEST_F(CodecLogTest, DestructionClosesToo)
{
    {
        CodecLog log("x");
        log.LogLine(1, "y\n");
    }
    EXPECT_EQ(Messages(Lines(*FileNames().begin())).back(), "Log closed");
}

TEST_F(CodecLogTest, TheSettingCountsAtEveryCall)
{
    CodecLog log("x");
    log.LogLine(1, "a\n");
    log.LogLine(0, "b\n");
    log.LogLine(7, "c\n");
    const std::vector<std::string> messages = Messages(Lines(*FileNames().begin()));
    ASSERT_EQ(messages.size(), 5U);
    EXPECT_EQ(messages[3], "a");
    EXPECT_EQ(messages[4], "c");
}

/// Stems have seconds: instances that must share one are made in the same second.
std::vector<std::unique_ptr<CodecLog>> LogsOfOneSecond(size_t count)
{
    for (;;) {
        char before[32], after[32];
        platform::FormatLocalTime(before, "%S");
        std::vector<std::unique_ptr<CodecLog>> logs;
        for (size_t i = 0; i < count; ++i)
            logs.push_back(std::make_unique<CodecLog>("x"));
        platform::FormatLocalTime(after, "%S");
        if (std::string_view(before) == after)
            return logs;
    }
}

TEST_F(CodecLogTest, TheHundredthFileOfASecondIsTheLast)
{
    const auto instances = LogsOfOneSecond(101);
    for (const auto& log : instances)
        log->LogLine(1, "y\n");
    const std::set<std::string> names = FileNames();
    EXPECT_EQ(names.size(), 100U);
    EXPECT_TRUE(names.begin()->ends_with("_00.log"));
    EXPECT_TRUE(names.rbegin()->ends_with("_99.log"));

    // A name becomes free: the next call of the instance that found none tries again.
    instances[50]->Close();
    fs::remove(logs / *std::next(names.begin(), 50));
    instances[100]->LogLine(1, "late\n");
    EXPECT_EQ(Messages(Lines(*std::next(names.begin(), 50))).back(), "late");
}

TEST_F(CodecLogTest, EightThreadsThatOpenAtOnceGetEightFiles)
{
    constexpr size_t count = 8;
    for (int round = 0; round < 20; ++round) {
        auto instances = LogsOfOneSecond(count);
        std::atomic<size_t> ready{0};
        std::vector<std::thread> threads;
        for (auto& log : instances)
            threads.emplace_back([&] {
                ++ready;
                while (ready < count)
                    std::this_thread::yield();
                log->LogLine(1, "mine\n");
            });
        for (std::thread& thread : threads)
            thread.join();
        instances.clear();
        const std::set<std::string> names = FileNames();
        ASSERT_EQ(names.size(), count);
        for (const std::string& name : names)
            ASSERT_EQ(Lines(name).size(), 6U) << name;
        fs::remove_all(logs);
    }
}

#ifndef _WIN32
TEST_F(CodecLogTest, ANameThatIsALinkOrAPipeIsTaken)
{
    const auto instances = LogsOfOneSecond(2);
    instances[0]->LogLine(1, "y\n");
    const std::string first = *FileNames().begin();
    const auto nameOf = [&](int n) {
        return logs / (first.substr(0, first.size() - 5) + std::to_string(n) + ".log");
    };
    const fs::path nowhere = profile.Path() / "nowhere";
    fs::create_symlink(nowhere, nameOf(1));
    ASSERT_EQ(mkfifo(nameOf(2).c_str(), 0600), 0);
    instances[1]->LogLine(1, "y\n");
    EXPECT_FALSE(fs::exists(nowhere));
    EXPECT_EQ(Lines(nameOf(3).filename().string()).size(), 4U);
}
#endif

TEST_F(CodecLogTest, AFolderThatCannotBeMadeLosesTheLine)
{
    std::ofstream(logs) << "a file where the folder should be";
    CodecLog log("x");
    log.LogLine(1, "lost\n");
    EXPECT_TRUE(fs::is_regular_file(logs));
    fs::remove(logs);
    log.LogLine(1, "kept\n");
    EXPECT_EQ(Messages(Lines(*FileNames().begin())).back(), "kept");
}

TEST_F(CodecLogTest, LinesEndAsTheSystemsTextFilesDo)
{
    CodecLog log("x");
    log.LogLine(1, "y\n");
    std::ifstream file(logs / *FileNames().begin(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
#ifdef _WIN32
    EXPECT_EQ(std::ranges::count(bytes, '\r'), 4);
#else
    EXPECT_EQ(std::ranges::count(bytes, '\r'), 0);
#endif
    EXPECT_EQ(std::ranges::count(bytes, '\n'), 4);
}

TEST_F(CodecLogTest, TheFoldersAreMadeInTheProfile)
{
    EXPECT_EQ(MakeLogFolder(), logs);
    EXPECT_TRUE(fs::is_directory(logs));
    fs::remove_all(logs);
    EXPECT_EQ(MakeAdobeLogFolder(), logs / "adobe");
    EXPECT_TRUE(fs::is_directory(logs / "adobe"));
}

#ifndef _WIN32
TEST_F(CodecLogTest, AMissingProfileFolderIsNotMade)
{
    const fs::path missing = profile.Path() / "missing";
    SetEnvironment("HOME", missing.string());
    CodecLog log("x");
    log.LogLine(1, "lost\n");
    EXPECT_FALSE(fs::exists(missing));
}
#endif

} // namespace
