#include "platform/registry_text.h"

#include "platform/unicode.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace platform {
namespace {

constexpr std::string_view kHeading = "Windows Registry Editor Version 5.00";
constexpr std::string_view kOldHeading = "REGEDIT4";

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kUtf16LeMark = "\xFF\xFE";
constexpr std::string_view kUtf16BeMark = "\xFE\xFF";

/// Units of two bytes, the one at `low` being the low one. A last odd byte is no unit.
std::u16string UnitsFromBytes(std::string_view bytes, size_t low)
{
    std::u16string units(bytes.size() / 2, u'\0');
    for (size_t i = 0; i < units.size(); ++i)
        units[i] = static_cast<char16_t>(static_cast<uint8_t>(bytes[2 * i + low]) |
                                         static_cast<uint8_t>(bytes[2 * i + 1 - low]) << 8);
    return units;
}

std::string BytesFromUnits(std::u16string_view units, size_t low)
{
    std::string bytes(units.size() * 2, '\0');
    for (size_t i = 0; i < units.size(); ++i) {
        bytes[2 * i + low] = static_cast<char>(units[i] & 0xFF);
        bytes[2 * i + 1 - low] = static_cast<char>(units[i] >> 8);
    }
    return bytes;
}

/// True for the key itself and for all keys below it.
bool IsAtOrBelow(std::string_view key, std::string_view ancestor)
{
    return EqualRegistryNames(key.substr(0, ancestor.size()), ancestor) &&
           (key.size() == ancestor.size() || key[ancestor.size()] == '\\');
}

bool IsBlank(const RegistryLine& line)
{
    return line.text.find_first_not_of(" \t\r\n") == std::string::npos;
}

} // namespace

RegistryText RegistryText::FromBytes(std::string_view bytes)
{
    RegistryText result;
    std::string converted;
    if (bytes.starts_with(kUtf8Mark)) {
        result.encoding = Encoding::Utf8Marked;
        bytes.remove_prefix(kUtf8Mark.size());
    } else if (bytes.starts_with(kUtf16LeMark) || bytes.starts_with(kUtf16BeMark)) {
        const bool littleEndian = bytes.starts_with(kUtf16LeMark);
        result.encoding = littleEndian ? Encoding::Utf16Le : Encoding::Utf16Be;
        converted = Utf8FromUtf16(UnitsFromBytes(bytes.substr(2), littleEndian ? 0 : 1));
        bytes = converted;
    }
    // Blank lines in sequence are kept as one: a file of line ends takes no more memory and time than its
    // bytes.
    for (bool lastIsBlank = false; !bytes.empty();) {
        RegistryLine line = TakeRegistryLine(bytes);
        const bool isBlank = IsBlank(line);
        if (isBlank && lastIsBlank)
            result.lines.back().text += line.text;
        else
            result.lines.push_back(std::move(line));
        lastIsBlank = isBlank;
    }
    return result;
}

std::string RegistryText::ToBytes() const
{
    std::string text;
    for (const RegistryLine& line : lines)
        text += line.text;
    switch (encoding) {
    case Encoding::Utf8:
        break;
    case Encoding::Utf8Marked:
        return std::string(kUtf8Mark) + text;
    case Encoding::Utf16Le:
        return std::string(kUtf16LeMark) + BytesFromUnits(Utf16FromUtf8(text), 0);
    case Encoding::Utf16Be:
        return std::string(kUtf16BeMark) + BytesFromUnits(Utf16FromUtf8(text), 1);
    }
    return text;
}

/// The heads of the key's sections and all lines of values in them, in order, as far as no later line removes
/// the key or one above it.
std::vector<size_t> RegistryText::LinesOf(std::string_view key) const
{
    std::vector<size_t> result;
    bool inKey = false;
    for (size_t i = 0; i < lines.size(); ++i) {
        switch (lines[i].kind) {
        case RegistryLine::Kind::Other:
            continue;
        case RegistryLine::Kind::Key:
            inKey = EqualRegistryNames(lines[i].name, key);
            break;
        case RegistryLine::Kind::RemovedKey:
            inKey = false;
            if (IsAtOrBelow(key, lines[i].name))
                result.clear();
            break;
        case RegistryLine::Kind::Value:
        case RegistryLine::Kind::RemovedValue:
        case RegistryLine::Kind::MalformedValue:
            break;
        }
        if (inKey)
            result.push_back(i);
    }
    return result;
}

