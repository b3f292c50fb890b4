// The registry.
#include "platform/system_settings.h"

#include "platform/windows/windows_headers.h"

namespace platform {
namespace {

class RegistryKey final : public SettingsKey
{
  public:
    RegistryKey(const std::string& path, SettingsAccess access)
    {
        const LSTATUS status = access == SettingsAccess::ReadOnly
                                   ? RegOpenKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, KEY_QUERY_VALUE, &key)
                                   : RegCreateKeyExA(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0,
                                                     KEY_QUERY_VALUE | KEY_SET_VALUE, nullptr, &key, nullptr);
        // A null key makes every call below fail, which is what a key without values looks like.
        if (status != ERROR_SUCCESS)
            key = nullptr;
    }
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;
    ~RegistryKey() override
    {
        if (key)
            RegCloseKey(key);
    }

    std::optional<uint32_t> Read(std::string_view name) const override
    {
        uint32_t value = 0;
        DWORD size = sizeof value;
        if (RegQueryValueExA(key, std::string(name).c_str(), nullptr, nullptr,
                             reinterpret_cast<BYTE*>(&value), &size) != ERROR_SUCCESS)
            return std::nullopt;
        return value;
    }

    void Write(std::string_view name, uint32_t value) override
    {
        RegSetValueExA(key, std::string(name).c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value),
                       sizeof value);
    }

    void Delete(std::string_view name) override { RegDeleteValueA(key, std::string(name).c_str()); }

    std::vector<SettingsValue> List() const override
    {
        std::vector<SettingsValue> values;
        std::string name(kMaxNameLength + 1, '\0');
        for (DWORD i = 0;; ++i) {
            auto length = static_cast<DWORD>(name.size());
            uint32_t value = 0;
            DWORD size = sizeof value;
            const LSTATUS status = RegEnumValueA(key, i, name.data(), &length, nullptr, nullptr,
                                                 reinterpret_cast<BYTE*>(&value), &size);
            if (status == ERROR_SUCCESS)
                values.push_back({name.substr(0, length), value});
            else if (status != ERROR_MORE_DATA) // more than four bytes: not one of ours
                return values;
        }
    }

  private:
    static constexpr size_t kMaxNameLength = 16383;

    HKEY key = nullptr;
};

class Registry final : public SettingsStore
{
  public:
    std::unique_ptr<SettingsKey> Open(std::string_view path, SettingsAccess access) const override
    {
        return std::make_unique<RegistryKey>(std::string(path), access);
    }
};

} // namespace

std::unique_ptr<SettingsStore> OpenSystemSettings()
{
    return std::make_unique<Registry>();
}

} // namespace platform
