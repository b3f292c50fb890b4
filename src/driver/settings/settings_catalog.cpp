#include "driver/settings/settings_catalog.h"

#include "common/four_cc.h"
#include "driver/settings/accepted_input.h"
#include "driver/settings/settings_io.h"
#include "platform/processor_count.h"
#include "platform/settings_store.h"

#include <algorithm>

namespace settings {

namespace {

using DecodeField = uint32_t DecodeSettings::*;
using EncodeField = uint32_t EncodeSettings::*;

template <class Record>
uint32_t DefaultOf(const SettingRow<Record>& row)
{
    if (row.reading == Reading::OrProcessorCount)
        return static_cast<uint32_t>(platform::ProcessorCount());
    return Record{}.*row.field;
}

template <class Record, size_t count>
void AppendRows(std::vector<CatalogEntry>& list, const SettingRow<Record> (&rows)[count],
                const std::string& keyPrefix, const CodecVariant& variant)
{
    for (const SettingRow<Record>& row : rows)
        if (row.reading != Reading::Never)
            list.push_back(
                {keyPrefix + row.name, row.name, row.summary, row.rule, DefaultOf(row), row.field, variant});
}

/// What a variant can be told to accept follows from what it can take.
void NarrowInputRule(CatalogEntry& setting)
{
    const EncodeField* field = std::get_if<EncodeField>(&setting.field);
    const VariantTraits* traits = FindVariantTraits(setting.variant.Id);
    if (field && *field == &EncodeSettings::InputColorSpace && traits)
        setting.rule = {ValueRule::Kind::BitsOrAll, 0, traits->acceptedInput};
}

bool SameLetters(std::string_view a, std::string_view b)
{
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::ranges::equal(a, b, {}, lower, lower);
}

/// The value that stands for `value` once the record is clamped.
uint32_t Clamped(EncodeField field, uint32_t value)
{
    EncodeSettings encode;
    encode.*field = value;
    ClampEncodeSettings(encode);
    return encode.*field;
}

std::string KeyPathOf(const CatalogEntry& setting)
{
    return IsGeneric(setting.variant) ? kGlobalKey : VariantKeyPath(setting.variant);
}

/// Gives values of the settings out of records that are read when they are first asked for.
class LoadedRecords
{
  public:
    uint32_t Value(const CatalogEntry& setting)
    {
        if (const DecodeField* field = std::get_if<DecodeField>(&setting.field))
            return Global().**field;
        if (const EncodeField* field = std::get_if<EncodeField>(&setting.field))
            return VariantOf(setting).Encode.**field;
        return LoadAdobeLog(*store).value_or(setting.defaultValue);
    }

  private:
    const DecodeSettings& Global()
    {
        if (!global)
            LoadGlobalSettings(global.emplace(), *store);
        return *global;
    }
    const CodecVariant& VariantOf(const CatalogEntry& setting)
    {
        if (!latest || latest->FourCC != setting.variant.FourCC)
            LoadVariantSettings(latest.emplace(setting.variant), *store);
        return *latest;
    }

    const std::unique_ptr<platform::SettingsStore> store = platform::OpenSettingsStore();
    std::optional<DecodeSettings> global;
    std::optional<CodecVariant> latest; // settings of one variant follow on each other
};

} // namespace

std::vector<CatalogEntry> ListSettings()
{
    std::vector<CatalogEntry> list;
    AppendRows(list, kGlobalSettings, "", {});
    list.push_back({kAdobeLogName, kAdobeLogName, "host plug-ins write log files", kFlagRule, 0, {}, {}});
    for (const CodecVariant& variant : BuildVariantTable())
        if (!IsGeneric(variant))
            AppendRows(list, kVariantSettings, FourCCText(variant.FourCC) + ".", variant);
    std::ranges::for_each(list, NarrowInputRule);
    return list;
}

const CatalogEntry* FindSetting(const std::vector<CatalogEntry>& settings, std::string_view key)
{
    const auto found = std::ranges::find_if(
        settings, [&](const CatalogEntry& entry) { return SameLetters(entry.key, key); });
    return found == settings.end() ? nullptr : &*found;
}

std::vector<uint32_t> LoadSettings(std::span<const CatalogEntry> settings)
{
    LoadedRecords records;
    std::vector<uint32_t> values;
    for (const CatalogEntry& setting : settings)
        values.push_back(records.Value(setting));
    return values;
}

uint32_t LoadSetting(const CatalogEntry& setting)
{
    return LoadSettings({&setting, 1}).front();
}

std::optional<uint32_t> StoreSetting(const CatalogEntry& setting, uint32_t value)
{
    if (!setting.rule.Allows(value))
        return std::nullopt;
    if (const EncodeField* field = std::get_if<EncodeField>(&setting.field))
        value = Clamped(*field, value);
    platform::OpenSettingsKey(KeyPathOf(setting), platform::SettingsAccess::ReadWrite)
        ->Write(setting.name, value);
    return value;
}

const CatalogEntry* ResetSettings(std::span<const CatalogEntry> settings)
{
    const auto openKey = [](const CatalogEntry& setting, const auto& store) {
        return store->Open(KeyPathOf(setting), platform::SettingsAccess::ReadWrite);
    };
    const auto before = platform::OpenSettingsStore();
    for (size_t i = 0; i < settings.size();) {
        const auto key = openKey(settings[i], before);
        for (const uint32_t variant = settings[i].variant.FourCC;
             i < settings.size() && settings[i].variant.FourCC == variant; ++i)
            key->Delete(settings[i].name);
    }
    const auto after = platform::OpenSettingsStore();
    const auto kept = std::ranges::find_if(settings, [&](const CatalogEntry& setting) {
        return openKey(setting, after)->Read(setting.name).has_value();
    });
    return kept == settings.end() ? nullptr : &*kept;
}

} // namespace settings
