#pragma once

#include "surroundings/control_port.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <string>
#include <vector>

/// The controls of a dialog as maps. Touching a control that the dialog does not have is a failure.
class FakeControls final : public surroundings::ControlPort
{
  public:
    struct Item {
        std::string text;
        uint32_t data;
        bool operator==(const Item&) const = default;
    };
    struct Tool {
        std::string text;
        surroundings::ToolArea area;
    };
    struct Control {
        bool checked = false;
        bool enabled = true;
        bool visible = true;
        bool widened = false;
        uint32_t number = 0;
        std::string text;
        std::vector<Item> items;
        int selection = -1;
        int droppedWidth = 0;
        std::pair<int, int> upDown;
        std::vector<Tool> tools;
    };

    FakeControls(std::initializer_list<int> ids)
    {
        for (const int id : ids)
            controls[id];
    }

    Control& operator[](int id) { return Get(id); }

    std::string title;

    bool GetCheck(int id) const override { return Get(id).checked; }
    void SetCheck(int id, bool checked) override { Get(id).checked = checked; }
    uint32_t GetNumber(int id) const override { return Get(id).number; }
    void SetNumber(int id, uint32_t number) override { Get(id).number = number; }
    void SetText(int id, const std::string& text) override { Get(id).text = text; }
    void SetTitle(const std::string& text) override { title = text; }
    void Enable(int id, bool enabled) override { Get(id).enabled = enabled; }
    void Hide(int id) override { Get(id).visible = false; }
    void ClearItems(int id) override
    {
        Get(id).items.clear();
        Get(id).selection = -1;
    }
    void AddItem(int id, const std::string& text, uint32_t data) override
    {
        Get(id).items.push_back({text, data});
    }
    int ItemCount(int id) const override { return static_cast<int>(Get(id).items.size()); }
    uint32_t ItemData(int id, int index) const override
    {
        return Get(id).items.at(static_cast<size_t>(index)).data;
    }
    void Select(int id, int index) override
    {
        EXPECT_LT(index, ItemCount(id)) << "control " << id;
        Get(id).selection = index;
    }
    int Selection(int id) const override { return Get(id).selection; }
    void SetDroppedWidth(int id, int width) override { Get(id).droppedWidth = width; }
    void AddUpDown(int id, int low, int high) override { Get(id).upDown = {low, high}; }
    void AddTool(int id, const char* text, surroundings::ToolArea area) override
    {
        Get(id).tools.push_back({text, area});
    }
    void WidenToLeft(int id) override { Get(id).widened = true; }

  private:
    const Control& Get(int id) const
    {
        const auto found = controls.find(id);
        EXPECT_NE(found, controls.end()) << "the dialog has no control " << id;
        static const Control none;
        return found == controls.end() ? none : found->second;
    }
    Control& Get(int id) { return const_cast<Control&>(std::as_const(*this).Get(id)); }

    std::map<int, Control> controls;
};
