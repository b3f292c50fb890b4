#pragma once

#include "surroundings/config_model.h"
#include "surroundings/windows/dialog_base.h"

#include <shellapi.h>

namespace surroundings {

/// The dialogs and the shell, for the buttons of a dialog.
class WindowActions final : public DialogActions
{
  public:
    explicit WindowActions(HWND parent_) : parent(parent_) {}

    void EditDecompression(DecodeSettings& decode) override;
    void EditCompression(std::vector<settings::CodecVariant>& rows) override;
    void OpenFolder(const std::filesystem::path& folder) override
    {
        ShellExecuteW(parent, L"open", folder.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    }

  private:
    HWND parent;
};

class ConfigDialog final : public DialogBase
{
  public:
    explicit ConfigDialog(ConfigModel model_) : model(std::move(model_)) {}

    const ConfigModel& Model() const { return model; }

  private:
    void Init(ControlPort& controls) override { model.Init(controls); }
    DialogEnd Command(ControlPort& controls, int id, int) override
    {
        WindowActions actions(Window);
        return model.Command(controls, id, actions);
    }

    ConfigModel model;
};

} // namespace surroundings
