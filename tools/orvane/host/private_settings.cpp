#include "host/private_settings.h"

#include "driver/settings/settings_catalog.h"
#include "driver/settings/settings_io.h"
#include "files/byte_source.h"
#include "files/fourcc.h"
#include "platform/process.h"
#include "platform/settings_store.h"
#include "tool_error.h"

#include <cerrno>
#include <fstream>

namespace {

constexpr char kStoreVariable[] = "ORVANE_STORE";

struct StoredKey {
    std::string path;
    std::vector<platform::SettingsValue> values;
};

std::vector<StoredKey> ReadAllKeys()
{
    std::vector<StoredKey> keys{{settings::kGlobalKey, {}}};
    for (const settings::CodecVariant& variant : settings::BuildVariantTable())
        if (!settings::IsGeneric(variant))
            keys.push_back({settings::VariantKeyPath(variant), {}});
    const auto store = platform::OpenSettingsStore();
    for (StoredKey& key : keys)
        key.values = store->Open(key.path, platform::SettingsAccess::ReadOnly)->List();
    return keys;
}

/// A folder that nobody else has.
platform::Path MakeFolderOfThisRun()
{
    std::error_code error;
    const platform::Path parent = std::filesystem::temp_directory_path(error);
    errno = 0;
    if (const auto folder = platform::MakePrivateFolder(parent, "orvane-"))
        return *folder;
    throw ToolError("cannot make a temporary folder (" + SystemReason() + ")", TextOf(parent),
                    "check the folder for temporary files");
}

/// Why no file can be written in a folder, where the store leaves no error.
std::string ReasonNotToWrite(const platform::Path& folder)
{
    errno = 0;
    std::ofstream probe(folder / "probe", std::ios::binary);
    const char page[4096] = {};
    probe.write(page, sizeof page).flush();
    return SystemReason();
}

std::string KeyPath(uint32_t fourcc)
{
    return settings::kVariantKeyPrefix + FourCCText(fourcc);
}

/// 0 threads: as many as there are processors.
void AddThreads(std::vector<platform::SettingsValue>& values, const std::string& direction,
                std::optional<uint32_t> threads)
{
    if (!threads)
        return;
    values.push_back({"Auto" + direction + "Threads", *threads == 0});
    if (*threads > 0)
        values.push_back({"Num" + direction + "Threads", *threads});
}

} // namespace

PrivateSettings::PrivateSettings() : usersStore(platform::PathFromEnvironment(kStoreVariable))
{
    const std::vector<StoredKey> keys = ReadAllKeys();
    folder = MakeFolderOfThisRun();
    platform::SetPathInEnvironment(kStoreVariable, folder / "settings.reg");
    try {
        for (const StoredKey& key : keys)
            Write(key.path, key.values);
    } catch (...) { // whatever it is goes on, once the user has the own store again
        GiveBack();
        throw;
    }
}

PrivateSettings::~PrivateSettings()
{
    GiveBack();
}

void PrivateSettings::GiveBack() const noexcept
{
    platform::SetPathInEnvironment(kStoreVariable, usersStore);
    std::error_code ignored; // a file that stays behind in the folder for temporary files does no harm
    std::filesystem::remove_all(folder, ignored);
}

void PrivateSettings::Write(const std::string& path, const std::vector<platform::SettingsValue>& values) const
{
    std::vector<platform::SettingsValue> wanted;
    errno = 0;
    {
        const auto key = platform::OpenSettingsKey(path, platform::SettingsAccess::ReadWrite);
        for (const platform::SettingsValue& value : values)
            key->Write(value.name, value.value);
        wanted = key->List();
    }
    const std::string reason = errno != 0 ? SystemReason() : std::string();
    // The store itself fails without a word, and then other settings than the chosen ones would govern the
    // run.
    const auto kept = platform::OpenSettingsKey(path, platform::SettingsAccess::ReadOnly);
    for (const platform::SettingsValue& value : wanted)
        if (kept->Read(value.name) != value.value)
            throw ToolError("cannot keep the settings of this run (" +
                                (reason.empty() ? ReasonNotToWrite(folder) : reason) + ")",
                            TextOf(folder), "make room in the folder for temporary files");
}

void PrivateSettings::SetForEncoding(uint32_t fourcc, const CodecOptions& options)
{
    std::vector<platform::SettingsValue> values;
    const auto set = [&](const char* name, const auto& option) {
        if (option)
            values.push_back({name, static_cast<uint32_t>(*option)});
    };
    set("CompMethod", options.method);
    set("ColorMatrix", options.matrix);
    set("Interlaced", options.interlaced);
    set("FullRangeYUV", options.fullRange);
    set("InterpolateDownscale", options.interpolate);
    AddThreads(values, "Encode", options.threads);
    Write(KeyPath(fourcc), values);
}

void PrivateSettings::SetForDecoding(std::optional<uint32_t> threads)
{
    std::vector<platform::SettingsValue> values;
    for (const char* mask :
         {"DecompSettings_YUV400", "DecompSettings_YUV420", "DecompSettings_YUV422", "DecompSettings_YUV444"})
        values.push_back({mask, 0xFFFFFFFF});
    AddThreads(values, "Decode", threads);
    Write(settings::kGlobalKey, values);
}

uint32_t ReadSetting(uint32_t fourcc, const std::string& name)
{
    const std::vector<settings::CatalogEntry> settings = settings::ListSettings();
    const settings::CatalogEntry* const setting =
        settings::FindSetting(settings, FourCCText(fourcc) + "." + name);
    return setting ? settings::LoadSetting(*setting) : 0;
}
