#include "common/settings_records.h"
#include "platform/thread.h"
#include "platform/thread_start_hook.h"
#include "surroundings/recording_shell.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace surroundings;

namespace {

TEST(TrayNotifier, ShowsUpdatesAndRemovesTheIconInTheOrderOfPosting)
{
    RecordingShell shell;
    const TrayStatus first = StatusOf(TrayMode::Compressing, 1),
                     second = StatusOf(TrayMode::Decompressing, 2);
    TrayHandle tray = TrayNotifier::Start(shell);
    ASSERT_TRUE(tray);
    tray->PostStatus(first);
    tray->PostShowIcon();
    tray->PostShowBalloon();
    tray->PostStatus(second);
    tray.reset();
    EXPECT_EQ(shell.WaitFor(5), (Entries{"add 1", "update 1: " + InfoOf(first), "balloon 1: " + InfoOf(first),
                                         "update 2: " + InfoOf(second), "remove"}));
}

TEST(TrayNotifier, IsIdleUntilItGetsAStatus)
{
    RecordingShell shell;
    TrayHandle tray = TrayNotifier::Start(shell);
    tray->PostShowIcon();
    tray.reset();
    EXPECT_EQ(shell.WaitFor(3), (Entries{"add 0", "update 0: " + InfoOf({}), "remove"}));
}

TEST(TrayNotifier, WithoutAnIconNothingIsUpdated)
{
    RecordingShell shell;
    TrayHandle tray = TrayNotifier::Start(shell);
    tray->PostStatus(StatusOf(TrayMode::Compressing, 1));
    tray->PostShowBalloon();
    tray.reset();
    EXPECT_EQ(shell.WaitFor(1), (Entries{"remove"}));
}

TEST(TrayNotifier, AfterItsRemovalTheIconIsNotUpdated)
{
    RecordingShell shell;
    TrayHandle tray = TrayNotifier::Start(shell);
    tray->PostShowIcon();
    tray->PostRemoveIcon();
    tray->PostStatus(StatusOf(TrayMode::Compressing, 1));
    tray->PostShowBalloon();
    tray.reset();
    EXPECT_EQ(shell.WaitFor(4), (Entries{"add 0", "update 0: " + InfoOf({}), "remove", "remove"}));
}

/// A queue that hands the notifier's own handler out, to be asked as the shell would.
class OpenWindow final : public MessageWindow
{
  public:
    static inline MessageHandler handler;
    static inline void* owner;

    void Create(uint32_t index, MessageHandler handler_, void* owner_) noexcept override
    {
        handler = handler_;
        owner = owner_;
        inner->Create(index, handler_, owner_);
    }
    void* Handle() const noexcept override { return inner->Handle(); }
    void Run() noexcept override { inner->Run(); }
    void Post(uint32_t message) noexcept override { inner->Post(message); }
    void PostStop() noexcept override { inner->PostStop(); }

  private:
    std::unique_ptr<MessageWindow> inner = MakeMessageWindow();
};

TEST(TrayNotifier, AClickBringsTheBalloonAgainWithTheCurrentStatus)
{
    RecordingShell shell;
    const TrayStatus status = StatusOf(TrayMode::Compressing, 7);
    TrayHandle tray = TrayNotifier::Start(shell, std::make_unique<OpenWindow>());
    tray->PostShowIcon();
    tray->PostStatus(status);
    shell.WaitFor(3); // nothing is pending now, so that this thread may speak for the window
    const auto mouse = [](intptr_t message) { return OpenWindow::handler(OpenWindow::owner, 1034, message); };
    for (const intptr_t other : {512, 514, 515, 517, 518, 0})
        EXPECT_EQ(mouse(other), 0) << other;
    EXPECT_EQ(mouse(513), 1);
    EXPECT_EQ(mouse(516), 1);
    EXPECT_EQ(shell.WaitFor(5), (Entries{"add 0", "update 0: " + InfoOf({}), "update 1: " + InfoOf(status),
                                         "balloon 1: " + InfoOf(status), "balloon 1: " + InfoOf(status)}));
    for (const uint32_t foreign : {0U, 1U, 1024U, 1033U, 1035U, 1040U})
        EXPECT_EQ(OpenWindow::handler(OpenWindow::owner, foreign, 0), std::nullopt) << foreign;
    tray.reset();
    shell.WaitFor(6);
}

TEST(TrayNotifier, AStatusThatNobodyPostedIsNotTaken)
{
    RecordingShell shell;
    TrayHandle tray = TrayNotifier::Start(shell, std::make_unique<OpenWindow>());
    tray->PostShowIcon();
    shell.WaitFor(2); // nothing is pending now, so that this thread may speak for the window
    for (const intptr_t forged : {intptr_t{0}, intptr_t{1}, intptr_t{0x12345678}})
        EXPECT_EQ(OpenWindow::handler(OpenWindow::owner, kTrayStatus, forged), 0);
    tray.reset();
    EXPECT_EQ(shell.WaitFor(3), (Entries{"add 0", "update 0: " + InfoOf({}), "remove"}));
}

/// A window that could not be made: the thread waits for its stop all the same.
class MissingWindow final : public MessageWindow
{
  public:
    explicit MissingWindow(RecordingShell& shell_) : shell(shell_) {}
    ~MissingWindow() override { shell.Remove(this); } // tells the test that the thread has gone

