// The settings store among processes: many that write at once, some that are killed, one that hangs with the
// lock, a disk that is full.
#include "driver/settings/settings_catalog.h"
#include "platform/shared_file.h"
#include "reliability/amount.h"
#include "reliability/posix/tool_process.h"
#include "support/long_tests.h"
#include "support/test_seed.h"
#include "tool/tool_test_support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <map>
#include <random>
#include <thread>

namespace {

constexpr int kWriters = 8;
constexpr const char* kVariants[] = {"O8RG", "O8RA", "O8Y4", "O8YA", "O8Y2", "O8Y0", "O8G0"};

class StoreFault : public testing::Test
{
  protected:
    std::string StoreText() const
    {
        const Bytes bytes = ReadFile(NameIn(folder, "store.reg"));
        return {bytes.begin(), bytes.end()};
    }

    /// Whether the file has its first line, and a whole line at its end.
    bool StoreIsWhole() const
    {
        const std::string text = StoreText();
        return text.starts_with("Windows Registry Editor Version 5.00") && text.ends_with('\n');
    }

    ToolEnd Set(const std::string& key, uint32_t value) const
    {
        return RunToolProcess(folder, {"config", "set", key, std::to_string(value)});
    }

    void ExpectStored(const std::string& key, uint32_t value) const
    {
        const size_t dot = key.find('.');
        const std::string section = "[HKEY_CURRENT_USER\\Software\\Orvane\\" + key.substr(0, dot) + "]";
        char line[80];
        std::snprintf(line, sizeof line, "\"%s\"=dword:%08x\n", key.substr(dot + 1).c_str(), value);
        const std::string text = StoreText();
        const size_t start = text.find(section);
        ASSERT_NE(start, std::string::npos) << section << " in\n" << text;
        const std::string body = text.substr(start, text.find("\n[", start) - start);
        EXPECT_NE(body.find(line), std::string::npos) << key << " is not " << value << " in\n" << text;
    }

    TestFolder folder;
};

/// A key for each writer and turn; writer 7 shares its variants with the others.
std::string KeyOf(int writer, int turn)
{
    constexpr const char* kNames[] = {"NumEncodeThreads", "CompMethod", "ColorMatrix"};
    return writer < 7 ? std::string(kVariants[writer]) + "." + kNames[turn % 3]
                      : std::string(kVariants[turn % 7]) + ".Interlaced";
}

/// Never the default of the setting, so that it must be written.
uint32_t ValueOf(int writer, int turn)
{
    constexpr uint32_t kValues[] = {17, 2, 1};
    return writer < 7 ? kValues[turn % 3] : 1;
}

} // namespace

