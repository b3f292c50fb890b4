#pragma once

#include "platform/vfw.h"

#include <span>

namespace platform {

/// Converts a text from the system's ANSI code page (UTF-8 where there is none) into `wide`, cut to its size
/// less one and terminated. `wide` has room for one character or more; what stands behind the terminator
/// stays.
void WideFromAnsi(std::span<WCHAR> wide, const char* text);

} // namespace platform
