#include "host/private_settings.h"

#include "driver/settings/settings_catalog.h"
#include "driver/settings/settings_io.h"
#include "files/byte_source.h"
#include "files/fourcc.h"
#include "platform/process.h"
#include "platform/settings_store.h"
#include "tool_error.h"

#include <random>

namespace {

constexpr char kStoreVariable[] = "ORVANE_STORE";

struct StoredKey {
    std::string path;
    std::vector<platform::SettingsValue> values;
};

std::vector<StoredKey> ReadAllKeys()
{
    std::vector<StoredKey> keys{{kGlobalKey, {}}};
    for (const CodecVariant& variant : BuildVariantTable())
        if (!IsGeneric(variant))
            keys.push_back({VariantKeyPath(variant), {}});
    for (StoredKey& key : keys)
        key.values = platform::OpenSettingsKey(key.path, platform::SettingsAccess::ReadOnly)->List();
    return keys;
}

/// A folder that nobody else has.
platform::Path MakePrivateFolder()
{
    std::error_code error;
    const platform::Path parent = std::filesystem::temp_directory_path(error);
    std::random_device random;
    for (int attempt = 0; attempt < 100 && !error; ++attempt) {
        const platform::Path folder =
            parent / ("orvane-" + std::to_string(random()) + std::to_string(random()));
        if (std::filesystem::create_directory(folder, error)) {
            std::filesystem::permissions(folder, std::filesystem::perms::owner_all, error);
            return folder;
        }
    }
    throw ToolError("cannot make a temporary folder", TextOf(parent), "check the folder for temporary files");
}

std::string KeyPath(uint32_t fourcc)
{
    return kVariantKeyPrefix + FourCCText(fourcc);
}

} // namespace

PrivateSettings::PrivateSettings() : usersStore(platform::PathFromEnvironment(kStoreVariable))
{
    const std::vector<StoredKey> keys = ReadAllKeys();
    folder = MakePrivateFolder();
    platform::SetPathInEnvironment(kStoreVariable, folder / "settings.reg");
    for (const StoredKey& key : keys) {
        const auto copy = platform::OpenSettingsKey(key.path, platform::SettingsAccess::ReadWrite);
        for (const platform::SettingsValue& value : key.values)
            copy->Write(value.name, value.value);
    }
}

PrivateSettings::~PrivateSettings()
{
    platform::SetPathInEnvironment(kStoreVariable, usersStore);
    std::error_code ignored; // a file that stays behind in the folder for temporary files does no harm
    std::filesystem::remove_all(folder, ignored);
}

void PrivateSettings::SetForEncoding(uint32_t fourcc, const CodecOptions& options)
{
    const auto key = platform::OpenSettingsKey(KeyPath(fourcc), platform::SettingsAccess::ReadWrite);
    const auto set = [&](const char* name, const auto& option) {
        if (option)
            key->Write(name, static_cast<uint32_t>(*option));
    };
    set("CompMethod", options.method);
    set("ColorMatrix", options.matrix);
    set("Interlaced", options.interlaced);
    set("FullRangeYUV", options.fullRange);
    set("InterpolateDownscale", options.interpolate);
    if (options.threads)
        key->Write("AutoEncodeThreads", *options.threads == 0);
    if (options.threads.value_or(0) > 0)
        key->Write("NumEncodeThreads", *options.threads);
}

void PrivateSettings::SetForDecoding(std::optional<uint32_t> threads)
{
    const auto key = platform::OpenSettingsKey(kGlobalKey, platform::SettingsAccess::ReadWrite);
    for (const char* mask :
         {"DecompSettings_YUV400", "DecompSettings_YUV420", "DecompSettings_YUV422", "DecompSettings_YUV444"})
        key->Write(mask, 0xFFFFFFFF);
    if (threads)
        key->Write("AutoDecodeThreads", *threads == 0);
    if (threads.value_or(0) > 0)
        key->Write("NumDecodeThreads", *threads);
}

uint32_t PrivateSettings::Read(uint32_t fourcc, const std::string& name) const
{
    const std::vector<CatalogEntry> settings = ListSettings();
    const CatalogEntry* const setting = FindSetting(settings, FourCCText(fourcc) + "." + name);
    return setting ? LoadSetting(*setting) : 0;
}
