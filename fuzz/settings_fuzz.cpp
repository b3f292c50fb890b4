// Any bytes as a settings file, with edits on top: lines that no edit concerns stay byte for byte, and what
// was written is what is read.

#include "platform/registry_text.h"
#include "support/fuzz_input.h"
#include "support/history.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <string_view>

namespace {

using platform::RegistryText;

constexpr std::string_view kKeys[] = {"HKEY_CURRENT_USER\\Software\\Orvane",
                                      "HKEY_CURRENT_USER\\Software\\Orvane\\O8Y2", "HKEY_CURRENT_USER"};
constexpr std::string_view kNames[] = {"EnableCodecLog", "CompMethod", "numencodethreads", "x"};

/// All that a host of the text can see.
std::string Contents(const RegistryText& text)
{
    std::string contents;
    for (const std::string_view key : kKeys)
        for (const platform::SettingsValue& value : text.List(key)) {
            Require(text.Read(key, value.name) == value.value, "what is listed can be read");
            contents += std::string(key) + '|' + value.name + '=' + std::to_string(value.value) + '\n';
        }
    return contents;
}

void CheckStored(const RegistryText& text)
{
    const std::string bytes = text.ToBytes();
    const RegistryText again = RegistryText::FromBytes(bytes);
    Require(Contents(again) == Contents(text), "stored text reads as it did in memory");
    Require(again.ToBytes() == bytes, "what was stored is kept as it is");
}

/// All edits on the file; what was in it before and after.
Transcript Read(std::span<const uint8_t> bytes)
{
    FuzzInput input(bytes.data(), bytes.size());
    Transcript given;
    struct Edit {
        uint8_t kind;
        uint8_t name;
        uint32_t value;
    };
    Edit edits[3];
    for (Edit& edit : edits)
        edit = {input.Take<uint8_t>(), input.Take<uint8_t>(), input.Take<uint32_t>()};
    const auto rest = input.TakeAll();
    RegistryText text = RegistryText::FromBytes({reinterpret_cast<const char*>(rest.data()), rest.size()});
    CheckStored(text);
    given.Note(Contents(text));

    for (const Edit& edit : edits) {
        const std::string_view key = kKeys[edit.kind / 2 % std::size(kKeys)];
        const std::string_view name = kNames[edit.name % std::size(kNames)];
        if (edit.kind % 2 == 0) {
            text.Write(key, name, edit.value);
            Require(text.Read(key, name) == edit.value, "what was written can be read");
        } else {
            text.Delete(key, name);
            Require(!text.Read(key, name), "what was deleted is gone");
        }
        CheckStored(text);
    }
    given.NoteAll(Contents(text), text.ToBytes());
    return given;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static History history;
    history.ReadTwice({data, size}, Read);
    return 0;
}
