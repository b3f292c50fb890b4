#pragma once

#include "platform/host_path.h"
#include "surroundings/compression_settings_model.h"
#include "surroundings/windows/dialog_base.h"

namespace surroundings {

class CompressionSettingsDialog final : public DialogBase
{
  public:
    CompressionSettingsDialog(std::vector<settings::CodecVariant> rows, CompressionScope scope)
        : model(std::move(rows), scope, platform::LongHostPath())
    {}

    const std::vector<settings::CodecVariant>& Rows() const { return model.Rows; }

    INT_PTR HandleMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override
    {
        if (message == WM_WINDOWPOSCHANGED && !ShownOnce &&
            reinterpret_cast<const WINDOWPOS*>(lParam)->flags & SWP_SHOWWINDOW) {
            ShownOnce = true;
            PostMessageA(window, WM_APP, 0, 0); // a hook for what watches the window: nothing here answers it
        }
        return DialogBase::HandleMessage(window, message, wParam, lParam);
    }

  private:
    void Init(ControlPort& controls) override { model.Init(controls); }
    DialogEnd Command(ControlPort& controls, int id, int notification) override
    {
        return model.Command(controls, id, notification);
    }

    CompressionSettingsModel model;
    bool ShownOnce = false;
};

} // namespace surroundings
