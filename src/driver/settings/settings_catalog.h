// All stored settings by the names under which a user reads and sets them one by one: those of the global
// record as they are, those of a variant behind its FourCC and a dot.
#pragma once

#include "driver/settings/codec_variant.h"
#include "driver/settings/settings_table.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace settings {

/// One setting.
struct CatalogEntry {
    /// Where the value stands in memory; monostate: the flag of the host plug-ins, which no record has.
    using Field = std::variant<std::monostate, uint32_t DecodeSettings::*, uint32_t EncodeSettings::*>;

    std::string key; ///< "EnableCodecLog", "O8Y2.CompMethod"
    const char* name;
    const char* summary;
    ValueRule rule;
    uint32_t defaultValue; ///< what holds when nothing is stored
    Field field;
    CodecVariant variant; ///< of a setting of a variant, with default settings; else the generic one
};

/// Global settings first, then variant by variant.
std::vector<CatalogEntry> ListSettings();

/// The setting of that key, null when there is none. The case of letters does not matter.
const CatalogEntry* FindSetting(const std::vector<CatalogEntry>& settings, std::string_view key);

/// The values as an instance of the driver would take them: stored, of the earlier layout, or default;
/// clamped. The store is read once.
std::vector<uint32_t> LoadSettings(std::span<const CatalogEntry> settings);
/// The same for one.
uint32_t LoadSetting(const CatalogEntry& setting);

/// Stores a value that the setting's rule allows, with the same changes that a dialog makes: Left becomes
/// Dynamic. Gives what was stored, nothing when the rule does not allow the value.
std::optional<uint32_t> StoreSetting(const CatalogEntry& setting, uint32_t value);

/// Removes the stored values, in one edit for each key of the store. Gives the first one that the store still
/// has, null when there is none.
const CatalogEntry* ResetSettings(std::span<const CatalogEntry> settings);

} // namespace settings
