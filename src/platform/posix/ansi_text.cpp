#include "platform/ansi_text.h"

#include "platform/unicode.h"

#include <algorithm>
#include <cassert>

namespace platform {

void WideFromAnsi(std::span<WCHAR> wide, const char* text)
{
    assert(!wide.empty());
    const std::u16string converted = Utf16FromUtf8(text);
    const size_t length = std::min(converted.size(), wide.size() - 1);
    std::copy_n(converted.begin(), length, wide.begin());
    wide[length] = u'\0';
}

} // namespace platform
