#pragma once

#include <string>
#include <string_view>

namespace platform {

/// UTF-8 to UTF-16 and back. A surrogate without its partner travels as the three bytes that its number has,
/// so that every UTF-16 text comes back as it was; other bytes that are no UTF-8 become U+FFFD.
std::u16string Utf16FromUtf8(std::string_view text);
std::string Utf8FromUtf16(std::u16string_view text);

} // namespace platform
