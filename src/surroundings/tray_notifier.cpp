#include "surroundings/tray_notifier.h"

#include "common/settings_records.h"
#include "platform/host_path.h"
#include "platform/thread.h"
#include "surroundings/tray_thread.h"

#include <atomic>

namespace surroundings {

namespace {

constinit std::atomic<uint32_t> notifierCount{0};

// Mouse messages of the shell.
constexpr intptr_t kLeftButtonDown = 513;
constexpr intptr_t kRightButtonDown = 516;

/// The setting bits that mean something to a mode.
struct NotifyBits {
    uint32_t tray;
    uint32_t balloon;
};

NotifyBits BitsOf(TrayMode mode)
{
    return mode == TrayMode::Compressing ? NotifyBits{kTrayWhileCompressing, kBalloonWhileCompressing}
                                         : NotifyBits{kTrayWhileDecompressing, kBalloonWhileDecompressing};
}

} // namespace

void PostNotify(TrayHandle& tray, const TrayStatus& status, uint32_t settings) noexcept
try {
    const NotifyBits bits = BitsOf(status.Mode);
    if (!(settings & bits.tray))
        return;
    if (!tray)
        tray = TrayNotifier::Start();
    if (!tray)
        return;
    tray->PostStatus(status);
    tray->PostShowIcon();
    if (settings & bits.balloon)
        tray->PostShowBalloon();
} catch (...) {
    // Out of memory: a run needs no icon.
}

void TrayStop::operator()(TrayNotifier* notifier) const noexcept
{
    notifier->PostRemoveIcon(); // in this order the icon goes before the thread does
    notifier->PostStop();
}

TrayNotifier::TrayNotifier(TrayShell& shell_, std::unique_ptr<MessageWindow> window_)
    : Index(++notifierCount), shell(shell_), window(std::move(window_))
{}

TrayHandle TrayNotifier::Start(TrayShell& shell, std::unique_ptr<MessageWindow> window)
{
    std::unique_ptr<TrayNotifier> notifier(new TrayNotifier(shell, std::move(window)));
    if (!platform::StartDetachedThread(Run, notifier.get()))
        return nullptr;
    TrayNotifier* const started = notifier.release(); // the thread's from here on
    started->ReadyEvent.Wait();
    return TrayHandle(started);
}

void TrayNotifier::PostStatus(const TrayStatus& status)
{
    {
        const std::lock_guard guard(lock);
        NewStatuses.push_back(status);
    }
    Post(kTrayStatus);
}

void TrayNotifier::Run(void* notifier)
{
    const std::unique_ptr<TrayNotifier> self(static_cast<TrayNotifier*>(notifier));
    self->window->Create(self->Index, HandleMessage, notifier);
    self->ReadyEvent.Set();
    self->window->Run();
}

std::optional<intptr_t> TrayNotifier::HandleMessage(void* notifier, uint32_t message,
                                                    intptr_t parameter) noexcept
try {
    TrayNotifier& self = *static_cast<TrayNotifier*>(notifier);
    switch (message) {
    case kTrayCallback:
        return self.HandleMouse(parameter);
    case kTrayStatus:
        self.TakeStatus();
        return 0;
    case kTrayShowIcon:
        self.shell.Add(self.window->Handle(), self.Status.Mode);
        self.IconShown = true;
        self.Update(false);
        return 0;
    case kTrayRemoveIcon:
        self.shell.Remove(self.window->Handle());
        self.IconShown = false;
        return 0;
    case kTrayShowBalloon:
        self.Update(true);
        return 0;
    default:
        return std::nullopt;
    }
} catch (...) {
    return 0; // out of memory for the texts: the icon stays as it is
}

/// A click brings the balloon again.
intptr_t TrayNotifier::HandleMouse(intptr_t mouseMessage)
{
    if (mouseMessage != kLeftButtonDown && mouseMessage != kRightButtonDown)
        return 0;
    Update(true);
    return 1;
}

void TrayNotifier::TakeStatus()
{
    {
        const std::lock_guard guard(lock);
        if (NewStatuses.empty())
            return;
        Status = NewStatuses.front();
        NewStatuses.pop_front();
    }
    Update(false);
}

void TrayNotifier::Update(bool balloon)
{
    if (!IconShown)
        return;
    const TrayTexts texts = BuildTrayTexts(Status, ShortHostName(platform::HostPath()));
    shell.Update(window->Handle(), Status.Mode, texts, balloon);
}

} // namespace surroundings
