// Names that another user has prepared: links, pipes and files where ours are to be made.
#include "platform/files.h"
#include "platform/settings_file.h"
#include "platform/shared_file.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using platform::SettingsAccess;
using platform::SharedFileLock;

std::string BytesOf(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

mode_t ModeOf(const fs::path& file)
{
    struct stat status = {};
    EXPECT_EQ(stat(file.c_str(), &status), 0) << file;
    return status.st_mode & 07777;
}

/// A folder with a settings file, and a file of another user that an attack aims at.
class FileLinks : public ::testing::Test
{
  protected:
    FileLinks()
    {
        std::ofstream(victim) << kPrecious;
        Set(1);
    }

    void Set(uint32_t value) const
    {
        platform::OpenSettingsFile(settings)
            ->Open("Software\\Orvane", SettingsAccess::ReadWrite)
            ->Write("A", value);
    }
    std::optional<uint32_t> Get() const
    {
        return platform::OpenSettingsFile(settings)
            ->Open("Software\\Orvane", SettingsAccess::ReadOnly)
            ->Read("A");
    }

    static constexpr char kPrecious[] = "precious";

    const TestFolder folder;
    const fs::path victim = folder.Path() / "victim";
    const fs::path settings = folder.Path() / "settings.reg";
    const fs::path temporary = folder.Path() / "settings.reg.tmp";
    const fs::path lock = folder.Path() / "settings.reg.lock";
};

TEST_F(FileLinks, WhatHasTheTemporaryFilesNameIsNeverWrittenThrough)
{
    const fs::path nowhere = folder.Path() / "nowhere";
    const std::function<void()> traps[] = {
        [&] { fs::create_symlink(victim, temporary); },
        [&] { fs::create_hard_link(victim, temporary); },
        [&] { fs::create_symlink(nowhere, temporary); },
        [&] { ASSERT_EQ(mkfifo(temporary.c_str(), 0600), 0); },
        [&] { std::ofstream(temporary) << "left by a broken write"; },
    };
    uint32_t value = 10;
    for (const auto& lay : traps) {
        lay();
        Set(++value);
        EXPECT_EQ(Get(), value);
        EXPECT_EQ(BytesOf(victim), kPrecious);
        EXPECT_FALSE(fs::exists(nowhere));
        EXPECT_FALSE(fs::exists(fs::symlink_status(temporary)));
    }
}

TEST_F(FileLinks, AFolderOfTheTemporaryFilesNameLosesTheEditAndNothingElse)
{
    fs::create_directory(temporary);
    Set(2);
    EXPECT_EQ(Get(), 1U);
    fs::remove(temporary);
    Set(2);
    EXPECT_EQ(Get(), 2U);
}

TEST_F(FileLinks, TheSettingsFileKeepsItsPermissions)
{
    for (const mode_t mode : {0600, 0640, 0664, 0400}) {
        ASSERT_EQ(chmod(settings.c_str(), mode), 0);
        Set(100 + mode);
        EXPECT_EQ(Get(), 100 + mode);
        EXPECT_EQ(ModeOf(settings), mode);
    }
}

TEST_F(FileLinks, OnlyItsOwnerMayOpenTheLockFile)
{
    EXPECT_EQ(ModeOf(lock), mode_t{0600});
    ASSERT_EQ(chmod(lock.c_str(), 0666), 0); // as earlier versions left it
    Set(2);
    EXPECT_EQ(ModeOf(lock), mode_t{0600});
}

TEST_F(FileLinks, ALockFileThatIsALinkOrAPipeIsNotLocked)
{
    const fs::path nowhere = folder.Path() / "nowhere";
    const std::function<void()> traps[] = {
        [&] { fs::create_symlink(victim, lock); },  [&] { fs::create_hard_link(victim, lock); },
        [&] { fs::create_symlink(nowhere, lock); }, [&] { ASSERT_EQ(mkfifo(lock.c_str(), 0600), 0); },
        [&] { fs::create_directory(lock); },
    };
    const mode_t mode = ModeOf(victim);
    for (const auto& lay : traps) {
        fs::remove(lock);
        lay();
        EXPECT_FALSE(SharedFileLock(settings).IsHeld());
        EXPECT_FALSE(fs::exists(nowhere));
        EXPECT_EQ(ModeOf(victim), mode);
    }
    fs::remove(lock);
    EXPECT_TRUE(SharedFileLock(settings).IsHeld());
}

TEST_F(FileLinks, ALockFileOfAnotherUserIsNotLocked)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root may stand in for two users";
    constexpr uid_t kNobody = 65534;
    fs::permissions(folder.Path(), fs::perms::all);
    ASSERT_EQ(seteuid(kNobody), 0);
    const bool held = SharedFileLock(settings).IsHeld();
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_FALSE(held);
}

TEST_F(FileLinks, APrivateFolderIsForItsOwnerAlone)
{
    const auto first = platform::MakePrivateFolder(folder.Path(), "orvane-");
    const auto second = platform::MakePrivateFolder(folder.Path(), "orvane-");
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    EXPECT_EQ(ModeOf(*first), mode_t{0700});
    EXPECT_TRUE(first->filename().string().starts_with("orvane-"));
    EXPECT_FALSE(platform::MakePrivateFolder(folder.Path() / "missing", "orvane-"));
}

TEST_F(FileLinks, ATextFileIsMadeOnlyWhereNothingHasItsName)
{
    const fs::path name = folder.Path() / "text";
    const fs::path nowhere = folder.Path() / "nowhere";
    const std::function<void()> taken[] = {
        [&] { fs::create_symlink(victim, name); },
        [&] { fs::create_symlink(nowhere, name); },
        [&] { ASSERT_EQ(mkfifo(name.c_str(), 0600), 0); },
        [&] { std::ofstream(name) << "older"; },
        [&] { fs::create_directory(name); },
    };
    for (const auto& take : taken) {
        take();
        EXPECT_EQ(platform::CreateText(name), nullptr);
        EXPECT_EQ(BytesOf(victim), kPrecious);
        EXPECT_FALSE(fs::exists(nowhere));
        fs::remove(name);
    }
    std::FILE* const file = platform::CreateText(name);
    ASSERT_NE(file, nullptr);
    std::fclose(file);
}

} // namespace
