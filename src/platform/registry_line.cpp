#include "platform/registry_line.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <utility>

namespace platform {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kBlanksAndLineEnds = " \t\r\n";

char FoldedCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

void SkipAny(std::string_view& text, std::string_view characters)
{
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
}

bool Skip(std::string_view& text, std::string_view expected)
{
    if (!EqualRegistryNames(text.substr(0, expected.size()), expected))
        return false;
    text.remove_prefix(expected.size());
    return true;
}

/// True when nothing but blanks, a line end and a comment is left.
bool IsAtEnd(std::string_view text)
{
    SkipAny(text, kBlanksAndLineEnds);
    return text.empty() || text.front() == ';';
}

/// A hexadecimal number of 1 to maxDigits digits, not followed by a further digit.
std::optional<uint32_t> TakeHex(std::string_view& text, size_t maxDigits)
{
    uint32_t number = 0;
    const char* const begin = text.data();
    const auto [end, error] = std::from_chars(begin, begin + text.size(), number, 16);
    const auto digits = static_cast<size_t>(end - begin);
    if (error != std::errc() || digits > maxDigits)
        return std::nullopt;
    text.remove_prefix(digits);
    return number;
}

/// A text in quotation marks, its escapes resolved.
std::optional<std::string> TakeQuoted(std::string_view& text)
{
    if (!Skip(text, "\""))
        return std::nullopt;
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '"') {
            text.remove_prefix(i + 1);
            return result;
        }
        if (text[i] == '\\' && i + 1 < text.size() && (text[i + 1] == '\\' || text[i + 1] == '"'))
            ++i;
        result.push_back(text[i]);
    }
    return std::nullopt;
}

/// The bytes of a value as they arrive; only the first four can matter.
class ValueBytes
{
  public:
    void Add(uint8_t byte)
    {
        if (count < 4)
            number |= static_cast<uint32_t>(byte) << (8 * count);
        ++count;
    }
    std::optional<uint32_t> Number() const { return count <= 4 ? std::optional(number) : std::nullopt; }

  private:
    size_t count = 0;
    uint32_t number = 0;
};

/// Between two bytes there may be blanks and the break to a line that continues this one. A break with
/// nothing behind it stays: what stood there is lost.
void SkipBetweenBytes(std::string_view& text)
{
    SkipAny(text, kBlanks);
    while (text.starts_with('\\')) {
        std::string_view behind = text.substr(1);
        SkipAny(behind, kBlanks);
        if (!behind.starts_with('\r') && !behind.starts_with('\n'))
            return;
        SkipAny(behind, kBlanksAndLineEnds);
        if (IsAtEnd(behind))
            return;
        text = behind;
    }
}

/// Comma-separated bytes. False when they are malformed.
bool TakeBytes(std::string_view& text, ValueBytes& bytes)
{
    SkipBetweenBytes(text);
    if (IsAtEnd(text))
        return true;
    do {
        SkipBetweenBytes(text);
        const std::optional<uint32_t> byte = TakeHex(text, 2);
        if (!byte)
            return false;
        bytes.Add(static_cast<uint8_t>(*byte));
        SkipBetweenBytes(text);
    } while (Skip(text, ","));
    return true;
}

/// "hex:" or "hex(N):" with a type number in hexadecimal.
bool SkipHexPrefix(std::string_view& text)
{
    if (!Skip(text, "hex"))
        return false;
    if (Skip(text, "(") && (!TakeHex(text, 8) || !Skip(text, ")")))
        return false;
    return Skip(text, ":");
}

/// What stands behind the equals sign.
void ParseData(RegistryLine& line, std::string_view text)
{
    ValueBytes bytes;
    line.kind = RegistryLine::Kind::MalformedValue;
    if (Skip(text, "-")) {
        if (IsAtEnd(text))
            line.kind = RegistryLine::Kind::RemovedValue;
        return;
    }
    if (Skip(text, "dword:")) {
        line.number = TakeHex(text, 8);
        if (!line.number)
            return;
    } else if (SkipHexPrefix(text)) {
        if (!TakeBytes(text, bytes))
            return;
        line.number = bytes.Number();
    } else if (const std::optional<std::string> string = TakeQuoted(text)) {
        for (const char c : *string)
            bytes.Add(static_cast<uint8_t>(c));
        bytes.Add(0);
        line.number = bytes.Number();
    } else {
        return;
    }
    if (IsAtEnd(text))
        line.kind = RegistryLine::Kind::Value;
    else
        line.number.reset();
}

void ParseKey(RegistryLine& line, std::string_view text)
{
    const size_t end = text.rfind(']');
    if (end == std::string_view::npos)
        return;
    text = text.substr(0, end);
    line.kind = Skip(text, "-") ? RegistryLine::Kind::RemovedKey : RegistryLine::Kind::Key;
    line.name = text;
}

/// The name of a value line and, behind it, the data; nothing when the line gives no value.
std::optional<std::string> TakeValueName(std::string_view& text)
{
    std::optional<std::string> name = Skip(text, "@") ? std::string() : TakeQuoted(text);
    SkipAny(text, kBlanks);
    if (!name || !Skip(text, "="))
        return std::nullopt;
    SkipAny(text, kBlanks);
    return name;
}

std::string_view TakeLine(std::string_view& rest)
{
    const std::string_view line = rest.substr(0, std::min(rest.find('\n'), rest.size() - 1) + 1);
    rest.remove_prefix(line.size());
    return line;
}

/// True for bytes that go on in the next line.
bool IsContinued(std::string_view line)
{
    if (line.find(';') != std::string_view::npos)
        return false; // what stands at the end is a comment
    const size_t last = line.find_last_not_of(kBlanksAndLineEnds);
    return last != std::string_view::npos && line[last] == '\\';
}

} // namespace

RegistryLine TakeRegistryLine(std::string_view& rest)
{
    assert(!rest.empty());
    const std::string_view begin = rest;
    std::string_view text = TakeLine(rest);
    const auto taken = [&] { return begin.substr(0, begin.size() - rest.size()); };

    RegistryLine line;
    SkipAny(text, kBlanks);
    if (Skip(text, "[")) {
        ParseKey(line, text);
    } else if (std::optional<std::string> name = TakeValueName(text)) {
        // Only bytes go on in further lines; a string may end in `\` by itself.
        if (std::string_view data = text; SkipHexPrefix(data)) {
            const auto dataBegin = static_cast<size_t>(text.data() - begin.data());
            for (std::string_view last = text; IsContinued(last) && !rest.empty();)
                last = TakeLine(rest);
            text = taken().substr(dataBegin);
        }
        line.name = std::move(*name);
        ParseData(line, text);
    }
    line.text = taken();
    return line;
}

bool RegistryLine::IsOfValue(std::string_view valueName) const
{
    return kind >= Kind::Value && EqualRegistryNames(name, valueName);
}

std::string FormatRegistryValue(std::string_view name, uint32_t number)
{
    std::string line = name.empty() ? "@" : "\"";
    for (const char c : name) {
        if (c == '\\' || c == '"')
            line.push_back('\\');
        line.push_back(c);
    }
    line += name.empty() ? "=dword:" : "\"=dword:";
    for (int shift = 28; shift >= 0; shift -= 4)
        line.push_back("0123456789abcdef"[number >> shift & 15]);
    return line;
}

bool EqualRegistryNames(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return FoldedCase(x) == FoldedCase(y); });
}

std::string FoldedRegistryName(std::string_view name)
{
    std::string folded(name);
    std::transform(folded.begin(), folded.end(), folded.begin(), FoldedCase);
    return folded;
}

} // namespace platform
