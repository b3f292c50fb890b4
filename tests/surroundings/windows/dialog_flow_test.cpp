// The dialogs of the built library at work: what they do to the registry, and to the instance of a host.
#include "common/settings_records.h"
#include "support/test_store.h"
#include "surroundings/windows/dialog_driver.h"
#include "surroundings/windows/test_registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace {

constexpr char kGlobal[] = "Software\\Orvane";
constexpr char kRgb[] = "Software\\Orvane\\O8RG";
constexpr char kY2[] = "Software\\Orvane\\O8Y2";

uint32_t Processors()
{
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors;
}

EncodeSettings StateOf(const DriverHandle& driver)
{
    EncodeSettings state;
    EXPECT_EQ(driver.Send(ICM_GETSTATE, reinterpret_cast<LPARAM>(&state), sizeof state), ICERR_OK);
    return state;
}

void Configure()
{
    Library().Configure(nullptr, nullptr, nullptr, SW_SHOW);
}

TEST(DialogFlow, OkStoresAllGlobalAndVariantSettings)
{
    const TestRegistry registry;
    DialogRun run(Configure);
    const DialogWindow dialog = run.WaitFor("Orvane settings");
    EXPECT_TRUE(dialog.IsChecked(40014));
    EXPECT_TRUE(dialog.IsEnabled(40015));
    dialog.Click(40015);
    dialog.Click(40016); // takes the icon away, and with it the balloon
    EXPECT_FALSE(dialog.IsEnabled(40017));
    dialog.Click(40003);
    dialog.Click(40000);
    dialog.PostClick(1);
    run.Finish();
    EXPECT_EQ(TestRegistry::Read(kGlobal, "Version"), 101U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "NumDecodeThreads"), Processors());
    EXPECT_EQ(TestRegistry::Read(kGlobal, "AutoDecodeThreads"), 1U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "DecompSettings_YUV400"), 25U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "NotificationSettings"), 3U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "EnableCodecLog"), 1U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "IgnoreClientConfig"), 1U);
    for (const char* fourCC : {"O8RG", "O8RA", "O8YA", "O8Y4", "O8Y2", "O8Y0", "O8G0"}) {
        const std::string key = std::string("Software\\Orvane\\") + fourCC;
        EXPECT_EQ(TestRegistry::Read(key.c_str(), "Version"), 202U) << fourCC;
        EXPECT_EQ(TestRegistry::Read(key.c_str(), "CompMethod"), 4U) << fourCC;
        EXPECT_EQ(TestRegistry::Read(key.c_str(), "NumEncodeThreads"), Processors()) << fourCC;
    }
    EXPECT_EQ(TestRegistry::Read("Software\\Orvane\\ORVN", "Version"), std::nullopt);
}

TEST(DialogFlow, CancelStoresNothingNotEvenConfirmedChildren)
{
    const TestRegistry registry;
    DialogRun run(Configure);
    const DialogWindow dialog = run.WaitFor("Orvane settings");
    dialog.Click(40003);
    dialog.PostClick(40012);
    const DialogWindow child = run.WaitFor("Decompression settings");
    EXPECT_FALSE(IsWindowEnabled(dialog.Handle())) << "the parent waits";
    child.Click(40105);
    child.PostClick(1);
    while (IsWindow(child.Handle()))
        Sleep(5);
    dialog.PostClick(2);
    run.Finish();
    for (const char* name : {"Version", "EnableCodecLog", "DecompSettings_YUV422"})
        EXPECT_EQ(TestRegistry::Read(kGlobal, name), std::nullopt) << name;
}

TEST(DialogFlow, DecompressionSettingsReachTheRegistryThroughBothOks)
{
    const TestRegistry registry;
    TestRegistry::Write(kGlobal, "DecompSettings_YUV400", 0xFFFFFFFF);
    TestRegistry::Write(kGlobal, "AutoDecodeThreads", 0);
    TestRegistry::Write(kGlobal, "NumDecodeThreads", 9);
    DialogRun run(Configure);
    const DialogWindow dialog = run.WaitFor("Orvane settings");
    dialog.PostClick(40012);
    const DialogWindow child = run.WaitFor("Decompression settings");
    EXPECT_EQ(child.Text(40000), "9");
    EXPECT_TRUE(child.IsEnabled(40000));
    EXPECT_TRUE(child.IsChecked(40102));
    child.Type(40000, "33");
    child.Click(40111);
    child.PostClick(1);
    while (IsWindow(child.Handle()))
        Sleep(5);
    dialog.PostClick(1);
    run.Finish();
    EXPECT_EQ(TestRegistry::Read(kGlobal, "DecompSettings_YUV400"), 29U) << "bits without a box are lost";
    EXPECT_EQ(TestRegistry::Read(kGlobal, "NumDecodeThreads"), 33U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "AutoDecodeThreads"), 0U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "SuggestRGB"), 1U);
}

