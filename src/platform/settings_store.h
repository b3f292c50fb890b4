// Settings of the user with the semantics of a registry: keys with paths, named values of 32 bits.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

struct SettingsValue {
    std::string name;
    uint32_t value;
};

/// An open key. What fails has no visible effect: values of a key that could not be opened or read are
/// absent, and what cannot be written is lost. Whoever must know reads the key again. Used by one thread.
class SettingsKey
{
  public:
    virtual ~SettingsKey() = default;

    /// The value of up to four bytes, whatever its type; bytes that a shorter one lacks read as zero. Longer
    /// values count as absent. Names are compared without regard to the case of their letters.
    virtual std::optional<uint32_t> Read(std::string_view name) const = 0;
    virtual void Write(std::string_view name, uint32_t value) = 0;
    virtual void Delete(std::string_view name) = 0;
    /// All values that Read would give, in the store's order.
    virtual std::vector<SettingsValue> List() const = 0;
};

enum class SettingsAccess {
    ReadOnly,  ///< looks at an existing key; Write and Delete have no effect
    ReadWrite, ///< makes the key where it is missing (in a settings file: with the first value written)
};

/// The store of this user: the registry on Windows and the settings file elsewhere. Where the environment
/// variable ORVANE_STORE names a file, that file takes its place on every system.
class SettingsStore
{
  public:
    virtual ~SettingsStore() = default;

    /// Opens the key `path` below HKEY_CURRENT_USER, such as "Software\\Orvane\\O8Y2". Never null. The key
    /// may outlive the store.
    ///
    /// With a settings file, values are those of the moment at which the store was opened; edits reach the
    /// file together when the key is closed, and several processes may do so at once.
    virtual std::unique_ptr<SettingsKey> Open(std::string_view path, SettingsAccess access) const = 0;
};

/// Never null. A settings file is read now, once for all keys. For one key or for many that belong together;
/// what is stored later, a store that is opened later has.
std::unique_ptr<SettingsStore> OpenSettingsStore();

/// One key, as it is now.
std::unique_ptr<SettingsKey> OpenSettingsKey(std::string_view path, SettingsAccess access);

} // namespace platform
