// One line of the text form of a registry:
//
//   [HKEY_CURRENT_USER\Software\Orvane]     the values that follow belong to this key
//   [-HKEY_CURRENT_USER\Software\Orvane]    removes the key and the keys below it
//   "Name"=dword:0000001f                   a number, one to eight digits
//   "Name"=hex:1f,00                        bytes, hex(N): those of type N; `\` at the end goes on in the
//   next line "Name"="text"                           a string; `\\` and `\"` stand for `\` and `"` "Name"=-
//   removes the value
//   @=dword:0000001f                        the key's unnamed value
//   ; comment
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

struct RegistryLine {
    enum class Kind {
        Other, ///< blank, comment, heading, or no line of this form
        Key,
        RemovedKey,
        Value,
        RemovedValue,
        MalformedValue, ///< has a name, but nothing to give it
    };

    std::string text; ///< as it stands, with its line end and the lines that continue it
    Kind kind = Kind::Other;
    std::string name; ///< path of the key, or name of the value
    /// Value: its bytes as a little-endian number, nothing for more than four. A string's terminator counts.
    std::optional<uint32_t> number;

    bool IsOfValue(std::string_view valueName) const;
};

/// Takes the first line off `rest`, which has one byte or more, together with the lines that continue it.
RegistryLine TakeRegistryLine(std::string_view& rest);

/// The line that gives a value, without line end.
std::string FormatRegistryValue(std::string_view name, uint32_t number);

/// Names of keys and values are compared without regard to the case of the letters A to Z.
bool EqualRegistryNames(std::string_view a, std::string_view b);
std::string FoldedRegistryName(std::string_view name);

} // namespace platform
