#include "surroundings/message_window.h"

#include "platform/clock.h"
#include "platform/module_handle.h"
#include "platform/windows/windows_headers.h"

#include <cstdio>

namespace {

class SystemMessageWindow final : public MessageWindow
{
  public:
    void Create(uint32_t index, MessageHandler handler, void* owner) noexcept override;
    void* Handle() const noexcept override { return Window; }
    void Run() noexcept override;

    bool Post(uint32_t message, intptr_t parameter) noexcept override
    {
        return PostMessageA(Window, message, 0, parameter) != 0;
    }
    bool PostStop() noexcept override { return PostThreadMessageA(ThreadId, kStop, 0, 0) != 0; }

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void Destroy() noexcept;

    static HINSTANCE Module() { return static_cast<HINSTANCE>(platform::StoredModuleHandle()); }

    DWORD ThreadId = 0;
    ATOM ClassAtom = 0;
    HWND Window = nullptr;
    MessageHandler answer = nullptr;
    void* argument = nullptr;
};

void SystemMessageWindow::Create(uint32_t index, MessageHandler handler, void* owner) noexcept
{
    // A thread has no queue before it first asks for one, and what is posted earlier is lost.
    MSG message;
    PeekMessageA(&message, nullptr, WM_USER, WM_USER, PM_NOREMOVE);
    ThreadId = GetCurrentThreadId();
    answer = handler;
    argument = owner;

    // A class of its own for each window: nobody has to know when the last user of a shared one has gone.
    char name[64];
    std::snprintf(name, sizeof name, "ORVANE_TRAY_WINDOW_CLASS_%lu_%lu", static_cast<unsigned long>(index),
                  static_cast<unsigned long>(platform::TickCount()));
    WNDCLASSEXA windowClass = {};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = Procedure;
    windowClass.hInstance = Module();
    windowClass.lpszClassName = name;
    ClassAtom = RegisterClassExA(&windowClass);
    if (ClassAtom)
        Window = CreateWindowExA(0, MAKEINTATOM(ClassAtom), "TrayWindow", 0, 0, 0, 0, 0, HWND_MESSAGE,
                                 nullptr, Module(), this);
}

void SystemMessageWindow::Run() noexcept
{
    MSG message;
    for (BOOL got = GetMessageA(&message, nullptr, 0, 0); got != 0;
         got = GetMessageA(&message, nullptr, 0, 0)) {
        if (got == -1)
            continue;
        if (message.message == kStop) {
            Destroy();
            PostQuitMessage(0);
            continue;
        }
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    Destroy();
    if (ClassAtom)
        UnregisterClassA(MAKEINTATOM(ClassAtom), Module());
}

void SystemMessageWindow::Destroy() noexcept
{
    if (Window)
        DestroyWindow(Window);
    Window = nullptr;
}

LRESULT CALLBACK SystemMessageWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_CREATE) {
        const auto* const create = reinterpret_cast<const CREATESTRUCTA*>(lParam);
        SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
        return 0;
    }
    const auto* const self = reinterpret_cast<SystemMessageWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (self)
        if (const std::optional<intptr_t> result = self->answer(self->argument, message, lParam))
            return *result;
    return DefWindowProcA(window, message, wParam, lParam);
}

} // namespace

std::unique_ptr<MessageWindow> MakeMessageWindow()
{
    return std::make_unique<SystemMessageWindow>();
}
