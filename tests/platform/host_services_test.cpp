#include "platform/ansi_text.h"
#include "platform/clock.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/host_path.h"
#include "platform/module_handle.h"
#include "platform/processor_count.h"
#include "platform/profile_folder.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <thread>

// Each clock is read between two readings of the standard library's, at both ends: however long the thread is
// kept from running, the time that it shows lies between the inner and the outer one.
TEST(Clock, CounterAndTicksGoForwardAtTheirRates)
{
    using Milliseconds = std::chrono::duration<double, std::milli>;
    const auto now = [] { return std::chrono::steady_clock::now(); };
    const auto outerStart = now();
    const int64_t counter = platform::ReadCounter();
    const uint32_t ticks = platform::TickCount();
    const auto innerStart = now();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const auto innerEnd = now();
    const int64_t counted = platform::ReadCounter() - counter;
    const uint32_t passed = platform::TickCount() - ticks; // modulo 2^32, as callers take it
    const auto outerEnd = now();
    const double least = Milliseconds(innerEnd - innerStart).count();
    const double most = Milliseconds(outerEnd - outerStart).count();

    const double byCounter =
        1000 * static_cast<double>(counted) / static_cast<double>(platform::CounterFrequency());
    EXPECT_GE(byCounter, 0.95 * least);
    EXPECT_LE(byCounter, 1.05 * most);
    constexpr double kTick = 16; // the coarsest step, of Windows
    EXPECT_GE(passed, 0.95 * least - kTick);
    EXPECT_LE(passed, 1.05 * most + kTick);
}

TEST(Clock, LocalTimeTakesAnyForm)
{
    char text[64];
    platform::FormatLocalTime(text, "%Y-%m-%d %H:%M:%S");
    std::string form = text;
    std::replace_if(
        form.begin(), form.end(), [](char c) { return c >= '0' && c <= '9'; }, 'd');
    EXPECT_EQ(form, "dddd-dd-dd dd:dd:dd") << text;
    const auto today = [] {
        const std::time_t now = std::time(nullptr);
        char date[64];
        std::strftime(date, sizeof date, "%Y%m%d", std::localtime(&now));
        return std::string(date);
    };
    const std::string before = today();
    platform::FormatLocalTime(text, "%Y%m%d");
    EXPECT_TRUE(text == before || text == today()) << text << ", not " << before; // midnight may come between
}

TEST(Clock, TimeThatDoesNotFitIsNoText)
{
    char text[4] = "abc";
    platform::FormatLocalTime(text, "%Y-%m-%d");
    EXPECT_STREQ(text, "");
}

TEST(ProcessorCount, IsThatOfTheSystem)
{
    EXPECT_EQ(platform::ProcessorCount(), static_cast<int>(std::thread::hardware_concurrency()));
}

TEST(HostPath, IsThePathOfThisProgram)
{
    const std::filesystem::path path = platform::HostPath();
    EXPECT_TRUE(path.is_absolute()) << path;
    EXPECT_TRUE(std::filesystem::exists(path)) << path;
    EXPECT_EQ(path.stem(), "platform_tests");
    EXPECT_TRUE(std::filesystem::equivalent(platform::LongHostPath(), path));
}

TEST(Environment, ChangesAreSeen)
{
    const char* name = "ORVANE_TEST_PATH";
    SetEnvironment(name, "");
    EXPECT_EQ(platform::PathFromEnvironment(name), std::nullopt);
    for (const size_t length : {1U, 254U, 255U, 256U, 257U, 5000U}) {
        SetEnvironment(name, std::string(length, 'x'));
        EXPECT_EQ(platform::PathFromEnvironment(name), platform::Path(std::string(length, 'x')));
    }
    SetEnvironment(name, "");
    EXPECT_EQ(platform::PathFromEnvironment(name), std::nullopt);
}

TEST(ProfileFolder, IsAFolderOfThisUser)
{
    // Users of services and of containers may have no home. Windows has its own way to know the folder.
    const TestFolder home;
    const ScopedEnvironment variable("HOME", home.Path().string());
    const auto folder = platform::ProfileFolder();
    ASSERT_TRUE(folder);
    EXPECT_TRUE(std::filesystem::is_directory(*folder)) << *folder;
    EXPECT_TRUE(folder->is_absolute());
    EXPECT_TRUE(folder->has_filename()) << *folder; // no separator at the end
}

TEST(Files, FoldersAndTextsUnderNamesOfAnyLanguage)
{
    const TestFolder test;
    const platform::Path folder = test.Path() / platform::Path(u"\u0416\u00FC \u65E5");
    EXPECT_TRUE(platform::MakeFolder(folder));
    EXPECT_FALSE(platform::MakeFolder(folder));
    EXPECT_FALSE(platform::MakeFolder(folder / "missing" / "below"));

    const platform::Path file = folder / platform::Path(u"\u03B1.log");
    std::FILE* const written = platform::CreateText(file);
    ASSERT_TRUE(written);
    std::fputs("line\n", written);
    std::fclose(written);
    EXPECT_EQ(platform::CreateText(file), nullptr) << "there is one now";
    std::ifstream read(file);
    std::string line;
    EXPECT_TRUE(std::getline(read, line));
    EXPECT_EQ(line, "line");
    EXPECT_EQ(platform::CreateText(folder / "missing" / "a.log"), nullptr);
}

TEST(ModuleHandle, IsKept)
{
    int module = 0;
    platform::StoreModuleHandle(&module);
    EXPECT_EQ(platform::StoredModuleHandle(), &module);
    platform::StoreModuleHandle(nullptr);
    EXPECT_EQ(platform::StoredModuleHandle(), nullptr);
}

TEST(AnsiText, IsCutTerminatedAndWritesNothingBehind)
{
    const auto converted = [](const char* text, size_t room) {
        WCHAR wide[16];
        std::fill(std::begin(wide), std::end(wide), WCHAR{'#'});
        platform::WideFromAnsi({wide, room}, text);
        std::string result;
        for (const WCHAR c : wide)
            result += c == 0 ? '.' : static_cast<char>(c);
        return result;
    };
    EXPECT_EQ(converted("Orvane", 16), "Orvane.#########");
    EXPECT_EQ(converted("Orvane", 7), "Orvane.#########");
    EXPECT_EQ(converted("Orvane", 6), "Orvan.##########");
    EXPECT_EQ(converted("Orvane", 1), ".###############");
    EXPECT_EQ(converted("", 16), ".###############");
}
