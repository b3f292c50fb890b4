// A user of the driver with settings of the test's own, and the log files that the driver writes for that
// user.
#pragma once

#include "support/test_folder.h"
#include "support/test_store.h"

#include <filesystem>
#include <set>
#include <string>
#include <vector>

/// One at a time. The store is the test's own; the profile folder is, where the system lets a test choose it.
class TestUser
{
  public:
    TestUser();
    ~TestUser();

    static void Set(std::string_view name, uint32_t value)
    {
        TestStore::Write("Software\\Orvane", name, value);
    }
    static void SetFor(const std::string& fourCC, std::string_view name, uint32_t value)
    {
        TestStore::Write("Software\\Orvane\\" + fourCC, name, value);
    }
    static void EnableLog() { Set("EnableCodecLog", 1); }

    static std::filesystem::path LogFolder();

    /// Files that this test made, in order of name.
    std::vector<std::filesystem::path> NewLogs() const;

    /// The lines of the one log of this test behind its three opening lines, without their times.
    std::vector<std::string> Lines() const;

    /// What has been logged since the last call, or since the settings block at the open.
    std::vector<std::string> NewLines();

    /// All lines of a file without their times. Throws when a line has none.
    static std::vector<std::string> ReadLog(const std::filesystem::path& file);

    static constexpr size_t kSettingsBlockLines = 19;

  private:
    TestStore store;
    TestFolder folder;
    std::string oldHome;
    std::set<std::filesystem::path> before;
    size_t seen = 0;
};
