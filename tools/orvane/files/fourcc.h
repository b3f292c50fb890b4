#pragma once

#include "common/four_cc.h"

#include <cstdint>
#include <string>

/// Letters A to Z for a to z; everything else as it is.
constexpr uint32_t UpperFourCC(uint32_t code)
{
    for (int shift = 0; shift < 32; shift += 8)
        if (const uint32_t c = code >> shift & 0xFF; c >= 'a' && c <= 'z')
            code -= 0x20U << shift;
    return code;
}

/// The four characters; unprintable ones as '?'.
inline std::string PrintableFourCC(uint32_t code)
{
    std::string text(4, '?');
    for (size_t i = 0; i < 4; ++i)
        if (const uint32_t c = code >> (8 * i) & 0xFF; c >= 0x20 && c < 0x7F)
            text[i] = static_cast<char>(c);
    return text;
}
