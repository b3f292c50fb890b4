// Shows one dialog, or icon and balloon, for as long as a picture is taken of it. When what was asked for can
// be seen, its place on the screen goes into the file that ORVANE_READY names, as WIDTHxHEIGHT+X+Y; the
// program ends when that file has gone.
#include "surroundings/windows/dialog_driver.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <vector>

namespace {

/// Lets what was drawn last reach the screen. A balloon comes out two seconds after its icon.
constexpr DWORD kSettleMilliseconds = 1500;
constexpr DWORD kBalloonMilliseconds = 4000;

void HoldFor(const RECT& place)
{
    Sleep(kSettleMilliseconds);
    const char* const ready = std::getenv("ORVANE_READY");
    if (!ready)
        throw std::runtime_error("ORVANE_READY names no file");
    std::ofstream(ready) << place.right - place.left << 'x' << place.bottom - place.top << '+' << place.left
                         << '+' << place.top;
    while (GetFileAttributesA(ready) != INVALID_FILE_ATTRIBUTES)
        Sleep(50);
}

void Hold(const DialogWindow& dialog)
{
    RECT place;
    GetWindowRect(dialog.Handle(), &place);
    HoldFor(place);
}

void HoldWholeScreen()
{
    HoldFor({0, 0, GetSystemMetrics(SM_CXSCREEN), GetSystemMetrics(SM_CYSCREEN)});
}

void Configure()
{
    Library().Configure(nullptr, nullptr, nullptr, SW_SHOW);
}

void ShowConfig()
{
    const DialogRun run(Configure);
    Hold(run.WaitFor("Orvane settings"));
}

void ShowTip()
{
    const DialogRun run(Configure);
    const DialogWindow dialog = run.WaitFor("Orvane settings");
    RECT place;
    GetWindowRect(dialog.Item(40003), &place);
    SetCursorPos(place.left + 40, place.top + 5);
    mouse_event(MOUSEEVENTF_MOVE, 1, 1, 0, 0);
    Sleep(kSettleMilliseconds);
    HoldWholeScreen();
}

void ShowAdobe()
{
    const DialogRun run([] { Library().ConfigureAdobe(nullptr, nullptr, nullptr, SW_SHOW); });
    Hold(run.WaitFor("Orvane Adobe plugin settings"));
}

void ShowNested(int button, const char* title, int variant)
{
    const DialogRun run(Configure);
    run.WaitFor("Orvane settings").PostClick(button);
    const DialogWindow dialog = run.WaitFor(title);
    if (variant > 0)
        dialog.Choose(40007, variant);
    Hold(dialog);
}

void ShowDecompression()
{
    ShowNested(40012, "Decompression settings", 0);
}

void ShowCompression()
{
    ShowNested(40013, "Compression settings", 0);
}

void ShowCompressionOf420()
{
    ShowNested(40013, "Compression settings", 5);
}

/// The longest texts that the lists have.
void ShowLongTexts()
{
    const DialogRun run(Configure);
    run.WaitFor("Orvane settings").PostClick(40013);
    const DialogWindow dialog = run.WaitFor("Compression settings");
    dialog.Choose(40007, 6);
    dialog.Choose(40006, 3);
    dialog.Choose(40002, 1);
    Hold(dialog);
}

void ShowClient()
{
    const DriverHandle driver("O8Y2");
    const DialogRun run([&] { driver.Send(ICM_CONFIGURE, 0, 0); });
    Hold(run.WaitFor("Orvane - YUV 4:2:2 (64 bit) compression settings"));
}

void ShowAbout()
{
    const DriverHandle driver("O8Y2");
    const DialogRun run([&] { driver.Send(ICM_ABOUT, 0, 0); });
    Hold(run.WaitFor("About Orvane"));
}

/// Begins a run of RGB pictures to or from 4:2:2, and holds it.
void ShowTray(bool compress)
{
    struct {
        BITMAPINFOHEADER header;
        uint8_t record[32];
    } stream = {};
    BITMAPINFOHEADER picture = {};
    picture.biSize = sizeof picture;
    picture.biWidth = 1920;
    picture.biHeight = 1080;
    picture.biPlanes = 1;
    picture.biBitCount = 24;
    picture.biSizeImage = 1920 * 1080 * 3;
    const auto pictureParameter = reinterpret_cast<LPARAM>(&picture);
    const auto streamParameter = reinterpret_cast<LPARAM>(&stream);
    const DriverHandle driver("O8Y2");
    const bool begun =
        driver.Send(ICM_COMPRESS_GET_FORMAT, pictureParameter, streamParameter) == ICERR_OK &&
        (compress ? driver.Send(ICM_COMPRESS_BEGIN, pictureParameter, streamParameter)
                  : driver.Send(ICM_DECOMPRESS_BEGIN, streamParameter, pictureParameter)) == ICERR_OK;
    if (!begun)
        throw std::runtime_error("the run does not begin");
    Sleep(kBalloonMilliseconds);
    const int right = GetSystemMetrics(SM_CXSCREEN), bottom = GetSystemMetrics(SM_CYSCREEN);
    HoldFor({right - 300, bottom - 150, right, bottom});
}

void ShowTrayCompressing()
{
    ShowTray(true);
}

void ShowTrayDecompressing()
{
    ShowTray(false);
}

struct Scene {
    const char* name;
    void (*show)();
};

constexpr Scene kScenes[] = {
    {"global", ShowConfig},
    {"global_tip", ShowTip},
    {"plugins", ShowAdobe},
    {"decompression", ShowDecompression},
    {"compression_rgb", ShowCompression},
    {"compression_420", ShowCompressionOf420},
    {"compression_long_texts", ShowLongTexts},
    {"compression_client", ShowClient},
    {"about", ShowAbout},
    {"tray_compressing", ShowTrayCompressing},
    {"tray_decompressing", ShowTrayDecompressing},
};

} // namespace

int main(int count, char** arguments)
try {
    for (const Scene& scene : kScenes)
        if (count == 2 && std::strcmp(arguments[1], scene.name) == 0) {
            SetCursorPos(1, 1); // over nothing that would light up
            scene.show();
            return 0;
        }
    for (const Scene& scene : kScenes)
        std::puts(scene.name);
    return 2;
} catch (const std::exception& error) {
    std::fprintf(stderr, "show_window: error: %s\n", error.what());
    return 1;
}