TEST(DialogFlow, SetDefaultsGivesTheDefaultMasks)
{
    const TestRegistry registry;
    for (const char* name : {"DecompSettings_YUV400", "DecompSettings_YUV420", "DecompSettings_YUV422",
                             "DecompSettings_YUV444", "SuggestRGB"})
        TestRegistry::Write(kGlobal, name, 4);
    DialogRun run(Configure);
    const DialogWindow dialog = run.WaitFor("Orvane settings");
    dialog.PostClick(40012);
    const DialogWindow child = run.WaitFor("Decompression settings");
    child.Click(40110);
    child.PostClick(1);
    while (IsWindow(child.Handle()))
        Sleep(5);
    dialog.PostClick(1);
    run.Finish();
    EXPECT_EQ(TestRegistry::Read(kGlobal, "DecompSettings_YUV400"), 25U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "DecompSettings_YUV420"), 9U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "DecompSettings_YUV422"), 1U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "DecompSettings_YUV444"), 1U);
    EXPECT_EQ(TestRegistry::Read(kGlobal, "SuggestRGB"), 0U);
}

TEST(DialogFlow, ChangesOfVariantKeepTheEditsOfEach)
{
    const TestRegistry registry;
    DialogRun run(Configure);
    const DialogWindow dialog = run.WaitFor("Orvane settings");
    dialog.PostClick(40013);
    const DialogWindow child = run.WaitFor("Compression settings");
    EXPECT_FALSE(child.IsEnabled(40008));
    EXPECT_FALSE(child.IsEnabled(40019));
    child.Choose(40002, 0);
    child.Choose(40007, 4); // 4:2:2
    EXPECT_TRUE(child.IsEnabled(40008));
    EXPECT_TRUE(child.IsEnabled(40021));
    EXPECT_TRUE(child.IsEnabled(40010));
    EXPECT_TRUE(child.IsEnabled(40019));
    EXPECT_TRUE(child.IsChecked(40019));
    EXPECT_EQ(child.Items(40006).size(), 4U);
    child.Choose(40008, 0);
    child.Choose(40006, 3);
    child.Choose(40007, 3); // 4:4:4
    EXPECT_FALSE(child.IsEnabled(40019));
    EXPECT_FALSE(child.IsChecked(40019));
    child.PostClick(1);
    while (IsWindow(child.Handle()))
        Sleep(5);
    dialog.PostClick(1);
    run.Finish();
    EXPECT_EQ(TestRegistry::Read(kRgb, "CompMethod"), 2U);
    EXPECT_EQ(TestRegistry::Read(kY2, "CompMethod"), 4U);
    EXPECT_EQ(TestRegistry::Read(kY2, "ColorMatrix"), 1U);
    EXPECT_EQ(TestRegistry::Read(kY2, "InputColorSpace"), 8U);
    EXPECT_EQ(TestRegistry::Read("Software\\Orvane\\O8Y4", "InterpolateDownscale"), 1U);
}

TEST(DialogFlow, PluginFlagIsStoredOnOkAndNotOnCancel)
{
    const TestRegistry registry;
    for (const bool confirm : {false, true}) {
        DialogRun run([] { Library().ConfigureAdobe(nullptr, nullptr, nullptr, SW_SHOW); });
        const DialogWindow dialog = run.WaitFor("Orvane Adobe plugin settings");
        EXPECT_FALSE(dialog.IsChecked(40003));
        dialog.Click(40003);
        dialog.PostClick(confirm ? 1 : 2);
        run.Finish();
        EXPECT_EQ(TestRegistry::Read(kGlobal, "EnableAdobeLog"),
                  confirm ? std::optional<uint32_t>(1) : std::nullopt);
    }
    DialogRun run([] { Library().ConfigureAdobe(nullptr, nullptr, nullptr, SW_SHOW); });
    EXPECT_TRUE(run.WaitFor("Orvane Adobe plugin settings").IsChecked(40003));
}