TEST_F(StoreFault, EightProcessesThatSetAtOnceLoseNothing)
{
    const int turns = Amount(6, 60);
    std::map<std::string, uint32_t> expected;
    std::vector<std::thread> writers;
    std::atomic<int> succeeded{0};
    for (int writer = 0; writer < kWriters; ++writer) {
        for (int turn = 0; turn < turns; ++turn)
            expected[KeyOf(writer, turn)] = ValueOf(writer, turn);
        writers.emplace_back([&, writer] {
            for (int turn = 0; turn < turns; ++turn)
                succeeded += Set(KeyOf(writer, turn), ValueOf(writer, turn)).code == 0;
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    EXPECT_EQ(succeeded, kWriters * turns);
    for (const auto& [key, value] : expected)
        ExpectStored(key, value);
}

TEST_F(StoreFault, KilledWritersLeaveAWholeFileAndNoLock)
{
    std::mt19937 random(TestSeed());
    ASSERT_EQ(Set("O8Y2.NumEncodeThreads", 17).code, 0);
    const int kills = Amount(40, 1000);
    for (int i = 0; i < kills; ++i) {
        {
            const ToolProcess writer(folder,
                                     {"config", "set", "O8RG.NumEncodeThreads", std::to_string(1 + i % 60)});
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 6000));
            writer.Signal(SIGKILL);
        }
        ASSERT_TRUE(StoreIsWhole()) << StoreText();
        ExpectStored("O8Y2.NumEncodeThreads", 17);
    }
    EXPECT_EQ(Set("O8RG.NumEncodeThreads", 33).code, 0);
    ExpectStored("O8RG.NumEncodeThreads", 33);
}

TEST_F(StoreFault, AFullDiskKeepsTheOldSettings)
{
    ASSERT_EQ(Set("O8Y2.NumEncodeThreads", 17).code, 0);
    const std::string before = StoreText();
    for (size_t room = 0; room < before.size(); room += 16) {
        const ToolEnd end = RunToolProcess(folder, {"config", "set", "O8RG.NumEncodeThreads", "5"}, {},
                                           {.largestFile = room});
        EXPECT_EQ(end.code, 1);
        EXPECT_NE(end.err.find("could not be stored"), std::string::npos) << end.err;
        ASSERT_EQ(StoreText(), before) << "room for " << room << " bytes";
        EXPECT_FALSE(std::filesystem::exists(folder.Path() / "store.reg.tmp"));
    }
}

TEST_F(StoreFault, AStoreThatCannotBeReadIsLeftAlone)
{
    std::filesystem::create_directory(folder.Path() / "store.reg");
    const ToolEnd end = Set("O8RG.NumEncodeThreads", 5);
    EXPECT_EQ(end.code, 1);
    EXPECT_NE(end.err.find("could not be stored"), std::string::npos) << end.err;
    EXPECT_TRUE(std::filesystem::is_directory(folder.Path() / "store.reg"));
    EXPECT_EQ(RunToolProcess(folder, {"config", "get", "O8RG.NumEncodeThreads"}).code, 0);
}

TEST_F(StoreFault, AHangingWriterStopsNobodyForLong)
{
    ASSERT_EQ(Set("O8Y2.NumEncodeThreads", 17).code, 0);
    // Reading waits for nobody: it does not even open the lock's file, which whoever waits for the lock
    // makes.
    const std::filesystem::path lockFile = folder.Path() / "store.reg.lock";
    ASSERT_TRUE(std::filesystem::remove(lockFile));
    EXPECT_EQ(RunToolProcess(folder, {"config", "get", "O8Y2.NumEncodeThreads"}).code, 0);
    EXPECT_FALSE(std::filesystem::exists(lockFile));

    const platform::SharedFileLock lock(folder.Path() / "store.reg"); // as another process would hold it
    ASSERT_TRUE(lock.IsHeld());
    EXPECT_EQ(RunToolProcess(folder, {"config", "get", "O8Y2.NumEncodeThreads"}).code, 0);
    if (!LongTests())
        return; // giving up a write takes seconds
    const ToolEnd end = Set("O8RG.NumEncodeThreads", 5);
    EXPECT_EQ(end.code, 1);
    EXPECT_NE(end.err.find("could not be stored"), std::string::npos) << end.err;
    EXPECT_TRUE(StoreIsWhole());
}

TEST_F(StoreFault, ALockThatCannotBeTakenIsAnErrorAndLosesNoSetting)
{
    ASSERT_EQ(Set("O8Y2.NumEncodeThreads", 17).code, 0);
    const auto lock = folder.Path() / "store.reg.lock";
    std::filesystem::remove(lock);
    std::filesystem::create_directory(lock); // as little ours as another user's
    const std::vector<std::vector<std::string>> commands = {{"config", "set", "O8Y2.NumEncodeThreads", "5"},
                                                            {"config", "reset", "O8Y2.NumEncodeThreads"},
                                                            {"config", "reset"}};
    for (const auto& command : commands) {
        const ToolEnd end = RunToolProcess(folder, command);
        EXPECT_EQ(end.code, 1) << command.back();
        EXPECT_NE(end.err.find("could not be stored"), std::string::npos) << end.err;
    }
    ExpectStored("O8Y2.NumEncodeThreads", 17);
}
