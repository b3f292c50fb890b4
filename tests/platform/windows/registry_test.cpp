// The registry itself as the store, in a key of the test's own.
#include "platform/settings_store.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>

using platform::OpenSettingsKey;
using platform::SettingsAccess;

namespace {

constexpr const char* kPath = "Software\\OrvaneStoreTest\\Below";

class Registry : public testing::Test
{
  protected:
    void SetUp() override
    {
        SetEnvironment("ORVANE_STORE", "");
        TearDown();
    }
    void TearDown() override
    {
        RegDeleteKeyA(HKEY_CURRENT_USER, kPath);
        RegDeleteKeyA(HKEY_CURRENT_USER, "Software\\OrvaneStoreTest");
    }

    static bool KeyExists()
    {
        HKEY key = nullptr;
        if (RegOpenKeyExA(HKEY_CURRENT_USER, kPath, 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
            return false;
        RegCloseKey(key);
        return true;
    }

    static void SetValue(const char* name, DWORD type, const std::string& bytes)
    {
        ASSERT_EQ(RegSetKeyValueA(HKEY_CURRENT_USER, kPath, name, type, bytes.data(),
                                  static_cast<DWORD>(bytes.size())),
                  ERROR_SUCCESS);
    }

    static std::optional<uint32_t> Read(const char* name)
    {
        return OpenSettingsKey(kPath, SettingsAccess::ReadOnly)->Read(name);
    }
};

} // namespace

TEST_F(Registry, OpeningForReadingMakesNoKeyAndOpeningForWritingDoes)
{
    EXPECT_EQ(Read("A"), std::nullopt);
    EXPECT_TRUE(OpenSettingsKey(kPath, SettingsAccess::ReadOnly)->List().empty());
    EXPECT_FALSE(KeyExists());
    EXPECT_EQ(OpenSettingsKey(kPath, SettingsAccess::ReadWrite)->Read("A"), std::nullopt);
    EXPECT_TRUE(KeyExists());
}

TEST_F(Registry, ValuesComeBackAndGo)
{
    OpenSettingsKey(kPath, SettingsAccess::ReadWrite)->Write("A", 0xFFFFFFFE);
    DWORD type = 0, value = 0, size = sizeof value;
    EXPECT_EQ(RegGetValueA(HKEY_CURRENT_USER, kPath, "A", RRF_RT_ANY, &type, &value, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, DWORD{REG_DWORD});
    EXPECT_EQ(value, 0xFFFFFFFE);
    EXPECT_EQ(Read("a"), 0xFFFFFFFEU);
    OpenSettingsKey(kPath, SettingsAccess::ReadOnly)->Write("A", 1);
    OpenSettingsKey(kPath, SettingsAccess::ReadOnly)->Delete("A");
    EXPECT_EQ(Read("A"), 0xFFFFFFFEU);
    OpenSettingsKey(kPath, SettingsAccess::ReadWrite)->Delete("A");
    EXPECT_EQ(Read("A"), std::nullopt);
}

TEST_F(Registry, AnyTypeOfUpToFourBytesIsAValue)
{
    OpenSettingsKey(kPath, SettingsAccess::ReadWrite);
    SetValue("Two", REG_BINARY, "\x01\x02");
    SetValue("Four", REG_BINARY, "\x01\x02\x03\xFF");
    SetValue("Five", REG_BINARY, std::string(5, '\1'));
    SetValue("None", REG_BINARY, "");
    SetValue("Text", REG_SZ, std::string("4\0", 2));
    SetValue("Long", REG_SZ, std::string("abcd\0", 5));
    EXPECT_EQ(Read("Two"), 0x0201U);
    EXPECT_EQ(Read("Four"), 0xFF030201U);
    EXPECT_EQ(Read("Five"), std::nullopt);
    EXPECT_EQ(Read("None"), 0U);
    EXPECT_EQ(Read("Text"), 0x34U);
    EXPECT_EQ(Read("Long"), std::nullopt);

    std::vector<std::string> names;
    for (const auto& value : OpenSettingsKey(kPath, SettingsAccess::ReadOnly)->List()) {
        names.push_back(value.name);
        EXPECT_EQ(value.value, Read(value.name.c_str()));
    }
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"Four", "None", "Text", "Two"}));
}

TEST_F(Registry, AFileNamedByTheHostTakesItsPlace)
{
    const TestFolder folder;
    // As a host does it: the C runtime of this library is not asked.
    SetEnvironmentVariableW(L"ORVANE_STORE", (folder.Path() / "settings.reg").c_str());
    OpenSettingsKey(kPath, SettingsAccess::ReadWrite)->Write("A", 5);
    EXPECT_EQ(Read("A"), 5U);
    SetEnvironmentVariableW(L"ORVANE_STORE", nullptr);
    EXPECT_FALSE(KeyExists());
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / "settings.reg"));
    EXPECT_EQ(Read("A"), std::nullopt);
}