/// A host opens the dialog of its instance.
struct ClientRun {
    const DriverHandle& driver;
    LRESULT result = 99;
    DialogRun run{[this] { result = driver.Send(ICM_CONFIGURE, 0, 0); }};
};

TEST(DialogFlow, ClientDialogChangesTheInstanceAndNotTheRegistry)
{
    const TestRegistry registry;
    const DriverHandle driver("O8Y2");
    ClientRun client{driver};
    const DialogWindow dialog = client.run.WaitFor("Orvane - YUV 4:2:2 (64 bit) compression settings");
    dialog.Choose(40002, 1);
    dialog.Click(40009);
    dialog.PostClick(1);
    client.run.Finish();
    EXPECT_EQ(client.result, ICERR_OK);
    EXPECT_EQ(StateOf(driver).CompMethod, 3U);
    EXPECT_EQ(StateOf(driver).Interlaced, 1U);
    EXPECT_EQ(TestRegistry::Read(kY2, "CompMethod"), std::nullopt);
}

TEST(DialogFlow, CancelledClientDialogChangesNothing)
{
    const TestRegistry registry;
    const DriverHandle driver("O8Y2");
    const EncodeSettings before = StateOf(driver);
    ClientRun client{driver};
    const DialogWindow dialog = client.run.WaitFor("Orvane - YUV 4:2:2 (64 bit) compression settings");
    dialog.Choose(40002, 1);
    dialog.PostClick(2);
    client.run.Finish();
    EXPECT_EQ(client.result, ICERR_OK);
    EXPECT_EQ(StateOf(driver), before);
}

TEST(DialogFlow, SaveAsDefaultStoresAtOnceAndStaysOpen)
{
    const TestRegistry registry;
    const DriverHandle driver("O8Y2");
    const EncodeSettings before = StateOf(driver);
    ClientRun client{driver};
    const DialogWindow dialog = client.run.WaitFor("Orvane - YUV 4:2:2 (64 bit) compression settings");
    dialog.Choose(40002, 0);
    dialog.Click(40011);
    EXPECT_EQ(TestRegistry::Read(kY2, "CompMethod"), 2U);
    EXPECT_TRUE(IsWindow(dialog.Handle()));
    dialog.PostClick(2);
    client.run.Finish();
    EXPECT_EQ(StateOf(driver), before);
}

TEST(DialogFlow, IgnoredSettingsWarnThenShowAndDropTheChanges)
{
    const TestRegistry registry;
    TestRegistry::Write(kGlobal, "IgnoreClientConfig", 1);
    const DriverHandle driver("O8Y2");
    const EncodeSettings before = StateOf(driver);
    ClientRun client{driver};
    const DialogWindow warning = client.run.WaitFor("Orvane app settings ignored");
    bool told = false;
    for (const SeenControl& control : warning.Controls())
        told |= control.text ==
                "Orvane: In-app settings will be ignored according to global codec configuration!";
    EXPECT_TRUE(told);
    PostMessageA(warning.Handle(), WM_COMMAND, IDOK, 0);
    const DialogWindow dialog = client.run.WaitFor("Orvane - YUV 4:2:2 (64 bit) compression settings");
    dialog.Choose(40002, 0);
    dialog.PostClick(1);
    client.run.Finish();
    EXPECT_EQ(client.result, ICERR_OK);
    EXPECT_EQ(StateOf(driver), before);
}

TEST(DialogFlow, TheGenericDecoderHasNothingToConfigure)
{
    const TestRegistry registry;
    const DriverHandle driver("ORVN");
    EXPECT_EQ(driver.Send(ICM_CONFIGURE, 0, 0), ICERR_UNSUPPORTED);
}

TEST(DialogFlow, AboutIsABoxWithTheVersion)
{
    const DriverHandle driver("O8RG");
    DialogRun run([&] { driver.Send(ICM_ABOUT, 0, 0); });
    const DialogWindow box = run.WaitFor("About Orvane");
    bool told = false;
    for (const SeenControl& control : box.Controls())
        told |= control.text == "Orvane lossless video codec 2.4.1 (Standard) (64 bit)";
    EXPECT_TRUE(told);
    PostMessageA(box.Handle(), WM_COMMAND, IDOK, 0);
    run.Finish();
}

