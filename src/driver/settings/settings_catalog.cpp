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

std::unique_ptr<platform::SettingsKey> OpenKeyOf(const CatalogEntry& setting)
{
    return platform::OpenSettingsKey(IsGeneric(setting.variant) ? kGlobalKey
                                                                : VariantKeyPath(setting.variant),
                                     platform::SettingsAccess::ReadWrite);
}

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

uint32_t LoadSetting(const CatalogEntry& setting)
{
    if (const DecodeField* field = std::get_if<DecodeField>(&setting.field)) {
        DecodeSettings decode;
        LoadGlobalSettings(decode);
        return decode.**field;
    }
    if (const EncodeField* field = std::get_if<EncodeField>(&setting.field)) {
        CodecVariant variant = setting.variant;
        LoadVariantSettings(variant);
        return variant.Encode.**field;
    }
    return LoadAdobeLog().value_or(setting.defaultValue);
}

std::optional<uint32_t> StoreSetting(const CatalogEntry& setting, uint32_t value)
{
    if (!setting.rule.Allows(value))
        return std::nullopt;
    if (const EncodeField* field = std::get_if<EncodeField>(&setting.field))
        value = Clamped(*field, value);
    OpenKeyOf(setting)->Write(setting.name, value);
    return value;
}

bool ResetSetting(const CatalogEntry& setting)
{
    OpenKeyOf(setting)->Delete(setting.name);
    return !OpenKeyOf(setting)->Read(setting.name);
}

} // namespace settings
