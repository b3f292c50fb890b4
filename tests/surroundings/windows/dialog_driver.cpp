#include "surroundings/windows/dialog_driver.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace {

constexpr int kPatienceMilliseconds = 60'000; // machines that test are busy
constexpr int kPollMilliseconds = 5;

struct Search {
    std::string className;
    std::string title; ///< empty: any
    HWND found = nullptr;
};

BOOL CALLBACK Match(HWND window, LPARAM parameter)
{
    Search& search = *reinterpret_cast<Search*>(parameter);
    char name[64] = {};
    GetClassNameA(window, name, sizeof name);
    if (name != search.className || (!search.title.empty() && DialogWindow::TextOf(window) != search.title))
        return TRUE;
    search.found = window;
    return FALSE;
}

HWND FindInThread(DWORD threadId, const std::string& className, const std::string& title = "")
{
    Search search{className, title};
    EnumThreadWindows(threadId, Match, reinterpret_cast<LPARAM>(&search));
    return search.found;
}

BOOL CALLBACK CollectControl(HWND window, LPARAM parameter)
{
    char name[64] = {};
    GetClassNameA(window, name, sizeof name);
    reinterpret_cast<std::vector<SeenControl>*>(parameter)->push_back(
        {GetDlgCtrlID(window), name, DialogWindow::TextOf(window)});
    return TRUE;
}

/// The tooltip that has a tool in this dialog; a nested dialog's thread has several.
struct TooltipSearch {
    HWND dialog;
    HWND found = nullptr;
};

BOOL CALLBACK MatchTooltip(HWND window, LPARAM parameter)
{
    TooltipSearch& search = *reinterpret_cast<TooltipSearch*>(parameter);
    char name[64] = {};
    GetClassNameA(window, name, sizeof name);
    if (std::string(name) != TOOLTIPS_CLASSA)
        return TRUE;
    TTTOOLINFOA tool = {};
    tool.cbSize = TTTOOLINFOA_V2_SIZE;
    if (!SendMessageA(window, TTM_ENUMTOOLSA, 0, reinterpret_cast<LPARAM>(&tool)) ||
        tool.hwnd != search.dialog)
        return TRUE;
    search.found = window;
    return FALSE;
}

} // namespace

std::string LibraryPath()
{
    if (const char* path = std::getenv("ORVANE_LIBRARY"))
        return path;
    char program[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, program, sizeof program);
    return (std::filesystem::path(program).parent_path().parent_path() / "orvane.dll").string();
}

BuiltLibrary LoadBuiltLibrary(const std::string& path)
{
    const HMODULE module = LoadLibraryA(path.c_str());
    if (!module)
        throw std::runtime_error("cannot load " + path);
    const auto find = [module](const char* name) {
        return reinterpret_cast<void*>(GetProcAddress(module, name));
    };
    return {module, reinterpret_cast<decltype(BuiltLibrary::DriverProc)>(find("DriverProc")),
            reinterpret_cast<decltype(BuiltLibrary::Configure)>(find("Configure")),
            reinterpret_cast<decltype(BuiltLibrary::ConfigureAdobe)>(find("ConfigureAdobe"))};
}

const BuiltLibrary& Library()
{
    static const BuiltLibrary library = LoadBuiltLibrary(LibraryPath());
    return library;
}

DriverHandle::DriverHandle(const char (&fourCC)[5], const BuiltLibrary& library_) : library(library_)
{
    ICOPEN open = {};
    open.dwSize = sizeof open;
    open.fccType = ICTYPE_VIDEO;
    open.fccHandler = mmioFOURCC(fourCC[0], fourCC[1], fourCC[2], fourCC[3]);
    id = library.DriverProc(0, {}, DRV_OPEN, 0, reinterpret_cast<LPARAM>(&open));
    if (!id)
        throw std::runtime_error(std::string("cannot open ") + fourCC);
}

std::string DialogWindow::TextOf(HWND window)
{
    char text[2000] = {};
    SendMessageA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
    return text;
}

