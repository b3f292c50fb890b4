// What other programs of the desktop can do to the notifier's window and thread.
#include "platform/windows/windows_headers.h"
#include "surroundings/recording_shell.h"

#include <gtest/gtest.h>

using namespace surroundings;

namespace {

using Entries = std::vector<std::string>;

class ForgedMessages : public ::testing::Test
{
  protected:
    ForgedMessages()
    {
        tray->PostShowIcon();
        shell.WaitFor(2);
        window = static_cast<HWND>(shell.Window());
        thread = GetWindowThreadProcessId(window, nullptr);
    }

    /// The notifier goes on: it shows a status, and goes when its owner says so, taking its window along.
    void ExpectAlive()
    {
        const TrayStatus status = StatusOf(TrayMode::Compressing, 5);
        tray->PostStatus(status);
        tray.reset();
        EXPECT_EQ(shell.WaitFor(4),
                  (Entries{"add 0", "update 0: " + InfoOf({}), "update 1: " + InfoOf(status), "remove"}));
        for (int i = 0; i < 500 && IsWindow(window); ++i)
            Sleep(10);
        EXPECT_FALSE(IsWindow(window));
    }

    RecordingShell shell;
    TrayHandle tray = TrayNotifier::Start(shell);
    HWND window = nullptr;
    DWORD thread = 0;
};

TEST_F(ForgedMessages, NoneOfOurNumbersDoesAnything)
{
    for (UINT message = 1035; message <= 1039; ++message)
        for (const LPARAM parameter : {LPARAM{0}, LPARAM{1}, LPARAM{0x123456789A}}) {
            PostMessageA(window, message, 0, parameter);
            SendMessageA(window, message, 0, parameter);
            PostThreadMessageA(thread, message, 0, parameter);
        }
    ExpectAlive();
}

TEST_F(ForgedMessages, NoStopFromElsewhereEndsTheThread)
{
    PostThreadMessageA(thread, MessageWindow::kStop, 0, 0);
    PostMessageA(window, MessageWindow::kStop, 0, 0);
    PostThreadMessageA(thread, WM_QUIT, 0, 0);
    PostMessageA(window, WM_QUIT, 0, 0);
    PostMessageA(window, WM_CLOSE, 0, 0);
    ExpectAlive();
}

TEST_F(ForgedMessages, NoPointerFromElsewhereIsFollowed)
{
    SetWindowLongPtrA(window, GWLP_USERDATA, 0x123456789A);
    PostMessageA(window, WM_CREATE, 0, 0x123456789A);
    SendMessageA(window, WM_CREATE, 0, 0);
    PostMessageA(window, WM_TIMER, 0, 0x123456789A);
    ExpectAlive();
}

} // namespace