std::optional<uint32_t> RegistryText::Read(std::string_view key, std::string_view name) const
{
    std::optional<uint32_t> number;
    for (const size_t i : LinesOf(key))
        if (lines[i].IsOfValue(name) && lines[i].kind != RegistryLine::Kind::MalformedValue)
            number = lines[i].number; // a removed value has none
    return number;
}

std::vector<SettingsValue> RegistryText::List(std::string_view key) const
{
    // Places in the order of first mention.
    std::vector<std::pair<std::string, std::optional<uint32_t>>> places;
    std::unordered_map<std::string, size_t> placeOf;
    for (const size_t i : LinesOf(key)) {
        const RegistryLine& line = lines[i];
        if (line.kind != RegistryLine::Kind::Value && line.kind != RegistryLine::Kind::RemovedValue)
            continue;
        const auto [place, isNew] = placeOf.try_emplace(FoldedRegistryName(line.name), places.size());
        if (isNew)
            places.emplace_back(line.name, std::nullopt);
        places[place->second].second = line.number;
    }
    std::vector<SettingsValue> values;
    for (const auto& [name, number] : places)
        if (number)
            values.push_back({name, *number});
    return values;
}

void RegistryText::Write(std::string_view key, std::string_view name, uint32_t number)
{
    EnsureHeading();
    std::string text = FormatRegistryValue(name, number);
    const std::vector<size_t> own = LinesOf(key);
    const auto last =
        std::find_if(own.rbegin(), own.rend(), [&](size_t i) { return lines[i].IsOfValue(name); });
    if (last != own.rend()) {
        const size_t at = *last;
        lines.erase(lines.begin() + static_cast<ptrdiff_t>(at));
        InsertLine(at, std::move(text));
    } else if (!own.empty()) {
        InsertLine(own.back() + 1, std::move(text));
    } else {
        if (!IsBlank(lines.back()))
            InsertLine(lines.size(), "");
        InsertLine(lines.size(), "[" + std::string(key) + "]");
        InsertLine(lines.size(), std::move(text));
    }
}

void RegistryText::Delete(std::string_view key, std::string_view name)
{
    std::vector<bool> goes(lines.size());
    for (const size_t i : LinesOf(key))
        goes[i] = lines[i].IsOfValue(name);
    size_t kept = 0;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (goes[i])
            continue;
        if (kept != i)
            lines[kept] = std::move(lines[i]);
        ++kept;
    }
    lines.resize(kept);
}

void RegistryText::EnsureHeading()
{
    const auto first = std::find_if_not(lines.begin(), lines.end(), IsBlank);
    if (first != lines.end() && (first->text.starts_with(kHeading) || first->text.starts_with(kOldHeading)))
        return;
    InsertLine(0, std::string(kHeading));
    InsertLine(1, "");
}

/// Puts a line, given without its end, before line `at`.
void RegistryText::InsertLine(size_t at, std::string text)
{
    const std::string_view lineEnd = LineEnd();
    text += lineEnd;
    if (at > 0) {
        // The last line of a file may have no end, and it may go on in a further line that is not there: an
        // empty one keeps the new line from being taken for it.
        std::string& before = lines[at - 1].text;
        if (!before.ends_with('\n'))
            before += lineEnd;
        const std::string both = before + text;
        std::string_view behind = both;
        TakeRegistryLine(behind);
        if (behind.size() < text.size())
            before += lineEnd;
    }
    std::string_view rest = text;
    lines.insert(lines.begin() + static_cast<ptrdiff_t>(at), TakeRegistryLine(rest));
}

/// What the first line ends in; a new file has plain line feeds.
std::string_view RegistryText::LineEnd() const
{
    return !lines.empty() && lines.front().text.ends_with("\r\n") ? "\r\n" : "\n";
}

} // namespace platform
