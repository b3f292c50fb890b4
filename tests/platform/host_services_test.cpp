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
#include <thread>

TEST(Clock, CounterAndTicksGoForwardAtTheirRates)
{
    const int64_t counter = platform::ReadCounter();
    const uint32_t ticks = platform::TickCount();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    const double seconds = static_cast<double>(platform::ReadCounter() - counter) /
                           static_cast<double>(platform::CounterFrequency());
    EXPECT_GE(seconds, 0.045);
    EXPECT_LT(seconds, 5);
    const uint32_t passed = platform::TickCount() - ticks; // modulo 2^32, as callers take it
    EXPECT_GE(passed, 30U);
    EXPECT_LT(passed, 5000U);
}

TEST(Clock, LocalTimeTakesAnyForm)
{
    char text[64];
    platform::FormatLocalTime(text, "%Y-%m-%d %H:%M:%S");
    std::string form = text;
    std::replace_if(
        form.begin(), form.end(), [](char c) { return c >= '0' && c <= '9'; }, 'd');
    EXPECT_EQ(form, "dddd-dd-dd dd:dd:dd") << text;
    const std::time_t now = std::time(nullptr);
    platform::FormatLocalTime(text, "%Y%m%d");
    char expected[64];
    std::strftime(expected, sizeof expected, "%Y%m%d", std::localtime(&now));
    EXPECT_STREQ(text, expected);
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
    EXPECT_EQ(platform::OpenTextForReading(file), nullptr);
    std::FILE* written = platform::OpenTextForWriting(file);
    ASSERT_TRUE(written);
    std::fputs("line\n", written);
    std::fclose(written);
    std::FILE* read = platform::OpenTextForReading(file);
    ASSERT_TRUE(read);
    char text[16] = {};
    EXPECT_STREQ(std::fgets(text, sizeof text, read), "line\n");
    std::fclose(read);
    EXPECT_EQ(platform::OpenTextForWriting(folder / "missing" / "a.log"), nullptr);
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