TEST(DialogFlow, HelpShowsATipAndChangesNothing)
{
    const TestRegistry registry;
    DialogRun run(Configure);
    const DialogWindow dialog = run.WaitFor("Orvane settings");
    EXPECT_EQ(SendMessageA(dialog.Handle(), WM_HELP, 0, 0), 0);
    EXPECT_FALSE(dialog.IsChecked(40003));
    dialog.PostClick(2);
    run.Finish();
}

/// Starts a program; its handle is the caller's.
HANDLE Start(std::string command)
{
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                        &process))
        throw std::runtime_error("cannot start " + command);
    CloseHandle(process.hThread);
    return process.hProcess;
}

DWORD WaitForExit(HANDLE process)
{
    DWORD exitCode = 99;
    WaitForSingleObject(process, INFINITE);
    GetExitCodeProcess(process, &exitCode);
    CloseHandle(process);
    return exitCode;
}

TEST(DialogFlow, RundllOpensTheSettings)
{
    const TestStore store; // handed on to the other process
    const HANDLE process = Start("rundll32.exe " + LibraryPath() + ",Configure");
    HWND dialog = nullptr;
    while (!dialog && WaitForSingleObject(process, 10) == WAIT_TIMEOUT) {
        dialog = FindWindowA("#32770", "Orvane settings");
        dialog = dialog && IsWindowVisible(dialog) ? dialog : nullptr;
    }
    ASSERT_NE(dialog, nullptr) << "the program ended without a dialog";
    PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    WaitForExit(process);
    EXPECT_EQ(TestStore::Read(kGlobal, "Version"), 101U);
}

/// Work of a copy of this program whose path the variable names; the test below starts it.
TEST(AfterburnerHost, DISABLED_ShowsItsDialog)
{
    const bool expected = std::getenv("ORVANE_EXPECT_AFTERBURNER") != nullptr;
    const TestRegistry registry;
    const DriverHandle driver("O8Y2");
    ClientRun client{driver};
    const DialogWindow dialog = client.run.WaitFor("Orvane - YUV 4:2:2 (64 bit) compression settings");
    EXPECT_EQ(dialog.IsShown(40011), !expected);
    EXPECT_EQ(dialog.Text(1), expected ? "Save as default and Close" : "OK");
    const RECT ok = dialog.Place(1), cancel = dialog.Place(2);
    const int okWidth = ok.right - ok.left, cancelWidth = cancel.right - cancel.left;
    EXPECT_EQ(okWidth, expected ? 2 * cancelWidth : cancelWidth) << "both are as wide in the template";
    EXPECT_LT(ok.right, cancel.left);
    EXPECT_GE(ok.left, 0);
    EXPECT_EQ(dialog.Tips().size(), expected ? 11U : 10U);
    dialog.Choose(40002, 0);
    dialog.PostClick(1);
    client.run.Finish();
    EXPECT_EQ(StateOf(driver).CompMethod, 2U);
    EXPECT_EQ(TestRegistry::Read(kY2, "CompMethod"), expected ? std::optional<uint32_t>(2) : std::nullopt);
}

/// Runs a copy of this program from `folder`; gives its exit code.
DWORD RunCopyIn(const std::string& folder)
{
    namespace fs = std::filesystem;
    char self[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, self, sizeof self);
    const fs::path root =
        fs::temp_directory_path() / ("orvane_host_" + std::to_string(GetCurrentProcessId()));
    fs::create_directories(root / folder);
    const fs::path copy = root / folder / "host.exe";
    fs::copy_file(self, copy, fs::copy_options::overwrite_existing);
    _putenv_s("ORVANE_LIBRARY", LibraryPath().c_str());
    const DWORD exitCode = WaitForExit(
        Start('"' + copy.string() +
              "\" --gtest_also_run_disabled_tests --gtest_filter=AfterburnerHost.DISABLED_ShowsItsDialog"));
    std::error_code ignored;
    fs::remove_all(root, ignored);
    return exitCode;
}

TEST(AfterburnerHost, IsKnownByTheFolderThatItRunsFrom)
{
    EXPECT_EQ(RunCopyIn("Afterburner"), 0U) << "one word is not enough";
    _putenv_s("ORVANE_EXPECT_AFTERBURNER", "1");
    EXPECT_EQ(RunCopyIn("Msi AfterBurner"), 0U);
    _putenv_s("ORVANE_EXPECT_AFTERBURNER", "");
}

} // namespace
