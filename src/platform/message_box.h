#pragma once

#include "platform/vfw.h"

namespace platform {

enum class MessageIcon { None, Warning };

/// Shows a text with one button, OK, over the window `owner` (null: none), and returns when it was pressed.
/// Systems without such boxes get one line on standard error, title and text, at once.
void ShowMessage(HWND owner, const char* title, const char* text, MessageIcon icon);

} // namespace platform