HWND DialogWindow::Item(int id) const
{
    const HWND item = GetDlgItem(handle, id);
    if (!item)
        throw std::runtime_error("the dialog has no control " + std::to_string(id));
    return item;
}

RECT DialogWindow::Place(int id) const
{
    RECT place;
    GetWindowRect(Item(id), &place);
    MapWindowPoints(nullptr, handle, reinterpret_cast<POINT*>(&place), 2);
    return place;
}

std::vector<SeenControl> DialogWindow::Controls() const
{
    std::vector<SeenControl> controls;
    EnumChildWindows(handle, CollectControl, reinterpret_cast<LPARAM>(&controls));
    return controls;
}

std::vector<std::pair<std::string, uint32_t>> DialogWindow::Items(int id) const
{
    std::vector<std::pair<std::string, uint32_t>> items;
    const auto count = static_cast<WPARAM>(SendMessageA(Item(id), CB_GETCOUNT, 0, 0));
    for (WPARAM i = 0; i < count; ++i) {
        char text[200] = {};
        SendMessageA(Item(id), CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(text));
        items.emplace_back(text, static_cast<uint32_t>(SendMessageA(Item(id), CB_GETITEMDATA, i, 0)));
    }
    return items;
}

void DialogWindow::Choose(int id, int index) const
{
    SendMessageA(Item(id), CB_SETCURSEL, static_cast<WPARAM>(index), 0);
    SendMessageA(handle, WM_COMMAND, MAKEWPARAM(id, CBN_SELCHANGE), reinterpret_cast<LPARAM>(Item(id)));
}

std::vector<DialogWindow::Tip> DialogWindow::Tips() const
{
    TooltipSearch search{handle};
    EnumThreadWindows(GetWindowThreadProcessId(handle, nullptr), MatchTooltip,
                      reinterpret_cast<LPARAM>(&search));
    if (!search.found)
        throw std::runtime_error("the dialog has no tooltip");
    std::vector<Tip> tips;
    const auto count = static_cast<WPARAM>(SendMessageA(search.found, TTM_GETTOOLCOUNT, 0, 0));
    for (WPARAM i = 0; i < count; ++i) {
        char text[2000] = {};
        TTTOOLINFOA tool = {};
        tool.cbSize = TTTOOLINFOA_V2_SIZE;
        SendMessageA(search.found, TTM_ENUMTOOLSA, i, reinterpret_cast<LPARAM>(&tool));
        tool.lpszText = text;
        SendMessageA(search.found, TTM_GETTEXTA, sizeof text, reinterpret_cast<LPARAM>(&tool));
        const bool isControl = (tool.uFlags & TTF_IDISHWND) != 0;
        tips.push_back(
            {isControl ? GetDlgCtrlID(reinterpret_cast<HWND>(tool.uId)) : static_cast<int>(tool.uId),
             !isControl, text});
    }
    return tips;
}

DialogRun::DialogRun(std::function<void()> show)
{
    Library(); // loaded by the thread that also looks for windows: both at once, for the first time, can
               // block
    std::promise<DWORD> started;
    ended = std::async(std::launch::async, [&started, show] {
        started.set_value(GetCurrentThreadId());
        show();
    });
    threadId = started.get_future().get();
}

DialogRun::~DialogRun()
{
    // A failed test leaves dialogs open, children before their parents.
    const auto isRunning = [this] {
        return ended.valid() &&
               ended.wait_for(std::chrono::milliseconds(kPollMilliseconds)) != std::future_status::ready;
    };
    while (isRunning())
        if (const HWND open = FindInThread(threadId, "#32770"))
            PostMessageA(GetLastActivePopup(open), WM_COMMAND, IDCANCEL, 0);
}

DialogWindow DialogRun::WaitFor(const std::string& title) const
{
    for (int waited = 0; waited < kPatienceMilliseconds; waited += kPollMilliseconds) {
        const HWND window = FindInThread(threadId, "#32770", title);
        // Shown is the last thing that happens to it before its own loop runs.
        if (window && IsWindowVisible(window))
            return DialogWindow(window);
        Sleep(kPollMilliseconds);
    }
    throw std::runtime_error("no dialog \"" + title + "\" appeared");
}
