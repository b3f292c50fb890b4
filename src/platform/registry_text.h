// The text form of a registry, read and edited in place.
#pragma once

#include "platform/registry_line.h"
#include "platform/settings_store.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// A settings file in memory. What it holds is what a registry would hold after taking in its lines one after
/// the other: later lines win, removals remove, and malformed lines as well as values before the first key
/// say nothing. Edits touch the lines of their own value only; all other lines stay byte for byte, understood
/// or not.
///
/// Keys are full paths, such as "HKEY_CURRENT_USER\\Software\\Orvane". Any bytes may be given.
class RegistryText
{
  public:
    /// UTF-8, or what a byte order mark says: UTF-8, UTF-16 of either byte order. Edited text keeps the
    /// encoding.
    static RegistryText FromBytes(std::string_view bytes);
    std::string ToBytes() const;

    std::optional<uint32_t> Read(std::string_view key, std::string_view name) const;
    std::vector<SettingsValue> List(std::string_view key) const;

    void Write(std::string_view key, std::string_view name, uint32_t number);
    void Delete(std::string_view key, std::string_view name);

  private:
    enum class Encoding { Utf8, Utf8Marked, Utf16Le, Utf16Be };

    std::vector<size_t> LinesOf(std::string_view key) const;
    void InsertLine(size_t at, std::string text);
    void EnsureHeading();
    std::string_view LineEnd() const;

    Encoding encoding = Encoding::Utf8;
    std::vector<RegistryLine> lines; ///< blank lines in sequence are one
};

} // namespace platform
