#include "platform/message_box.h"

#include <cstdio>

namespace platform {

void ShowMessage(HWND, const char* title, const char* text, MessageIcon)
{
    std::fprintf(stderr, "%s: %s\n", title, text);
}

} // namespace platform
