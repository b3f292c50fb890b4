// Any program of the same desktop may post and send messages to our window and thread, with any number and
// any parameters, and write to the window's memory. So the system's messages only wake the thread: what it is
// to do stands in a queue of its own, and nothing that comes with a message, nor a pointer kept in the
// window, is followed.
#include "surroundings/message_window.h"

#include "platform/clock.h"
#include "platform/module_handle.h"
#include "platform/windows/windows_headers.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <deque>
#include <mutex>
#include <vector>

namespace surroundings {

namespace {

class SystemMessageWindow final : public MessageWindow
{
  public:
    void Create(uint32_t index, MessageHandler handler, void* owner) noexcept override;
    void* Handle() const noexcept override { return Window; }
    void Run() noexcept override;
    void Post(uint32_t message) noexcept override;
    void PostStop() noexcept override;

  private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    std::optional<uint32_t> Take() noexcept;
    void HandlePosted() noexcept;

    static HINSTANCE Module() { return static_cast<HINSTANCE>(platform::StoredModuleHandle()); }

    DWORD ThreadId = 0;
    ATOM ClassAtom = 0;
    HWND Window = nullptr;
    MessageHandler answer = nullptr;
    void* argument = nullptr;

    std::mutex lock;
    std::deque<uint32_t> messages;
    std::atomic<bool> stopping{false};
};

/// The windows that live, each on the thread that made it.
class LivingWindows
{
  public:
    bool Add(HWND window, SystemMessageWindow* object) noexcept
    try {
        const std::lock_guard guard(lock);
        entries.push_back({window, object});
        return true;
    } catch (...) { // out of memory
        return false;
    }
    void Remove(HWND window) noexcept
    {
        const std::lock_guard guard(lock);
        std::erase_if(entries, [&](const Entry& entry) { return entry.window == window; });
    }
    /// Null for a window that is not in the list.
    SystemMessageWindow* Find(HWND window) noexcept
    {
        const std::lock_guard guard(lock);
        const auto entry = std::ranges::find(entries, window, &Entry::window);
        return entry == entries.end() ? nullptr : entry->object;
    }

  private:
    struct Entry {
        HWND window;
        SystemMessageWindow* object;
    };

    std::mutex lock;
    std::vector<Entry> entries;
};

LivingWindows livingWindows;

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
    if (!ClassAtom)
        return;
    Window = CreateWindowExA(0, MAKEINTATOM(ClassAtom), "TrayWindow", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                             Module(), nullptr);
    if (Window && !livingWindows.Add(Window, this)) {
        DestroyWindow(Window);
        Window = nullptr;
    }
}

void SystemMessageWindow::Post(uint32_t message) noexcept
try {
    {
        const std::lock_guard guard(lock);
        messages.push_back(message);
    }
    PostMessageA(Window, message, 0, 0);
} catch (...) { // out of memory: the message is lost
    return;
}

void SystemMessageWindow::PostStop() noexcept
{
    // The thread may see the stop before it is woken for it, and be gone.
    const DWORD thread = ThreadId;
    stopping.store(true, std::memory_order_release);
    PostThreadMessageA(thread, kStop, 0, 0);
}

std::optional<uint32_t> SystemMessageWindow::Take() noexcept
{
    const std::lock_guard guard(lock);
    if (messages.empty())
        return std::nullopt;
    const uint32_t first = messages.front();
    messages.pop_front();
    return first;
}

void SystemMessageWindow::HandlePosted() noexcept
{
    while (const std::optional<uint32_t> next = Take())
        answer(argument, *next, 0);
}

void SystemMessageWindow::Run() noexcept
{
    // WM_QUIT, for which GetMessage gives 0, is no more than another message: anybody can post it.
    for (;;) {
        MSG message;
        const BOOL got = GetMessageA(&message, nullptr, 0, 0);
        const bool stop =
            stopping.load(std::memory_order_acquire); // what was posted before it stands in the queue
        HandlePosted();
        if (stop)
            break;
        if (got <= 0 || message.message == WM_TIMER) // we have no timers; the parameter of one is called
            continue;
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    if (Window) {
        livingWindows.Remove(Window);
        DestroyWindow(Window);
    }
    Window = nullptr;
    if (ClassAtom)
        UnregisterClassA(MAKEINTATOM(ClassAtom), Module());
}

LRESULT CALLBACK SystemMessageWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == WM_CLOSE)
        return 0; // the window goes with its thread
    if (message == kCallback)
        if (const SystemMessageWindow* const self = livingWindows.Find(window))
            return self->answer(self->argument, message, lParam).value_or(0);
    return DefWindowProcA(window, message, wParam, lParam);
}

} // namespace

std::unique_ptr<MessageWindow> MakeMessageWindow()
{
    return std::make_unique<SystemMessageWindow>();
}

} // namespace surroundings
