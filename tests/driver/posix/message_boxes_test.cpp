// Windows that hosts ask for, where there are none: lines on standard error, and no dialog.
#include "driver/driver_session.h"
#include "driver/test_log.h"

#include "common/settings_records.h"

#include <gtest/gtest.h>

namespace {

std::string ErrorsOf(const Instance& instance, UINT message)
{
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(instance.Send(message, LPARAM{0}), 0);
    return ::testing::internal::GetCapturedStderr();
}

} // namespace

TEST(MessageBoxes, AboutNamesTheProduct)
{
    const TestUser user;
    for (const char* fourCC : {"ORVN", "O8Y2"}) {
        const std::string text = ErrorsOf(Instance(fourCC), ICM_ABOUT);
        EXPECT_NE(text.find("About Orvane"), std::string::npos) << text;
        EXPECT_NE(text.find("Orvane lossless video codec 2.4.1 (Standard) (64 bit)"), std::string::npos)
            << text;
    }
}

TEST(MessageBoxes, ConfigureWarnsWhereSettingsAreIgnored)
{
    const TestUser user;
    EXPECT_EQ(ErrorsOf(Instance("O8Y2"), ICM_CONFIGURE), "");
    TestUser::Set("IgnoreClientConfig", 1);
    const std::string text = ErrorsOf(Instance("O8Y2"), ICM_CONFIGURE);
    EXPECT_NE(text.find("Orvane app settings ignored"), std::string::npos) << text;
    EXPECT_NE(text.find("Orvane: In-app settings will be ignored according to global codec configuration!"),
              std::string::npos)
        << text;
}

TEST(MessageBoxes, ExportedDialogsReturnAtOnce)
{
    const TestUser user;
    LoadedDriver().Configure({}, {}, nullptr, 0);
    LoadedDriver().ConfigureAdobe({}, {}, nullptr, 0);
    EXPECT_TRUE(TestStore::List("Software\\Orvane\\O8Y2").empty()) << "nothing is stored";
}
