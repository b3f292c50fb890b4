#include "platform/settings_store.h"

#include "platform/environment.h"
#include "platform/host_path.h"
#include "platform/settings_file.h"
#include "platform/shared_file.h"
#include "support/long_tests.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <thread>

using platform::OpenSettingsFile;
using platform::SettingsAccess;

namespace {

constexpr const char* kGlobal = "Software\\Orvane";
constexpr const char* kVariant = "Software\\Orvane\\O8Y2";

std::string BytesOf(const std::filesystem::path& file)
{
    std::ostringstream bytes;
    bytes << std::ifstream(file, std::ios::binary).rdbuf();
    return bytes.str();
}

void SetBytes(const std::filesystem::path& file, std::string_view bytes)
{
    std::ofstream(file, std::ios::binary) << bytes;
}

auto OpenToEdit(const std::filesystem::path& file, const char* key = kGlobal)
{
    return OpenSettingsFile(file)->Open(key, SettingsAccess::ReadWrite);
}

auto OpenToRead(const std::filesystem::path& file, const char* key = kGlobal)
{
    return OpenSettingsFile(file)->Open(key, SettingsAccess::ReadOnly);
}

constexpr int kWriters = 8;
constexpr int kValuesPerWriter = 20;

std::string WriterValueName(int writer, int i)
{
    return "Writer" + std::to_string(writer) + "Value" + std::to_string(i);
}

/// Each value in an edit of its own.
void WriteShare(const std::filesystem::path& file, int writer)
{
    for (int i = 0; i < kValuesPerWriter; ++i)
        OpenToEdit(file)->Write(WriterValueName(writer, i), static_cast<uint32_t>(writer * 1000 + i));
}

void ExpectShare(const std::filesystem::path& file, int writer)
{
    const auto key = OpenToRead(file);
    for (int i = 0; i < kValuesPerWriter; ++i)
        EXPECT_EQ(key->Read(WriterValueName(writer, i)), static_cast<uint32_t>(writer * 1000 + i));
}

void ExpectAllShares(const std::filesystem::path& file)
{
    EXPECT_EQ(OpenToRead(file)->List().size(), static_cast<size_t>(kWriters * kValuesPerWriter));
    for (int writer = 0; writer < kWriters; ++writer)
        ExpectShare(file, writer);
}

} // namespace

TEST(SettingsStore, ValuesComeBackUnderTheirKeys)
{
    const TestStore store;
    EXPECT_EQ(TestStore::Read(kGlobal, "CompMethod"), std::nullopt);
    TestStore::Write(kGlobal, "CompMethod", 3);
    TestStore::Write(kVariant, "CompMethod", 0xFFFFFFFF);
    EXPECT_EQ(TestStore::Read(kGlobal, "CompMethod"), 3U);
    EXPECT_EQ(TestStore::Read(kVariant, "CompMethod"), 0xFFFFFFFFU);
    EXPECT_EQ(TestStore::Read("SOFTWARE\\orvane\\o8y2", "compmethod"), 0xFFFFFFFFU);
    TestStore::Write(kGlobal, "CompMethod", 4);
    EXPECT_EQ(TestStore::Read(kGlobal, "CompMethod"), 4U);
    platform::OpenSettingsKey(kGlobal, SettingsAccess::ReadWrite)->Delete("CompMethod");
    EXPECT_EQ(TestStore::Read(kGlobal, "CompMethod"), std::nullopt);
    EXPECT_EQ(TestStore::Read(kVariant, "CompMethod"), 0xFFFFFFFFU);
}

TEST(SettingsFile, LookingMakesNoFile)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    EXPECT_EQ(OpenToEdit(file)->Read("A"), std::nullopt);
    OpenToEdit(file)->Delete("A");
    EXPECT_TRUE(OpenToEdit(file)->List().empty());
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(SettingsFile, AKeyOpenedForReadingChangesNothing)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    OpenToRead(file)->Write("A", 1);
    EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
    OpenToEdit(file)->Write("A", 1);
    OpenToRead(file)->Write("A", 2);
    OpenToRead(file)->Delete("A");
    EXPECT_EQ(OpenToRead(file)->Read("A"), 1U);
}

