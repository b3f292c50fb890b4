// What the dialogs' decisions see of a window: controls by id, with states, numbers and items. The windows of
// the system are behind one implementation, the maps of the tests behind another.
#pragma once

#include <cstdint>
#include <string>

namespace surroundings {

/// The notification of a drop-down list whose selection the user has changed.
inline constexpr int kSelectionChanged = 1;

/// Item data where nothing is selected.
inline constexpr uint32_t kNoItem = 0xFFFFFFFF;

/// How a command leaves the dialog.
enum class DialogEnd { Stay, Ok, Cancel };

enum class ToolArea {
    Control,  ///< over the control itself
    Rectangle ///< over the place where it lies, so that a disabled control has its tip too
};

class ControlPort
{
  public:
    virtual ~ControlPort() = default;

    virtual bool GetCheck(int id) const = 0;
    virtual void SetCheck(int id, bool checked) = 0;

    /// The number that stands in an edit; 0 when it is none.
    virtual uint32_t GetNumber(int id) const = 0;
    virtual void SetNumber(int id, uint32_t number) = 0;

    virtual void SetText(int id, const std::string& text) = 0;
    virtual void SetTitle(const std::string& title) = 0;
    virtual void Enable(int id, bool enabled) = 0;
    virtual void Hide(int id) = 0;

    // Drop-down lists. Items count from 0.
    virtual void ClearItems(int id) = 0;
    virtual void AddItem(int id, const std::string& text, uint32_t data) = 0;
    virtual int ItemCount(int id) const = 0;
    virtual uint32_t ItemData(int id, int index) const = 0;
    virtual void Select(int id, int index) = 0;
    /// Index of the selected item, -1 for none.
    virtual int Selection(int id) const = 0;
    /// Width of the opened list, in pixels of a screen of 96 dots per inch.
    virtual void SetDroppedWidth(int id, int width) = 0;

    /// Puts arrows on an edit that take its number from `low` to `high`.
    virtual void AddUpDown(int id, int low, int high) = 0;
    virtual void AddTool(int id, const char* text, ToolArea area = ToolArea::Control) = 0;
    /// Makes a control twice as wide; its right edge stays.
    virtual void WidenToLeft(int id) = 0;
};

/// Data of the selected item, kNoItem for none.
inline uint32_t SelectedData(const ControlPort& controls, int id)
{
    const int index = controls.Selection(id);
    return index < 0 ? kNoItem : controls.ItemData(id, index);
}

/// Selects the first item with this data; without one the selection stays.
inline void SelectData(ControlPort& controls, int id, uint32_t data)
{
    for (int i = 0; i < controls.ItemCount(id); ++i)
        if (controls.ItemData(id, i) == data)
            return controls.Select(id, i);
}

} // namespace surroundings
