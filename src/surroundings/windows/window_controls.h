#pragma once

#include "platform/windows/windows_headers.h"
#include "surroundings/control_port.h"

#include <commctrl.h>

namespace surroundings {

/// The controls of a dialog of the system, with the window that shows their tips.
class WindowControls final : public ControlPort
{
  public:
    explicit WindowControls(HWND dialog);
    ~WindowControls() override { DestroyWindow(Tooltip); }
    WindowControls(const WindowControls&) = delete;
    WindowControls& operator=(const WindowControls&) = delete;

    /// Shows the tip of what lies under the mouse.
    void PopUpTip() const { Send(Tooltip, TTM_POPUP); }

    bool GetCheck(int id) const override { return IsDlgButtonChecked(Window, id) == BST_CHECKED; }
    void SetCheck(int id, bool checked) override
    {
        CheckDlgButton(Window, id, checked ? BST_CHECKED : BST_UNCHECKED);
    }
    uint32_t GetNumber(int id) const override { return GetDlgItemInt(Window, id, nullptr, FALSE); }
    void SetNumber(int id, uint32_t number) override { SetDlgItemInt(Window, id, number, FALSE); }
    void SetText(int id, const std::string& text) override { SetDlgItemTextA(Window, id, text.c_str()); }
    void SetTitle(const std::string& title) override { SetWindowTextA(Window, title.c_str()); }
    void Enable(int id, bool enabled) override;
    void Hide(int id) override { ShowWindow(Item(id), SW_HIDE); }

    void ClearItems(int id) override { Send(Item(id), CB_RESETCONTENT); }
    void AddItem(int id, const std::string& text, uint32_t data) override;
    int ItemCount(int id) const override { return static_cast<int>(Send(Item(id), CB_GETCOUNT)); }
    uint32_t ItemData(int id, int index) const override
    {
        return static_cast<uint32_t>(Send(Item(id), CB_GETITEMDATA, static_cast<WPARAM>(index)));
    }
    void Select(int id, int index) override { Send(Item(id), CB_SETCURSEL, static_cast<WPARAM>(index)); }
    int Selection(int id) const override { return static_cast<int>(Send(Item(id), CB_GETCURSEL)); }
    void SetDroppedWidth(int id, int width) override;

    void AddUpDown(int id, int low, int high) override;
    void AddTool(int id, const char* text, ToolArea area) override;
    void WidenToLeft(int id) override;

  private:
    HWND Item(int id) const { return GetDlgItem(Window, id); }
    RECT RectangleOf(HWND control) const; ///< in client coordinates of the dialog
    static LRESULT Send(HWND window, UINT message, WPARAM wParam = 0, LPARAM lParam = 0)
    {
        return SendMessageA(window, message, wParam, lParam);
    }

    HWND Window;
    HWND Tooltip;
    HWND upDown = nullptr;
    int upDownBuddy = 0;
};

} // namespace surroundings
