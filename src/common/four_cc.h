// Four-character codes: 32 bits, the first character in the lowest byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The code of four characters, as in MakeFourCC("O8RG").
constexpr uint32_t MakeFourCC(const char (&text)[5])
{
    uint32_t code = 0;
    for (int i = 3; i >= 0; --i)
        code = code << 8 | static_cast<uint8_t>(text[i]);
    return code;
}

/// The code of a name of at most four characters, filled up with blanks.
constexpr uint32_t PaddedFourCC(std::string_view name)
{
    uint32_t code = 0;
    for (size_t i = 4; i-- > 0;)
        code = code << 8 | static_cast<uint8_t>(i < name.size() ? name[i] : ' ');
    return code;
}

/// The four bytes of a code in memory order, whatever they are.
inline std::string FourCCText(uint32_t code)
{
    std::string text;
    for (int shift = 0; shift < 32; shift += 8)
        text += static_cast<char>(code >> shift & 0xFF);
    return text;
}
