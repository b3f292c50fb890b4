#include "platform/unicode.h"

#include <cstdint>

namespace platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Decoded {
    char32_t point;
    size_t length; // bytes taken, 1 or more
};

/// The first character of a text that has one byte or more.
Decoded DecodeUtf8(std::string_view text)
{
    const auto byte = [&](size_t i) { return static_cast<uint8_t>(text[i]); };
    const uint8_t lead = byte(0);
    if (lead < 0x80)
        return {lead, 1};
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return {kReplacement, 1};
    char32_t point = lead & (0xFFU >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return {kReplacement, 1};
        point = point << 6 | (byte(i) & 0x3F);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000}; // by length: no longer form than needed
    if (point < kSmallest[length] || point > 0x10FFFF)
        return {kReplacement, 1};
    return {point, length};
}

void AppendUtf8(std::string& text, char32_t point)
{
    const auto append = [&](char32_t bits) { text.push_back(static_cast<char>(static_cast<uint8_t>(bits))); };
    if (point < 0x80) {
        append(point);
        return;
    }
    if (point < 0x800) {
        append(0xC0 | point >> 6);
    } else {
        if (point < 0x10000) {
            append(0xE0 | point >> 12);
        } else {
            append(0xF0 | point >> 18);
            append(0x80 | (point >> 12 & 0x3F));
        }
        append(0x80 | (point >> 6 & 0x3F));
    }
    append(0x80 | (point & 0x3F));
}

bool IsHighSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit < 0xDC00;
}

bool IsLowSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit < 0xE000;
}

} // namespace

std::u16string Utf16FromUtf8(std::string_view text)
{
    std::u16string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const auto [point, length] = DecodeUtf8(text);
        text.remove_prefix(length);
        if (point >= 0x10000) {
            result.push_back(static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10)));
            result.push_back(static_cast<char16_t>(0xDC00 + (point & 0x3FF)));
        } else {
            result.push_back(static_cast<char16_t>(point));
        }
    }
    return result;
}

std::string Utf8FromUtf16(std::u16string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t point = text[i];
        if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
            point = 0x10000 + ((point & 0x3FF) << 10) + (text[i + 1] & 0x3FFU);
            ++i;
        }
        AppendUtf8(result, point);
    }
    return result;
}

} // namespace platform
