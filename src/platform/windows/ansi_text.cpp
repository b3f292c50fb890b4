#include "platform/ansi_text.h"

#include <algorithm>
#include <cassert>
#include <string>

namespace platform {

void WideFromAnsi(std::span<WCHAR> wide, const char* text)
{
    assert(!wide.empty());
    // Both lengths count the terminator; 0 is a text that cannot be converted.
    std::wstring converted(static_cast<size_t>(MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0)), L'\0');
    MultiByteToWideChar(CP_ACP, 0, text, -1, converted.data(), static_cast<int>(converted.size()));
    const size_t length = std::min(converted.empty() ? 0 : converted.size() - 1, wide.size() - 1);
    std::copy_n(converted.begin(), length, wide.begin());
    wide[length] = L'\0';
}

} // namespace platform
