#pragma once

#include "platform/vfw.h"

#include <optional>
#include <stdexcept>
#include <string>

/// The user's registry, empty at first: while this object lives, HKEY_CURRENT_USER of this process leads to a
/// key of the test's own. One at a time.
class TestRegistry
{
  public:
    TestRegistry()
    {
        if (RegCreateKeyA(HKEY_CURRENT_USER, path.c_str(), &key) != ERROR_SUCCESS ||
            RegOverridePredefKey(HKEY_CURRENT_USER, key) != ERROR_SUCCESS)
            throw std::runtime_error("no registry for tests");
    }
    ~TestRegistry()
    {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegCloseKey(key);
        RegDeleteTreeA(HKEY_CURRENT_USER, path.c_str());
    }
    TestRegistry(const TestRegistry&) = delete;
    TestRegistry& operator=(const TestRegistry&) = delete;

    /// A value of 32 bits, nothing when it is absent.
    static std::optional<uint32_t> Read(const char* keyPath, const char* name)
    {
        uint32_t value = 0;
        DWORD size = sizeof value;
        if (RegGetValueA(HKEY_CURRENT_USER, keyPath, name, RRF_RT_REG_DWORD, nullptr, &value, &size) !=
            ERROR_SUCCESS)
            return std::nullopt;
        return value;
    }

    static void Write(const char* keyPath, const char* name, uint32_t value)
    {
        RegSetKeyValueA(HKEY_CURRENT_USER, keyPath, name, REG_DWORD, &value, sizeof value);
    }

  private:
    const std::string path = "Software\\OrvaneTests_" + std::to_string(GetCurrentProcessId());
    HKEY key = nullptr;
};