TEST(SettingsFile, EditsAreSeenByTheirOwnKeyAtOnceAndByOthersWhenItIsClosed)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    auto key = OpenToEdit(file);
    key->Write("A", 1);
    key->Write("B", 2);
    key->Delete("B");
    EXPECT_EQ(key->Read("A"), 1U);
    EXPECT_EQ(key->Read("B"), std::nullopt);
    EXPECT_EQ(OpenToRead(file)->Read("A"), std::nullopt);
    key.reset();
    EXPECT_EQ(OpenToRead(file)->Read("A"), 1U);
    EXPECT_EQ(OpenToRead(file)->Read("B"), std::nullopt);
}

TEST(SettingsFile, EditsOfTwoOpenKeysBothStay)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    auto one = OpenToEdit(file);
    auto two = OpenToEdit(file, kVariant);
    one->Write("A", 1);
    two->Write("A", 2);
    one.reset();
    two.reset();
    EXPECT_EQ(OpenToRead(file)->Read("A"), 1U);
    EXPECT_EQ(OpenToRead(file, kVariant)->Read("A"), 2U);
}

TEST(SettingsFile, KeysHaveTheValuesOfTheMomentAtWhichTheFileWasOpened)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    OpenToEdit(file)->Write("A", 1);
    const auto store = OpenSettingsFile(file);
    OpenToEdit(file)->Write("A", 2);
    const auto key = store->Open(kGlobal, SettingsAccess::ReadWrite);
    EXPECT_EQ(key->Read("A"), 1U);
    key->Write("B", 3);
    EXPECT_EQ(key->Read("B"), 3U);
    EXPECT_EQ(store->Open(kGlobal, SettingsAccess::ReadOnly)->Read("B"), std::nullopt);
}

TEST(SettingsFile, ItsNameMayBeOfAnyLanguage)
{
    const TestFolder folder;
    const auto file = folder.Path() / std::filesystem::path(u"\u00E4\u043F\u4E2D.reg");
    OpenToEdit(file)->Write("A", 1);
    EXPECT_TRUE(std::filesystem::exists(file));
    EXPECT_EQ(OpenToRead(file)->Read("A"), 1U);
}

TEST(SettingsFile, AFileThatSaysTheSameIsNotWritten)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    OpenToEdit(file)->Write("A", 1);
    const auto past = std::filesystem::last_write_time(file) - std::chrono::hours(1);
    std::filesystem::last_write_time(file, past);
    OpenToEdit(file)->Write("A", 1);
    EXPECT_EQ(std::filesystem::last_write_time(file), past);
    OpenToEdit(file)->Write("A", 2);
    EXPECT_NE(std::filesystem::last_write_time(file), past);
}

TEST(SettingsFile, WhatCannotBeReadIsAnEmptyStoreAndStaysAsItIs)
{
    const TestFolder folder;
    const auto taken = folder.Path() / "folder.reg";
    std::filesystem::create_directory(taken);
    const auto big = folder.Path() / "big.reg";
    SetBytes(big, "[HKEY_CURRENT_USER\\Software\\Orvane]\n\"A\"=dword:00000001\n");
    std::filesystem::resize_file(big, platform::kMaxSharedFileBytes + 1);
    const auto nowhere = folder.Path() / "missing" / "settings.reg";
    for (const auto& file : {taken, big, nowhere, std::filesystem::path()}) {
        OpenToEdit(file)->Write("A", 2);
        EXPECT_EQ(OpenToRead(file)->Read("A"), std::nullopt);
    }
    EXPECT_TRUE(std::filesystem::is_directory(taken));
    EXPECT_EQ(std::filesystem::file_size(big), platform::kMaxSharedFileBytes + 1);
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "missing"));
}

TEST(SettingsFile, NothingButFileAndLockStaysBehind)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    for (uint32_t i = 0; i < 3; ++i)
        OpenToEdit(file)->Write("A", i);
    for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
        EXPECT_TRUE(entry.path() == file || entry.path().filename() == "settings.reg.lock") << entry.path();
}

