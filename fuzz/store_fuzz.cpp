// The whole life of a settings file: any bytes as the file, keys that are opened, edited and closed in any
// order, bytes that others write in between, and what a broken write has left beside it.

#include "platform/settings_file.h"
#include "platform/shared_file.h"
#include "support/fuzz_input.h"
#include "support/history.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <string>

namespace {

namespace fs = std::filesystem;

using platform::SettingsAccess;

constexpr const char* kKeys[] = {"Software\\Orvane", "Software\\Orvane\\O8Y2"};
constexpr const char* kNames[] = {"EnableCodecLog", "CompMethod", "x"};
constexpr size_t kOpenKeys = 3;

/// A folder for this process, which goes with it.
class Folder
{
  public:
    Folder() : path(platform::MakePrivateFolder(fs::temp_directory_path(), "store_fuzz-").value()) {}
    ~Folder()
    {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
    const fs::path path;
};

void SetBytes(const fs::path& file, std::span<const uint8_t> bytes)
{
    std::FILE* const stream = std::fopen(file.string().c_str(), "wb");
    Require(stream != nullptr, "the file can be written");
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    std::fclose(stream);
}

/// A key with the edits that it has not stored yet.
struct OpenKey {
    std::unique_ptr<platform::SettingsKey> key;
    const char* path = nullptr;
    std::map<std::string, std::optional<uint32_t>> edits;
};

std::unique_ptr<platform::SettingsKey> Open(const fs::path& file, const char* path, SettingsAccess access)
{
    return platform::OpenSettingsFile(file)->Open(path, access);
}

void Close(OpenKey& open, const fs::path& file)
{
    open.key.reset();
    const auto again = Open(file, open.path, SettingsAccess::ReadOnly);
    for (const auto& [name, value] : open.edits)
        Require(again->Read(name) == value, "what a closed key was given is in the file");
    open.edits.clear();
}

/// A whole life; the bytes that the file has at its end.
Transcript Live(std::span<const uint8_t> life)
{
    static const Folder folder;
    const fs::path file = folder.path / "settings.reg";
    FuzzInput input(life.data(), life.size());
    const std::array<uint8_t, 24> steps = input.Take<std::array<uint8_t, 24>>();
    const auto bytes = input.TakeAll();
    SetBytes(file, bytes);

    std::array<OpenKey, kOpenKeys> keys;
    for (const uint8_t step : steps) {
        OpenKey& open = keys[step / 64 % kOpenKeys];
        const char* const name = kNames[step / 8 % std::size(kNames)];
        switch (step % 8) {
        case 0:
        case 1:
            if (!open.key) {
                open.path = kKeys[step % 2];
                open.key = Open(file, open.path, SettingsAccess::ReadWrite);
            }
            break;
        case 2:
        case 3:
            if (open.key) {
                open.key->Write(name, step * 0x01010101U);
                open.edits[name] = step * 0x01010101U;
                Require(open.key->Read(name) == step * 0x01010101U, "an edit is seen by its own key at once");
            }
            break;
        case 4:
            if (open.key) {
                open.key->Delete(name);
                open.edits[name] = std::nullopt;
                Require(!open.key->Read(name), "what was deleted is gone");
            }
            break;
        case 5:
            if (open.key)
                Close(open, file);
            break;
        case 6:
            SetBytes(file, bytes.subspan(bytes.size() * (step / 8) / 32)); // by another program
            break;
        default:
            SetBytes(fs::path(file).concat(".tmp"), bytes); // as a broken write leaves it
            break;
        }
    }
    for (OpenKey& open : keys)
        if (open.key)
            Close(open, file);
    Require(platform::SharedFileLock(file).IsHeld(), "no lock is left");
    Transcript given;
    given.Note(platform::ReadSharedFile(file).bytes);
    return given;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static History history;
    history.ReadTwice({data, size}, Live);
    return 0;
}
