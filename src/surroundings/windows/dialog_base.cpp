#include "surroundings/windows/dialog_base.h"

#include "platform/module_handle.h"

namespace surroundings {

namespace {

/// While it lives, windows that this thread makes get the common controls that the library's manifest names,
/// not those of the host's.
class ManifestContext
{
  public:
    explicit ManifestContext(HMODULE module)
    {
        ACTCTXA source = {};
        source.cbSize = sizeof source;
        source.dwFlags = ACTCTX_FLAG_HMODULE_VALID | ACTCTX_FLAG_RESOURCE_NAME_VALID;
        source.hModule = module;
        source.lpResourceName = MAKEINTRESOURCEA(2); // ISOLATIONAWARE_MANIFEST_RESOURCE_ID
        context = CreateActCtxA(&source);
        active = context != INVALID_HANDLE_VALUE && ActivateActCtx(context, &cookie);
    }
    ~ManifestContext()
    {
        if (active)
            DeactivateActCtx(0, cookie);
        if (context != INVALID_HANDLE_VALUE)
            ReleaseActCtx(context);
    }
    ManifestContext(const ManifestContext&) = delete;
    ManifestContext& operator=(const ManifestContext&) = delete;

  private:
    HANDLE context;
    ULONG_PTR cookie = 0;
    bool active;
};

} // namespace

bool DialogBase::Run(int id, HWND parent)
{
    const auto module = static_cast<HINSTANCE>(platform::StoredModuleHandle());
    const ManifestContext context(module);
    return DialogBoxParamA(module, MAKEINTRESOURCEA(id), parent, DialogThunk,
                           reinterpret_cast<LPARAM>(this)) == IDOK;
}

INT_PTR DialogBase::HandleMessage(HWND window, UINT message, WPARAM wParam, LPARAM)
{
    switch (message) {
    case WM_INITDIALOG:
        Window = window;
        windowControls.emplace(window);
        Init(*windowControls);
        return TRUE; // the system sets the focus
    case WM_COMMAND:
        switch (Command(*windowControls, LOWORD(wParam), HIWORD(wParam))) {
        case DialogEnd::Ok:
            EndDialog(window, IDOK);
            break;
        case DialogEnd::Cancel:
            EndDialog(window, IDCANCEL);
            break;
        case DialogEnd::Stay:
            break;
        }
        return TRUE;
    case WM_HELP:
        windowControls->PopUpTip();
        return FALSE;
    default:
        return FALSE;
    }
}

INT_PTR CALLBACK DialogThunk(HWND window, UINT message, WPARAM wParam, LPARAM lParam) noexcept
try {
    if (message == WM_INITDIALOG)
        SetWindowLongPtrA(window, DWLP_USER, lParam);
    auto* const dialog = reinterpret_cast<DialogBase*>(GetWindowLongPtrA(window, DWLP_USER));
    return dialog ? dialog->HandleMessage(window, message, wParam, lParam) : 0;
} catch (...) {
    SetWindowLongPtrA(window, DWLP_USER, 0);
    EndDialog(window, IDCANCEL); // out of memory: what the user has seen is not confirmed
    return 0;
}

} // namespace surroundings
