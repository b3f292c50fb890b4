// How often the store is read: a large file makes nothing slow that looks at many settings.
#include "driver/settings/settings_catalog.h"
#include "platform/shared_file.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

/// Bytes that this process has read so far; nothing where the system does not count them.
std::optional<uint64_t> BytesRead()
{
    std::ifstream counts("/proc/self/io");
    std::string name;
    uint64_t bytes = 0;
    if (counts >> name >> bytes && name == "rchar:")
        return bytes;
    return std::nullopt;
}

} // namespace

TEST(SettingsStore, IsReadOnceForAllSettings)
{
    if (!BytesRead())
        GTEST_SKIP() << "the system does not count what a process reads";
    const TestFolder folder;
    const auto file = folder.Path() / "settings.reg";
    std::string text = "Windows Registry Editor Version 5.00\n\n[HKEY_CURRENT_USER\\Software\\Orvane]\n"
                       "\"EnableCodecLog\"=dword:00000001\n";
    while (text.size() + 100 < platform::kMaxSharedFileBytes)
        text += "\"Other" + std::to_string(text.size()) + "\"=dword:00000001\n";
    std::ofstream(file, std::ios::binary) << text;
    SetEnvironment("ORVANE_STORE", file.string());
    const std::vector<settings::CatalogEntry> all = settings::ListSettings();
    const settings::CatalogEntry* const log = settings::FindSetting(all, "EnableCodecLog");
    const uint64_t before = *BytesRead();
    const std::vector<uint32_t> values = settings::LoadSettings(all);
    const uint64_t read = *BytesRead() - before;
    SetEnvironment("ORVANE_STORE", "");
    EXPECT_EQ(values[static_cast<size_t>(log - all.data())], 1U);
    EXPECT_GE(read, text.size());
    EXPECT_LT(read, text.size() * 3 / 2);
}
