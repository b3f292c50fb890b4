// Where settings lie when nothing names a file, and what a file of this system may be.
#include "platform/profile_folder.h"
#include "platform/settings_file.h"
#include "platform/settings_store.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sys/stat.h>

using platform::OpenSettingsKey;
using platform::SettingsAccess;

namespace {

constexpr const char* kPath = "Software\\Orvane";

/// The variables that decide, set for one test.
class SettingsPlace : public testing::Test
{
  protected:
    SettingsPlace()
    {
        SetEnvironment("ORVANE_STORE", "");
        SetEnvironment("XDG_CONFIG_HOME", "");
        SetEnvironment("HOME", folder.Path().string());
    }
    ~SettingsPlace() override
    {
        SetEnvironment("HOME", home);
        SetEnvironment("XDG_CONFIG_HOME", configuration);
    }

    static void WriteOne() { OpenSettingsKey(kPath, SettingsAccess::ReadWrite)->Write("A", 1); }
    static std::optional<uint32_t> Read()
    {
        return OpenSettingsKey(kPath, SettingsAccess::ReadOnly)->Read("A");
    }
    static std::string Variable(const char* name)
    {
        const char* value = std::getenv(name);
        return value ? value : "";
    }

    const std::string home = Variable("HOME");
    const std::string configuration = Variable("XDG_CONFIG_HOME");
    const TestFolder folder;
};

} // namespace

TEST_F(SettingsPlace, IsTheConfigurationFolderOfTheProfile)
{
    EXPECT_EQ(platform::ProfileFolder(), folder.Path());
    EXPECT_EQ(Read(), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    WriteOne();
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / ".config/orvane/settings.reg"));
    EXPECT_EQ(Read(), 1U);
}

TEST_F(SettingsPlace, IsTheConfigurationFolderThatTheUserNames)
{
    SetEnvironment("XDG_CONFIG_HOME", (folder.Path() / "mine").string());
    WriteOne();
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / "mine/orvane/settings.reg"));
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / ".config"));
    EXPECT_EQ(Read(), 1U);
}

TEST_F(SettingsPlace, ARelativeConfigurationFolderDoesNotCount)
{
    SetEnvironment("XDG_CONFIG_HOME", "mine");
    WriteOne();
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / ".config/orvane/settings.reg"));
    EXPECT_FALSE(std::filesystem::exists("mine"));
}

TEST_F(SettingsPlace, WithoutAProfileNothingIsKept)
{
    SetEnvironment("HOME", "");
    // Nor does a file appear where the process happens to stand.
    const auto start = std::filesystem::current_path();
    std::filesystem::current_path(folder.Path());
    WriteOne();
    EXPECT_EQ(Read(), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_empty("."));
    std::filesystem::current_path(start);
}

TEST_F(SettingsPlace, ALinkStaysALink)
{
    const auto target = folder.Path() / "real.reg", link = folder.Path() / "link.reg";
    std::ofstream(target) << "[HKEY_CURRENT_USER\\Software\\Orvane]\n\"B\"=dword:00000002\n";
    std::filesystem::create_symlink(target, link);
    platform::OpenSettingsFile(link)->Open(kPath, SettingsAccess::ReadWrite)->Write("A", 1);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    const auto key = platform::OpenSettingsFile(target)->Open(kPath, SettingsAccess::ReadOnly);
    EXPECT_EQ(key->Read("A"), 1U);
    EXPECT_EQ(key->Read("B"), 2U);
}

TEST_F(SettingsPlace, APipeOrADeviceIsNoStoreAndHoldsNobodyUp)
{
    const auto pipe = folder.Path() / "pipe.reg";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0666), 0);
    platform::OpenSettingsFile(pipe)->Open(kPath, SettingsAccess::ReadWrite)->Write("A", 1);
    EXPECT_EQ(platform::OpenSettingsFile(pipe)->Open(kPath, SettingsAccess::ReadOnly)->Read("A"),
              std::nullopt);
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
    EXPECT_EQ(platform::OpenSettingsFile("/dev/zero")->Open(kPath, SettingsAccess::ReadOnly)->Read("A"),
              std::nullopt);
}
