#include "driver/settings/settings_io.h"

#include "common/four_cc.h"
#include "driver/settings/settings_table.h"
#include "platform/processor_count.h"
#include "platform/settings_store.h"

namespace settings {

namespace {

using KeyHandle = std::unique_ptr<platform::SettingsKey>;

KeyHandle OpenGlobalKey(const platform::SettingsStore& store)
{
    return store.Open(kGlobalKey, platform::SettingsAccess::ReadWrite);
}

KeyHandle OpenVariantKey(const CodecVariant& variant, const platform::SettingsStore& store)
{
    return store.Open(VariantKeyPath(variant), platform::SettingsAccess::ReadWrite);
}

template <class Record, size_t count>
void ReadRows(const platform::SettingsKey& key, const SettingRow<Record> (&rows)[count], Record& record)
{
    for (const SettingRow<Record>& row : rows) {
        if (row.reading == Reading::Never)
            continue;
        if (const std::optional<uint32_t> value = key.Read(row.name))
            record.*row.field = *value;
        else if (row.reading == Reading::OrProcessorCount)
            record.*row.field = static_cast<uint32_t>(platform::ProcessorCount());
    }
}

template <class Record, size_t count>
void WriteRows(platform::SettingsKey& key, const SettingRow<Record> (&rows)[count], const Record& record)
{
    for (const SettingRow<Record>& row : rows)
        key.Write(row.name, record.*row.field);
}

/// Values of the layout in which compression settings were global.
void ReadOldRows(const platform::SettingsKey& global, EncodeSettings& encode)
{
    for (const SettingRow<EncodeSettings>& row : kVariantSettings)
        if (row.oldName)
            encode.*row.field = global.Read(row.oldName).value_or(encode.*row.field);
}

} // namespace

std::string VariantKeyPath(const CodecVariant& variant)
{
    return kVariantKeyPrefix + FourCCText(variant.FourCC);
}

void LoadGlobalSettings(DecodeSettings& decode)
{
    LoadGlobalSettings(decode, *platform::OpenSettingsStore());
}

void LoadGlobalSettings(DecodeSettings& decode, const platform::SettingsStore& store)
{
    ReadRows(*OpenGlobalKey(store), kGlobalSettings, decode);
}

void SaveGlobalSettings(const DecodeSettings& decode)
{
    const KeyHandle key = OpenGlobalKey(*platform::OpenSettingsStore());
    WriteRows(*key, kGlobalSettings, decode);
    for (const char* name : kRetiredGlobalNames)
        key->Delete(name);
}

void LoadVariantSettings(CodecVariant& variant)
{
    LoadVariantSettings(variant, *platform::OpenSettingsStore());
}

void LoadVariantSettings(CodecVariant& variant, const platform::SettingsStore& store)
{
    EncodeSettings& encode = variant.Encode;
    ReadOldRows(*OpenGlobalKey(store), encode);
    ReadRows(*OpenVariantKey(variant, store), kVariantSettings, encode);
    encode.CoderType = 2; // never stored: a state blob is the only way to another one
    ClampEncodeSettings(encode);
}

void SaveVariantSettings(const CodecVariant& variant)
{
    WriteRows(*OpenVariantKey(variant, *platform::OpenSettingsStore()), kVariantSettings, variant.Encode);
}

void ClampEncodeSettings(EncodeSettings& encode)
{
    constexpr auto left = static_cast<uint32_t>(PredictMethod::Left);
    constexpr auto dynamic = static_cast<uint32_t>(PredictMethod::Dynamic);
    if (encode.CompMethod > dynamic || encode.CompMethod == left)
        encode.CompMethod = dynamic;
    if (encode.ColorMatrix != 1 && encode.ColorMatrix != 2)
        encode.ColorMatrix = 2;
    if (encode.CoderType > 3)
        encode.CoderType = 2;
}

std::optional<uint32_t> LoadAdobeLog()
{
    return LoadAdobeLog(*platform::OpenSettingsStore());
}

std::optional<uint32_t> LoadAdobeLog(const platform::SettingsStore& store)
{
    return store.Open(kGlobalKey, platform::SettingsAccess::ReadOnly)->Read(kAdobeLogName);
}

void SaveAdobeLog(bool enable)
{
    OpenGlobalKey(*platform::OpenSettingsStore())->Write(kAdobeLogName, enable ? 1 : 0);
}

} // namespace settings
