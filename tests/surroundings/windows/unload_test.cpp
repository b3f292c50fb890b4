// A host that unloads the library while the notifier's thread is still on its way out.
#include "support/eventually.h"
#include "support/long_tests.h"
#include "support/test_folder.h"
#include "support/test_seed.h"
#include "surroundings/windows/dialog_driver.h"
#include "surroundings/windows/test_registry.h"

#include <gtest/gtest.h>

#include <random>
#include <tlhelp32.h>

namespace {

int ThreadCount()
{
    const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    int count = 0;
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof entry;
    for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId();
    CloseHandle(snapshot);
    return count;
}

/// The number of a handle made now: the lowest that is free, so that handles left open push it up.
uintptr_t NextHandle()
{
    const HANDLE handle = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    CloseHandle(handle);
    return reinterpret_cast<uintptr_t>(handle);
}

/// One picture through an instance, with the icon shown.
void CompressOnePicture(const DriverHandle& driver)
{
    constexpr int width = 64, height = 64;
    static uint8_t picture[width * height * 3];
    static uint8_t frame[1 << 19];
    struct {
        BITMAPINFOHEADER header;
        uint8_t record[32];
    } out = {};
    BITMAPINFOHEADER in = {};
    in.biSize = sizeof in;
    in.biWidth = width;
    in.biHeight = height;
    in.biPlanes = 1;
    in.biBitCount = 24;
    in.biSizeImage = sizeof picture;
    const auto inParameter = reinterpret_cast<LPARAM>(&in), outParameter = reinterpret_cast<LPARAM>(&out);
    ASSERT_EQ(driver.Send(ICM_COMPRESS_GET_FORMAT, inParameter, outParameter), ICERR_OK);
    ASSERT_LE(out.header.biSizeImage, sizeof frame);
    ASSERT_EQ(driver.Send(ICM_COMPRESS_BEGIN, inParameter, outParameter), ICERR_OK);
    DWORD chunkId = 0, flags = 0;
    ICCOMPRESS call = {};
    call.lpbiOutput = &out.header;
    call.lpOutput = frame;
    call.lpbiInput = &in;
    call.lpInput = picture;
    call.lpckid = &chunkId;
    call.lpdwFlags = &flags;
    EXPECT_EQ(driver.Send(ICM_COMPRESS, reinterpret_cast<LPARAM>(&call), sizeof call), ICERR_OK);
    EXPECT_EQ(driver.Send(ICM_COMPRESS_END, 0, 0), ICERR_OK);
}

/// What a host does from load to unload.
void RunHost(const std::string& path, DWORD pauseMilliseconds)
{
    const BuiltLibrary library = LoadBuiltLibrary(path);
    library.DriverProc(0, {}, DRV_LOAD, 0, 0);
    library.DriverProc(0, {}, DRV_ENABLE, 0, 0);
    const LRESULT session = library.DriverProc(0, {}, DRV_OPEN, 0, 0);
    EXPECT_NE(session, 0);
    {
        const DriverHandle driver("O8RG", library);
        CompressOnePicture(driver);
        Sleep(pauseMilliseconds);
    }
    const auto id = static_cast<DWORD_PTR>(session);
    library.DriverProc(id, {}, DRV_CLOSE, 0, 0);
    library.DriverProc(id, {}, DRV_DISABLE, 0, 0);
    library.DriverProc(id, {}, DRV_FREE, 0, 0);
    EXPECT_NE(FreeLibrary(library.module), FALSE);
}

/// Waits until threads have left and the library has gone.
bool WaitForRest(const char* moduleName, int threads)
{
    return Eventually([=] { return !GetModuleHandleA(moduleName) && ThreadCount() <= threads; });
}

TEST(Unloading, LeavesNoThreadNoHandleAndNoLibrary)
{
    const TestRegistry registry; // the icon is on by default
    const TestFolder folder;
    // As in every host of drivers; under Wine each load and unload of this library leaves handles behind.
    LoadLibraryA("winmm.dll");
    // A library of its own name: another copy may stay loaded for other tests.
    const std::string path = (folder.Path() / "orvane_cycle.dll").string();
    std::filesystem::copy_file(LibraryPath(), path);
    std::mt19937 random(TestSeed());
    for (int i = 0; i < 5; ++i) // what the system makes once
        RunHost(path, 1);
    ASSERT_TRUE(WaitForRest("orvane_cycle.dll", 1000)) << "the library stays loaded";
    const int threads = ThreadCount();
    const uintptr_t handle = NextHandle();

    const int cycles = LongTests() ? 2000 : 200;
    for (int i = 0; i < cycles; ++i) {
        RunHost(path, random() % 4);
        Sleep(random() % 3);
    }
    EXPECT_TRUE(WaitForRest("orvane_cycle.dll", threads));
    EXPECT_EQ(GetModuleHandleA("orvane_cycle.dll"), nullptr);
    EXPECT_LE(ThreadCount(), threads);
    // The system opens some handles of its own later on; one for each cycle would be hundreds.
    EXPECT_LE(NextHandle(), handle + 16 * sizeof(void*));
}

} // namespace