    void Create(uint32_t index, MessageHandler handler, void* owner) noexcept override
    {
        inner->Create(index, handler, owner);
    }
    void* Handle() const noexcept override { return nullptr; }
    void Run() noexcept override { inner->Run(); }
    void Post(uint32_t) noexcept override
    {
        ADD_FAILURE() << "nothing is posted to a window that does not exist";
    }
    void PostStop() noexcept override { inner->PostStop(); }

  private:
    RecordingShell& shell;
    std::unique_ptr<MessageWindow> inner = MakeMessageWindow();
};

TEST(TrayNotifier, WithoutAWindowOnlyTheStopIsPosted)
{
    RecordingShell shell;
    TrayHandle tray = TrayNotifier::Start(shell, std::make_unique<MissingWindow>(shell));
    ASSERT_TRUE(tray);
    tray->PostStatus(StatusOf(TrayMode::Compressing, 1));
    tray->PostShowIcon();
    tray->PostShowBalloon();
    tray.reset();
    EXPECT_EQ(shell.WaitFor(1), (Entries{"remove"}));
}

TEST(TrayNotifier, WithoutAThreadThereIsNone)
{
    RecordingShell shell;
    platform::SetThreadStartHook([]() noexcept { return false; });
    EXPECT_FALSE(TrayNotifier::Start(shell));
    TrayHandle tray;
    PostNotify(tray, StatusOf(TrayMode::Compressing, 1), 15);
    EXPECT_FALSE(tray);
    platform::SetThreadStartHook(nullptr);
}

TEST(TrayNotifier, ManyAtOnceDoNotMeet)
{
    constexpr size_t count = 20;
    RecordingShell shells[count];
    std::vector<TrayHandle> trays;
    for (RecordingShell& shell : shells)
        trays.push_back(TrayNotifier::Start(shell));
    for (size_t i = 0; i < count; ++i) {
        trays[i]->PostStatus(StatusOf(TrayMode::Compressing, static_cast<uint32_t>(i)));
        trays[i]->PostShowIcon();
    }
    trays.clear();
    std::vector<void*> windows;
    for (size_t i = 0; i < count; ++i) {
        const std::string info = InfoOf(StatusOf(TrayMode::Compressing, static_cast<uint32_t>(i)));
        EXPECT_EQ(shells[i].WaitFor(3), (Entries{"add 1", "update 1: " + info, "remove"}));
        windows.push_back(shells[i].Window());
    }
    std::ranges::sort(windows);
    EXPECT_EQ(std::ranges::adjacent_find(windows), windows.end());
}

class PostNotifyTest : public ::testing::Test
{
  protected:
    void TearDown() override { platform::WaitForDetachedThreads(); } // as the driver does
};

TEST_F(PostNotifyTest, MakesANotifierOnlyForTheIconOfItsMode)
{
    for (uint32_t settings = 0; settings < 16; ++settings)
        for (const TrayMode mode : {TrayMode::Compressing, TrayMode::Decompressing}) {
            TrayHandle tray;
            PostNotify(tray, StatusOf(mode, 1), settings);
            const uint32_t icon =
                mode == TrayMode::Compressing ? kTrayWhileCompressing : kTrayWhileDecompressing;
            EXPECT_EQ(tray != nullptr, (settings & icon) != 0) << settings;
        }
}

TEST_F(PostNotifyTest, KeepsTheNotifierThatIsThere)
{
    TrayHandle tray;
    PostNotify(tray, StatusOf(TrayMode::Compressing, 1), 15);
    const TrayNotifier* const first = tray.get();
    PostNotify(tray, StatusOf(TrayMode::Decompressing, 1), 15);
    EXPECT_EQ(tray.get(), first);
}

} // namespace
