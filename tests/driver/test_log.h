// The log files that the driver writes during a test.
#pragma once

#include "platform/profile_folder.h"
#include "support/test_folder.h"
#include "support/test_store.h"

#include <filesystem>
#include <fstream>
#include <regex>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

/// A store and, where the system lets a test choose it, a profile folder of the test's own. One at a time.
class TestUser
{
  public:
    TestUser()
    {
        if (const char* home = std::getenv("HOME"))
            oldHome = home;
        SetEnvironment("HOME", folder.Path().string());
        before = LogFiles();
    }
    ~TestUser()
    {
        std::error_code ignored;
        for (const auto& file : NewLogs())
            std::filesystem::remove(file, ignored);
        SetEnvironment("HOME", oldHome);
    }

    static void Set(std::string_view name, uint32_t value)
    {
        TestStore::Write("Software\\Orvane", name, value);
    }
    static void SetFor(const std::string& fourCC, std::string_view name, uint32_t value)
    {
        TestStore::Write("Software\\Orvane\\" + fourCC, name, value);
    }
    static void EnableLog() { Set("EnableCodecLog", 1); }

    static std::filesystem::path LogFolder() { return platform::ProfileFolder().value() / "orvane"; }

    /// Files that this test made, in order of name.
    std::vector<std::filesystem::path> NewLogs() const
    {
        std::vector<std::filesystem::path> files;
        for (const auto& file : LogFiles())
            if (!before.contains(file) && IsOurs(file))
                files.push_back(file);
        return files;
    }

    /// The lines of the one log of this test behind its three opening lines, without their times.
    std::vector<std::string> Lines() const
    {
        const auto files = NewLogs();
        if (files.size() != 1)
            throw std::runtime_error(std::to_string(files.size()) + " log files where one was expected");
        std::vector<std::string> lines = ReadLog(files[0]);
        lines.erase(lines.begin(), lines.begin() + 3);
        return lines;
    }

    /// The same from the first line on that is `first`.
    std::vector<std::string> LinesFrom(const std::string& first) const
    {
        std::vector<std::string> lines = Lines();
        lines.erase(lines.begin(), std::find(lines.begin(), lines.end(), first));
        return lines;
    }

    /// What has been logged since the last call, or since the settings block at the open.
    std::vector<std::string> NewLines()
    {
        std::vector<std::string> lines = Lines();
        const size_t from = seen == 0 ? kSettingsBlockLines : seen;
        seen = lines.size();
        lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(std::min(from, lines.size())));
        return lines;
    }

    static constexpr size_t kSettingsBlockLines = 19;

    static std::vector<std::string> ReadLog(const std::filesystem::path& file)
    {
        static const std::regex stamp(R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\] (.*))");
        std::ifstream stream(file); // text mode: line ends are the system's
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);) {
            std::smatch match;
            if (!std::regex_match(line, match, stamp))
                throw std::runtime_error("a line without its time: " + line);
            lines.push_back(match[1]);
        }
        return lines;
    }

  private:
    static std::set<std::filesystem::path> LogFiles()
    {
        std::set<std::filesystem::path> files;
        std::error_code ignored;
        for (const auto& entry : std::filesystem::directory_iterator(LogFolder(), ignored))
            if (entry.path().extension() == ".log")
                files.insert(entry.path());
        return files;
    }

    /// Other test programs of the same user may log at the same time.
    static bool IsOurs(const std::filesystem::path& file)
    {
        const std::vector<std::string> lines = ReadLog(file);
        return lines.size() < 3 || lines[2].find("driver_tests") != std::string::npos;
    }

    TestStore store;
    TestFolder folder;
    std::string oldHome;
    std::set<std::filesystem::path> before;
    size_t seen = 0;
};
