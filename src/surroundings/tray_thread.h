// The notifier itself: one thread with a window that is told what to do by posted messages only. Its owner, a
// run, holds a TrayHandle and never waits for it to end; the thread frees the notifier on its way out and
// keeps the library loaded until it has left.
#pragma once

#include "platform/event.h"
#include "surroundings/message_window.h"
#include "surroundings/tray_notifier.h"
#include "surroundings/tray_shell.h"

#include <deque>
#include <mutex>

namespace surroundings {

/// Messages to the window.
enum TrayMessage : uint32_t {
    kTrayCallback = MessageWindow::kCallback,
    kTrayStatus = 1036, ///< the next of the statuses that the owner has put in line
    kTrayShowIcon = 1037,
    kTrayRemoveIcon = 1038,
    kTrayShowBalloon = 1039,
};

class TrayNotifier
{
  public:
    /// Starts the thread and waits until it is ready: the window exists then, or has failed for good.
    /// Empty when there is no thread to be had. `shell` outlives the notifier.
    static TrayHandle Start(TrayShell& shell = SystemTrayShell(),
                            std::unique_ptr<MessageWindow> window = MakeMessageWindow());

    // The owner's side. What a notifier without a window is told is lost.
    void PostStatus(const TrayStatus& status);
    void PostShowIcon() { Post(kTrayShowIcon); }
    void PostShowBalloon() { Post(kTrayShowBalloon); }
    void PostRemoveIcon() { Post(kTrayRemoveIcon); }
    void PostStop() { window->PostStop(); }

  private:
    TrayNotifier(TrayShell& shell, std::unique_ptr<MessageWindow> window);
    void Post(uint32_t message)
    {
        if (window->Handle())
            window->Post(message);
    }

    // The thread's side.
    static void Run(void* notifier);
    static std::optional<intptr_t> HandleMessage(void* notifier, uint32_t message,
                                                 intptr_t parameter) noexcept;
    intptr_t HandleMouse(intptr_t mouseMessage);
    void TakeStatus();
    void Update(bool balloon);

    const uint32_t Index;
    TrayShell& shell;
    const std::unique_ptr<MessageWindow> window; ///< final once ReadyEvent is set
    platform::Event ReadyEvent{platform::Event::Kind::Manual};

    std::mutex lock;
    std::deque<TrayStatus> NewStatuses; ///< those that the thread has not taken yet; under the lock

    // Of the thread alone.
    TrayStatus Status;
    bool IconShown = false;
};

} // namespace surroundings
