#pragma once

#include "surroundings/windows/window_controls.h"

#include <optional>

namespace surroundings {

/// A modal dialog of the library: the way from the system's messages to the decisions of a model. The object
/// lives as long as its window, or longer.
class DialogBase
{
  public:
    DialogBase() = default;
    virtual ~DialogBase() = default;
    DialogBase(const DialogBase&) = delete;
    DialogBase& operator=(const DialogBase&) = delete;

    /// Shows the dialog of template `id` over `parent` until the user leaves it. True when it was confirmed;
    /// false also when it could not be shown.
    bool Run(int id, HWND parent);

    /// Answers a message of the window as a dialog procedure does.
    virtual INT_PTR HandleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  protected:
    HWND Window = nullptr; ///< set by the first message

  private:
    virtual void Init(ControlPort& controls) = 0;
    virtual DialogEnd Command(ControlPort& controls, int id, int notification) = 0;

    std::optional<WindowControls> windowControls;
};

/// The dialog procedure of all templates; the object travels as the parameter of WM_INITDIALOG.
INT_PTR CALLBACK DialogThunk(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept;

} // namespace surroundings
