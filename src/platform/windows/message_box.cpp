#include "platform/message_box.h"

namespace platform {

void ShowMessage(HWND owner, const char* title, const char* text, MessageIcon icon)
{
    MessageBoxA(owner, text, title, MB_OK | (icon == MessageIcon::Warning ? MB_ICONWARNING : 0U));
}

} // namespace platform
