#pragma once

#include "platform/settings_store.h"
#include "support/test_folder.h"

/// A settings store of the test's own, empty at first: a file that takes the place of the user's store while
/// this object lives. One at a time.
class TestStore
{
  public:
    TestStore() { SetEnvironment("ORVANE_STORE", (folder.Path() / "settings.reg").string()); }
    ~TestStore() { SetEnvironment("ORVANE_STORE", ""); }

    /// The value in the store, nothing when it is absent.
    static std::optional<uint32_t> Read(std::string_view path, std::string_view name)
    {
        return platform::OpenSettingsKey(path, platform::SettingsAccess::ReadOnly)->Read(name);
    }

    static void Write(std::string_view path, std::string_view name, uint32_t value)
    {
        platform::OpenSettingsKey(path, platform::SettingsAccess::ReadWrite)->Write(name, value);
    }

    /// All values of a key.
    static std::vector<platform::SettingsValue> List(std::string_view path)
    {
        return platform::OpenSettingsKey(path, platform::SettingsAccess::ReadOnly)->List();
    }

  private:
    TestFolder folder;
};
