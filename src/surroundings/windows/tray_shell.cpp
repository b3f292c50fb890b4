#include "surroundings/tray_shell.h"

#include "platform/module_handle.h"
#include "platform/windows/windows_headers.h"
#include "surroundings/resource_ids.h"

#include <cstddef>
#include <shellapi.h>
#include <string>

namespace surroundings {

namespace {

constexpr UINT kIconId = 100;
constexpr UINT kCallbackMessage = 1034;
constexpr UINT kBalloonMilliseconds = 15000;

/// The record up to the balloon's own icon, which this shell does not use.
constexpr DWORD kRecordSize = offsetof(NOTIFYICONDATAA, hBalloonIcon);
static_assert(kRecordSize == 520);

NOTIFYICONDATAA RecordFor(void* window)
{
    NOTIFYICONDATAA record = {};
    record.cbSize = kRecordSize;
    record.hWnd = static_cast<HWND>(window);
    record.uID = kIconId;
    return record;
}

/// The icon of a mode, for as long as the shell needs to copy it.
class ModeIcon
{
  public:
    explicit ModeIcon(TrayMode mode)
    {
        const int id = mode == TrayMode::Compressing ? ICON_COMPRESSING : ICON_DECOMPRESSING;
        handle = static_cast<HICON>(LoadImageA(
            static_cast<HINSTANCE>(platform::StoredModuleHandle()), MAKEINTRESOURCEA(id), IMAGE_ICON,
            GetSystemMetrics(SM_CXSMICON), GetSystemMetrics(SM_CYSMICON), LR_DEFAULTCOLOR));
    }
    ~ModeIcon() { DestroyIcon(handle); }
    ModeIcon(const ModeIcon&) = delete;
    ModeIcon& operator=(const ModeIcon&) = delete;

    HICON Handle() const { return handle; }

  private:
    HICON handle;
};

/// As much of the text as fits, terminated.
template <size_t size>
void CopyText(char (&target)[size], const std::string& text)
{
    target[text.copy(target, size - 1)] = '\0';
}

class NotificationArea final : public TrayShell
{
  public:
    void Add(void* window, TrayMode mode) override
    {
        const ModeIcon icon(mode);
        NOTIFYICONDATAA record = RecordFor(window);
        record.uFlags = NIF_MESSAGE | NIF_ICON;
        record.uCallbackMessage = kCallbackMessage;
        record.hIcon = icon.Handle();
        Shell_NotifyIconA(NIM_ADD, &record);
    }

    void Update(void* window, TrayMode mode, const TrayTexts& texts, bool balloon) override
    {
        const ModeIcon icon(mode);
        NOTIFYICONDATAA record = RecordFor(window);
        record.uFlags = NIF_ICON | NIF_TIP | (balloon ? NIF_INFO : 0U);
        record.hIcon = icon.Handle();
        record.dwInfoFlags = NIIF_INFO;
        record.uTimeout = kBalloonMilliseconds;
        CopyText(record.szInfoTitle, texts.title);
        CopyText(record.szInfo, texts.info);
        CopyText(record.szTip, texts.tip);
        Shell_NotifyIconA(NIM_MODIFY, &record);
    }

    void Remove(void* window) override
    {
        NOTIFYICONDATAA record = RecordFor(window);
        Shell_NotifyIconA(NIM_DELETE, &record);
    }
};

constinit NotificationArea notificationArea;

} // namespace

TrayShell& SystemTrayShell()
{
    return notificationArea;
}

} // namespace surroundings
