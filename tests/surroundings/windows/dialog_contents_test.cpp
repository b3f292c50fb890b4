// Every control of every dialog, as the built library shows them: id, class, text, in tab order.
#include "support/input_labels.h"
#include "surroundings/windows/dialog_driver.h"
#include "surroundings/windows/test_registry.h"

#include <gtest/gtest.h>

namespace {

/// Kinds of controls, as windows and their styles tell them.
enum class Kind { Label, Group, Button, Check, Edit, List, Arrows };

Kind KindOf(HWND control, const std::string& className)
{
    if (className == "Static")
        return Kind::Label;
    if (className == "Edit")
        return Kind::Edit;
    if (className == "ComboBox")
        return Kind::List;
    if (className == UPDOWN_CLASSA)
        return Kind::Arrows;
    switch (GetWindowLongA(control, GWL_STYLE) & BS_TYPEMASK) {
    case BS_GROUPBOX:
        return Kind::Group;
    case BS_AUTOCHECKBOX:
        return Kind::Check;
    default:
        return Kind::Button;
    }
}

struct Row {
    int id;
    Kind kind;
    std::string text;
    bool operator==(const Row&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Row& row)
{
    return stream << row.id << ' ' << static_cast<int>(row.kind) << " \"" << row.text << '"';
}

struct Collected {
    std::vector<Row> rows;
    std::vector<HWND> windows;
};

BOOL CALLBACK Collect(HWND window, LPARAM parameter)
{
    auto& collected = *reinterpret_cast<Collected*>(parameter);
    char name[64] = {};
    GetClassNameA(window, name, sizeof name);
    const Kind kind = KindOf(window, name);
    // Numbers and selections are other tests' concern.
    const bool hasOwnText = kind != Kind::Edit && kind != Kind::List && kind != Kind::Arrows;
    collected.rows.push_back({GetDlgCtrlID(window), kind, hasOwnText ? DialogWindow::TextOf(window) : ""});
    collected.windows.push_back(window);
    return TRUE;
}

Collected ControlsOf(const DialogWindow& dialog)
{
    Collected collected;
    EnumChildWindows(dialog.Handle(), Collect, reinterpret_cast<LPARAM>(&collected));
    return collected;
}

/// No text is wider than its control, no control lies outside the dialog, none over another.
void ExpectNeatLayout(const DialogWindow& dialog)
{
    RECT client;
    GetClientRect(dialog.Handle(), &client);
    const Collected controls = ControlsOf(dialog);
    std::vector<RECT> places;
    const HDC screen = GetDC(dialog.Handle());
    const auto font = reinterpret_cast<HFONT>(SendMessageA(dialog.Handle(), WM_GETFONT, 0, 0));
    const HGDIOBJ oldFont = SelectObject(screen, font);
    for (size_t i = 0; i < controls.rows.size(); ++i) {
        const Row& row = controls.rows[i];
        RECT place;
        GetWindowRect(controls.windows[i], &place);
        MapWindowPoints(nullptr, dialog.Handle(), reinterpret_cast<POINT*>(&place), 2);
        EXPECT_GE(place.left, 0) << row;
        EXPECT_GE(place.top, 0) << row;
        EXPECT_LE(place.right, client.right) << row;
        EXPECT_LE(place.bottom, client.bottom) << row;

        RECT needed = {0, 0, place.right - place.left, 0};
        DrawTextA(screen, row.text.c_str(), -1, &needed,
                  DT_CALCRECT | (row.kind == Kind::Label ? DT_WORDBREAK : 0U));
        const int ornament = row.kind == Kind::Check ? 18 : row.kind == Kind::Button ? 8 : 0;
        if (!row.text.empty()) {
            EXPECT_LE(needed.right + ornament, place.right - place.left) << row;
        }
        if (row.kind == Kind::Label) {
            EXPECT_LE(needed.bottom, place.bottom - place.top) << row;
        }
        const bool counts = row.kind != Kind::Group && row.kind != Kind::Arrows &&
                            GetWindowLongA(controls.windows[i], GWL_STYLE) & WS_VISIBLE;
        for (size_t j = 0; counts && j < places.size(); ++j) {
            RECT shared;
            EXPECT_FALSE(IntersectRect(&shared, &place, &places[j])) << row;
        }
        if (counts)
            places.push_back(place);
    }
    SelectObject(screen, oldFont);
    ReleaseDC(dialog.Handle(), screen);
}

/// Lists of the dialog are as wide opened as they should be, and wide enough for their items.
void ExpectListWidth(const DialogWindow& dialog, int id, int width)
{
    const auto actual = static_cast<int>(SendMessageA(dialog.Item(id), CB_GETDROPPEDWIDTH, 0, 0));
    const RECT place = dialog.Place(id);
    EXPECT_EQ(actual, std::max(width, static_cast<int>(place.right - place.left))) << id;
}

/// Tooltips tell 79 characters of their texts.
bool IsBeginning(const std::string& told, const std::string& text)
{
    return told.size() >= 79 && text.substr(0, 79) == told.substr(0, 79);
}

TEST(DialogContents, GlobalSettings)
{
    const TestRegistry registry;
    DialogRun run([] { Library().Configure(nullptr, nullptr, nullptr, SW_SHOW); });
    const DialogWindow dialog = run.WaitFor("Orvane settings");
    const std::vector<Row> expected = {
        {40005, Kind::Label, "Version: 2.4.1 (Standard)"},
        {0, Kind::Group, "Global setup"},
        {40013, Kind::Button, "Compression settings..."},
        {40012, Kind::Button, "Decompression settings..."},
        {0, Kind::Group, "Miscellaneous settings (global)"},
        {0, Kind::Label, "Show tray icon / notification (balloon tooltip) during:"},
        {0, Kind::Label, "Compression:"},
        {40014, Kind::Check, "Tray icon"},
        {40015, Kind::Check, "Notification"},
        {0, Kind::Label, "Decompression:"},
        {40016, Kind::Check, "Tray icon"},
        {40017, Kind::Check, "Notification"},
        {40003, Kind::Check, "Enable logging (logfiles)"},
        {40018, Kind::Button, "Open log directory..."},
        {40000, Kind::Check, "Ignore codec settings from client application"},
        {1, Kind::Button, "OK"},
        {2, Kind::Button, "Cancel"},
    };
    EXPECT_EQ(ControlsOf(dialog).rows, expected);
    ExpectNeatLayout(dialog);
    ASSERT_EQ(dialog.Tips().size(), 2U);
    EXPECT_EQ(dialog.Tips()[0].id, 40003);
    EXPECT_TRUE(IsBeginning(dialog.Tips()[0].text,
                            "Create logfiles for every compression/decompression session.\n\n"
                            "The logs contain detailed information about"));
    EXPECT_EQ(dialog.Tips()[1].id, 40000);
    EXPECT_TRUE(IsBeginning(dialog.Tips()[1].text,
                            "Ignore codec configuration set from inside applications and use only "
                            "global codec settings instead."));
}

TEST(DialogContents, PluginSettings)
{
    const TestRegistry registry;
    DialogRun run([] { Library().ConfigureAdobe(nullptr, nullptr, nullptr, SW_SHOW); });
    const DialogWindow dialog = run.WaitFor("Orvane Adobe plugin settings");
    const std::vector<Row> expected = {
        {0, Kind::Group, "Miscellaneous plugin settings (global)"},
        {40003, Kind::Check, "Enable logging (logfiles)"},
        {40018, Kind::Button, "Open log directory..."},
        {1, Kind::Button, "OK"},
        {2, Kind::Button, "Cancel"},
    };
    EXPECT_EQ(ControlsOf(dialog).rows, expected);
    ExpectNeatLayout(dialog);
    ASSERT_EQ(dialog.Tips().size(), 1U);
    EXPECT_EQ(dialog.Tips()[0].id, 40003);
}

TEST(DialogContents, DecompressionSettings)
{
    const TestRegistry registry;
    DialogRun run([] { Library().Configure(nullptr, nullptr, nullptr, SW_SHOW); });
    run.WaitFor("Orvane settings").PostClick(40012);
    const DialogWindow dialog = run.WaitFor("Decompression settings");
    const std::vector<Row> expected = {
        {0, Kind::Group, "Decompression settings"},
        {0, Kind::Label, "Number of threads:"},
        {40000, Kind::Edit, ""},
        {40001, Kind::Check, "Auto-detect"},
        {0, Kind::Group, "Conversion settings"},
        {0, Kind::Label, "Allow the following conversions when decoding video:"},
        {0, Kind::Label, "Output"},
        {0, Kind::Label, "Input"},
        {0, Kind::Label, "YUV\n4:2:0"},
        {0, Kind::Label, "YUV\n4:2:2"},
        {0, Kind::Label, "YUV\n4:4:4"},
        {0, Kind::Label, "RGB"},
        {0, Kind::Label, "YUV 4:0:0"},
        {40100, Kind::Check, ""},
        {40101, Kind::Check, ""},
        {40102, Kind::Check, ""},
        {40103, Kind::Check, ""},
        {0, Kind::Label, "YUV 4:2:0"},
        {40104, Kind::Check, ""},
        {40107, Kind::Check, ""},
        {40108, Kind::Check, ""},
        {0, Kind::Label, "YUV 4:2:2"},
        {40105, Kind::Check, ""},
        {40106, Kind::Check, ""},
        {0, Kind::Label, "YUV 4:4:4"},
        {40109, Kind::Check, ""},
        {40111, Kind::Check, "Suggest RGB for output first"},
        {40110, Kind::Button, "Set defaults (Avisynth compatible)"},
        {0, Kind::Label,
         "NOTE: Do not change these settings blindly! If you don't understand thoroughly what they are for, "
         "leave them "
         "at the defaults!"},
        {1, Kind::Button, "OK"},
        {2, Kind::Button, "Cancel"},
        {0, Kind::Arrows, ""},
    };
    EXPECT_EQ(ControlsOf(dialog).rows, expected);
    ExpectNeatLayout(dialog);

    // Boxes stand under the head of the format that they allow.
    const RECT to420 = dialog.Place(40100), to422 = dialog.Place(40101), to444 = dialog.Place(40102),
               toRgb = dialog.Place(40103);
    EXPECT_LT(to420.left, to422.left);
    EXPECT_EQ(dialog.Place(40104).left, to422.left);
    for (const int id : {40107, 40105})
        EXPECT_EQ(dialog.Place(id).left, to444.left) << id;
    for (const int id : {40108, 40106, 40109})
        EXPECT_EQ(dialog.Place(id).left, toRgb.left) << id;

    std::vector<int> tips;
    for (const DialogWindow::Tip& tip : dialog.Tips())
        tips.push_back(tip.id);
    EXPECT_EQ(tips, (std::vector<int>{40110, 40111}));
}

std::vector<Row> CompressionRows(const std::string& ok)
{
    return {
        {0, Kind::Label, "Settings for:"},
        {40007, Kind::List, ""},
        {40005, Kind::Label, "Version: 2.4.1 (Standard)"},
        {0, Kind::Group, "Input and format settings"},
        {0, Kind::Label, "Accepted formats:"},
        {40006, Kind::List, ""},
        {40021, Kind::Label, "Color space:"},
        {40008, Kind::List, ""},
        {40009, Kind::Check, "Assume interlaced"},
        {40010, Kind::Check, "Full range YUV"},
        {40019, Kind::Check, "Interpolate when downsampling (recommended)"},
        {0, Kind::Group, "Compression settings"},
        {0, Kind::Label, "Number of threads:"},
        {40000, Kind::Edit, ""},
        {40001, Kind::Check, "Auto-detect"},
        {0, Kind::Label, "Compression method:"},
        {40002, Kind::List, ""},
        {40011, Kind::Button, "Save as default"},
        {1, Kind::Button, ok},
        {2, Kind::Button, "Cancel"},
        {0, Kind::Arrows, ""},
    };
}

void ExpectListWidths(const DialogWindow& dialog)
{
    ExpectListWidth(dialog, 40007, 220);
    ExpectListWidth(dialog, 40006, 300);
    ExpectListWidth(dialog, 40008, 200);
    ExpectListWidth(dialog, 40002, 220);
}

TEST(DialogContents, CompressionSettingsInGlobalMode)
{
    const TestRegistry registry;
    DialogRun run([] { Library().Configure(nullptr, nullptr, nullptr, SW_SHOW); });
    run.WaitFor("Orvane settings").PostClick(40013);
    const DialogWindow dialog = run.WaitFor("Compression settings");
    EXPECT_EQ(ControlsOf(dialog).rows, CompressionRows("OK"));
    EXPECT_FALSE(dialog.IsShown(40011));
    EXPECT_TRUE(dialog.IsEnabled(40007));
    EXPECT_EQ(dialog.Items(40007).size(), 7U);
    ExpectListWidths(dialog);
    ExpectNeatLayout(dialog);
    EXPECT_EQ(dialog.Tips().size(), 9U);
}

TEST(DialogContents, CompressionSettingsInClientMode)
{
    const TestRegistry registry;
    const DriverHandle driver("O8Y2");
    DialogRun run([&] { driver.Send(ICM_CONFIGURE, 0, 0); });
    const DialogWindow dialog = run.WaitFor("Orvane - YUV 4:2:2 (64 bit) compression settings");
    EXPECT_EQ(ControlsOf(dialog).rows, CompressionRows("OK"));
    EXPECT_TRUE(dialog.IsShown(40011));
    EXPECT_FALSE(dialog.IsEnabled(40007));
    ASSERT_EQ(dialog.Items(40007).size(), 1U);
    EXPECT_EQ(dialog.Items(40007)[0].first, "Orvane - YUV 4:2:2");
    ExpectListWidths(dialog);
    ExpectNeatLayout(dialog);

    using Items = std::vector<std::pair<std::string, uint32_t>>;
    EXPECT_EQ(dialog.Items(40006),
              (Items{{"All supported", 0xFFFFFFFF}, {kRgbLabel, 1}, {kYuv444Label, 4}, {kYuv422Label, 8}}));
    EXPECT_EQ(dialog.Items(40008),
              (Items{{"Rec.601 (SD video standard, older)", 1}, {"Rec.709 (HD video standard, newer)", 2}}));
    EXPECT_EQ(dialog.Items(40002), (Items{{"Gradient (faster decode)", 2},
                                          {"Median (fast encode - good compression)", 3},
                                          {"Dynamic (max. compression)", 4}}));
    EXPECT_EQ(dialog.Selection(40006), 0);
    EXPECT_EQ(dialog.Selection(40008), 1);
    EXPECT_EQ(dialog.Selection(40002), 2);

    std::vector<std::pair<int, bool>> tips;
    for (const DialogWindow::Tip& tip : dialog.Tips())
        tips.emplace_back(tip.id, tip.isRectangle);
    EXPECT_EQ(tips, (std::vector<std::pair<int, bool>>{{40007, false},
                                                       {40000, false},
                                                       {40002, false},
                                                       {40006, false},
                                                       {40009, false},
                                                       {40010, false},
                                                       {40019, false},
                                                       {40008, false},
                                                       {40000, true},
                                                       {40011, false}}));
}

TEST(DialogContents, ThreadArrowsRunFromOneTo64)
{
    const TestRegistry registry;
    const DriverHandle driver("O8RG");
    DialogRun run([&] { driver.Send(ICM_CONFIGURE, 0, 0); });
    const DialogWindow dialog = run.WaitFor("Orvane - RGB (64 bit) compression settings");
    const HWND arrows = FindWindowExA(dialog.Handle(), nullptr, UPDOWN_CLASSA, nullptr);
    ASSERT_NE(arrows, nullptr);
    int low = 0, high = 0;
    SendMessageA(arrows, UDM_GETRANGE32, reinterpret_cast<WPARAM>(&low), reinterpret_cast<LPARAM>(&high));
    EXPECT_EQ(low, 1);
    EXPECT_EQ(high, 64);
    EXPECT_EQ(reinterpret_cast<HWND>(SendMessageA(arrows, UDM_GETBUDDY, 0, 0)), dialog.Item(40000));
    const DWORD style = static_cast<DWORD>(GetWindowLongA(arrows, GWL_STYLE));
    EXPECT_EQ(style & 0xFFFF, UDS_SETBUDDYINT | UDS_ALIGNRIGHT | UDS_ARROWKEYS | UDS_HOTTRACK);
    EXPECT_EQ(IsWindowEnabled(arrows), FALSE) << "locked with its edit";
    dialog.Click(40001);
    EXPECT_NE(IsWindowEnabled(arrows), FALSE);
}

} // namespace