TEST(SettingsFile, RemainsOfABrokenWriteDoNoHarm)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    SetBytes(folder.Path() / "settings.reg.tmp", "half a fi");
    OpenToEdit(file)->Write("A", 1);
    EXPECT_EQ(BytesOf(file), "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\Orvane]\n"
                             "\"A\"=dword:00000001\n");
}

TEST(SettingsFile, FoldersAreMadeWhereThatIsAskedFor)
{
    const TestFolder folder;
    const auto file = folder.Path() / "config" / "orvane" / "settings.reg";
    constexpr auto kMade = platform::MissingFolders::AreMade;
    EXPECT_EQ(OpenSettingsFile(file, kMade)->Open(kGlobal, SettingsAccess::ReadWrite)->Read("A"),
              std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(folder.Path() / "config"));
    OpenSettingsFile(file, kMade)->Open(kGlobal, SettingsAccess::ReadWrite)->Write("A", 1);
    EXPECT_EQ(OpenToRead(file)->Read("A"), 1U);
}

TEST(SettingsFile, AnEditWaitsForTheLock)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    auto lock = std::make_optional<platform::SharedFileLock>(file);
    ASSERT_TRUE(lock->IsHeld());
    std::atomic<bool> written{false};
    std::thread writer([&] {
        OpenToEdit(file)->Write("A", 1);
        written = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(written);
    EXPECT_EQ(OpenToRead(file)->Read("A"), std::nullopt); // reading waits for nobody
    lock.reset();
    writer.join();
    EXPECT_EQ(OpenToRead(file)->Read("A"), 1U);
}

TEST(SettingsFile, AStoreThatStaysLockedIsGivenUp)
{
    if (!LongTests())
        GTEST_SKIP() << "takes seconds";
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    const platform::SharedFileLock lock(file);
    OpenToEdit(file)->Write("A", 1);
    EXPECT_EQ(OpenToRead(file)->Read("A"), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(SettingsFile, ThreadsThatWriteAtOnceLoseNothing)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    std::vector<std::thread> writers;
    for (int writer = 0; writer < kWriters; ++writer)
        writers.emplace_back(WriteShare, file, writer);
    for (std::thread& writer : writers)
        writer.join();
    ExpectAllShares(file);
}

TEST(SettingsFile, ReadersNeverSeeHalfAFile)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    OpenToEdit(file)->Write("Fixed", 77);
    constexpr int kWrites = 50;
    std::atomic<int> writes{0};
    std::thread writer([&] {
        for (; writes < kWrites; ++writes) {
            const auto key = OpenToEdit(file);
            for (int n = 0; n < 50; ++n)
                key->Write("Filler" + std::to_string(n), static_cast<uint32_t>(writes.load()));
        }
    });
    while (writes < kWrites)
        EXPECT_EQ(OpenToRead(file)->Read("Fixed"), 77U);
    writer.join();
}

// Eight processes: each is this program again, told by a variable to run one of these on a file of all.
class SettingsFileWriter : public testing::TestWithParam<int>
{};
TEST_P(SettingsFileWriter, WritesItsShare)
{
    const TestFolder folder;
    const auto shared = platform::PathFromEnvironment("ORVANE_TEST_SHARED_FILE");
    const auto file = shared.value_or(folder.Path() / "settings.reg");
    WriteShare(file, GetParam());
    ExpectShare(file, GetParam());
}
INSTANTIATE_TEST_SUITE_P(Process, SettingsFileWriter, testing::Range(0, kWriters));

TEST(SettingsFile, ProcessesThatWriteAtOnceLoseNothing)
{
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    SetEnvironment("ORVANE_TEST_SHARED_FILE", file.string());
    std::vector<std::thread> processes;
    std::atomic<int> succeeded{0};
    for (int writer = 0; writer < kWriters; ++writer)
        processes.emplace_back([&, writer] {
            const std::string command =
                '"' + platform::HostPath() + '"' +
                " --gtest_brief=1 --gtest_filter=Process/SettingsFileWriter.WritesItsShare/" +
                std::to_string(writer);
            succeeded += std::system(command.c_str()) == 0;
        });
    for (std::thread& process : processes)
        process.join();
    SetEnvironment("ORVANE_TEST_SHARED_FILE", "");
    EXPECT_EQ(succeeded, kWriters);
    ExpectAllShares(file);
}
