#include "surroundings/windows/window_controls.h"

#include "platform/module_handle.h"

namespace surroundings {

namespace {

HINSTANCE Module()
{
    return static_cast<HINSTANCE>(platform::StoredModuleHandle());
}

/// A length given for 96 dots per inch, on this screen.
int OnScreen(HWND window, int length)
{
    const HDC screen = GetDC(window);
    const int dotsPerInch = GetDeviceCaps(screen, LOGPIXELSX);
    ReleaseDC(window, screen);
    return MulDiv(length, dotsPerInch, 96);
}

} // namespace

WindowControls::WindowControls(HWND dialog) : Window(dialog)
{
    const INITCOMMONCONTROLSEX classes = {sizeof classes, ICC_BAR_CLASSES | ICC_UPDOWN_CLASS};
    InitCommonControlsEx(&classes);
    Tooltip =
        CreateWindowExA(0, TOOLTIPS_CLASSA, nullptr, WS_POPUP | TTS_BALLOON | TTS_NOPREFIX, CW_USEDEFAULT,
                        CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, Module(), nullptr);
    constexpr LPARAM readingMilliseconds = 32000;
    constexpr LPARAM tipWidth = 400;
    Send(Tooltip, TTM_SETDELAYTIME, TTDT_AUTOPOP, readingMilliseconds);
    Send(Tooltip, TTM_SETMAXTIPWIDTH, 0, tipWidth);
}

void WindowControls::Enable(int id, bool enabled)
{
    EnableWindow(Item(id), enabled);
    if (upDown && id == upDownBuddy) // the arrows would change the number of a locked edit
        EnableWindow(upDown, enabled);
}

void WindowControls::AddItem(int id, const std::string& text, uint32_t data)
{
    const LRESULT index = Send(Item(id), CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
    Send(Item(id), CB_SETITEMDATA, static_cast<WPARAM>(index), static_cast<LPARAM>(data));
}

void WindowControls::SetDroppedWidth(int id, int width)
{
    Send(Item(id), CB_SETDROPPEDWIDTH, static_cast<WPARAM>(OnScreen(Window, width)));
}

void WindowControls::AddUpDown(int id, int low, int high)
{
    upDown = CreateWindowExA(0, UPDOWN_CLASSA, nullptr,
                             WS_CHILD | WS_VISIBLE | UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_ARROWKEYS |
                                 UDS_HOTTRACK,
                             0, 0, 0, 0, Window, nullptr, Module(), nullptr);
    upDownBuddy = id;
    Send(upDown, UDM_SETBUDDY, reinterpret_cast<WPARAM>(Item(id)));
    Send(upDown, UDM_SETRANGE32, static_cast<WPARAM>(low), high);
}

void WindowControls::AddTool(int id, const char* text, ToolArea area)
{
    TTTOOLINFOA tool = {};
    tool.cbSize = TTTOOLINFOA_V2_SIZE; // known to every version of the common controls
    tool.hwnd = Window;
    std::string copy = text; // the tooltip keeps a copy of its own
    tool.lpszText = copy.data();
    if (area == ToolArea::Control) {
        tool.uFlags = TTF_IDISHWND | TTF_SUBCLASS;
        tool.uId = reinterpret_cast<UINT_PTR>(Item(id));
    } else {
        tool.uFlags = TTF_SUBCLASS;
        tool.uId = static_cast<UINT_PTR>(id);
        tool.rect = RectangleOf(Item(id));
    }
    Send(Tooltip, TTM_ADDTOOLA, 0, reinterpret_cast<LPARAM>(&tool));
}

void WindowControls::WidenToLeft(int id)
{
    const RECT old = RectangleOf(Item(id));
    const int width = old.right - old.left;
    SetWindowPos(Item(id), nullptr, old.left - width, old.top, 2 * width, old.bottom - old.top,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

RECT WindowControls::RectangleOf(HWND control) const
{
    RECT rectangle;
    GetWindowRect(control, &rectangle);
    MapWindowPoints(nullptr, Window, reinterpret_cast<POINT*>(&rectangle), 2);
    return rectangle;
}

} // namespace surroundings
