// Opens the dialogs of the built library and works them as a user would: the dialog runs on a thread of its
// own, the test looks at its windows and sends what controls send.
#pragma once

#include "platform/vfw.h"

#include <commctrl.h>
#include <functional>
#include <future>
#include <string>
#include <utility>
#include <vector>

/// The built library, loaded once for the program.
struct BuiltLibrary {
    HMODULE module;
    LRESULT(CALLBACK* DriverProc)(DWORD_PTR, HDRVR, UINT, LPARAM, LPARAM);
    void(CALLBACK* Configure)(HWND, HANDLE, char*, int);
    void(CALLBACK* ConfigureAdobe)(HWND, HANDLE, char*, int);
};
/// Path of orvane.dll: the variable ORVANE_LIBRARY, else beside the folder of this program.
std::string LibraryPath();
BuiltLibrary LoadBuiltLibrary(const std::string& path);
const BuiltLibrary& Library();

/// An instance of the driver.
class DriverHandle
{
  public:
    explicit DriverHandle(const char (&fourCC)[5], const BuiltLibrary& library = Library());
    ~DriverHandle() { Send(DRV_CLOSE, 0, 0); }
    DriverHandle(const DriverHandle&) = delete;
    DriverHandle& operator=(const DriverHandle&) = delete;

    LRESULT Send(UINT message, LPARAM first, LPARAM second) const
    {
        return library.DriverProc(static_cast<DWORD_PTR>(id), {}, message, first, second);
    }

  private:
    const BuiltLibrary& library;
    LRESULT id;
};

/// A control with what a user sees of it.
struct SeenControl {
    int id;
    std::string className;
    std::string text;
};

/// A window of the dialog's thread.
class DialogWindow
{
  public:
    explicit DialogWindow(HWND handle_) : handle(handle_) {}

    HWND Handle() const { return handle; }
    HWND Item(int id) const;
    std::string Title() const { return TextOf(handle); }
    std::string Text(int id) const { return TextOf(Item(id)); }
    bool IsChecked(int id) const { return SendMessageA(Item(id), BM_GETCHECK, 0, 0) == BST_CHECKED; }
    bool IsEnabled(int id) const { return IsWindowEnabled(Item(id)) != 0; }
    /// Of the control itself: its dialog may be hidden.
    bool IsShown(int id) const { return (GetWindowLongA(Item(id), GWL_STYLE) & WS_VISIBLE) != 0; }
    RECT Place(int id) const; ///< in client coordinates

    /// All controls in tab order.
    std::vector<SeenControl> Controls() const;

    /// Items of a list with their data.
    std::vector<std::pair<std::string, uint32_t>> Items(int id) const;
    int Selection(int id) const { return static_cast<int>(SendMessageA(Item(id), CB_GETCURSEL, 0, 0)); }

    void Click(int id) const { SendMessageA(Item(id), BM_CLICK, 0, 0); }
    /// Clicks and does not wait, for buttons that open another dialog.
    void PostClick(int id) const { PostMessageA(Item(id), BM_CLICK, 0, 0); }
    void Choose(int id, int index) const;
    void Type(int id, const std::string& text) const
    {
        SendMessageA(Item(id), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
    }

    /// The tips of the dialog: for a control by its id, for a rectangle by the id that stands for it.
    struct Tip {
        int id;
        bool isRectangle;
        std::string text;
        bool operator==(const Tip&) const = default;
    };
    std::vector<Tip> Tips() const;

    static std::string TextOf(HWND window);

  private:
    HWND handle;
};

/// Runs what shows a dialog on a thread of its own.
class DialogRun
{
  public:
    explicit DialogRun(std::function<void()> show);
    /// Cancels what is still open, and waits for the thread.
    ~DialogRun();
    DialogRun(const DialogRun&) = delete;
    DialogRun& operator=(const DialogRun&) = delete;

    /// The dialog with this title, once it is there and ready. Throws when it does not come.
    DialogWindow WaitFor(const std::string& title) const;
    /// Waits until the thread has ended, that is until the last dialog was left.
    void Finish() { ended.get(); }

  private:
    std::future<void> ended;
    DWORD threadId;
};
