// Installs, upgrades and uninstalls, silently, and looks at what then stands on the machine. The installer
// lies in the folder above this program's; what it takes in, in installer/ there.
#include "driver/settings/codec_variant.h"
#include "hosts/codec_handle.h"
#include "installer/machine.h"
#include "platform/host_path.h"
#include "support/test_folder.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string_view>

using namespace settings;

namespace {

namespace fs = std::filesystem;

constexpr DWORD kDone = 0;
constexpr DWORD kOldWindows = 1150;
constexpr DWORD kRestart = 3010;

fs::path BuildFolder()
{
    return fs::path(platform::HostPath()).parent_path().parent_path();
}

fs::path Driver()
{
    return SystemFolder() / "orvane.dll";
}

fs::path ToolFolder()
{
    return ProgramsFolder() / "Orvane";
}

fs::path StartMenu()
{
    return fs::path(_wgetenv(L"ProgramData")) / L"Microsoft\\Windows\\Start Menu\\Programs\\Orvane";
}

std::wstring Quoted(const fs::path& program)
{
    std::wstring quoted(1, L'"');
    return quoted.append(program.wstring()).append(1, L'"');
}

DWORD Install(const std::wstring& arguments = {})
{
    return RunProgram(Quoted(BuildFolder() / "orvane-setup.exe") + L" /S" + arguments);
}

/// As a user does: the uninstaller goes on as a copy of itself, whose end is the end of its folder.
void Uninstall(const std::wstring& arguments = {})
{
    const fs::path folder = *ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"InstallLocation");
    RunProgram(*ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"QuietUninstallString") + arguments);
    for (int waited = 0; fs::exists(folder); waited += 20) {
        ASSERT_LT(waited, 60000) << "it does not end";
        Sleep(20);
    }
}

/// As a script does that waits for the exit code.
DWORD UninstallInPlace()
{
    const std::wstring folder = *ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"InstallLocation");
    return RunProgram(*ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"QuietUninstallString") + L" _?=" +
                      folder);
}

/// Files beside the driver that wait for a restart.
int FilesAside()
{
    int count = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(SystemFolder()))
        count += entry.path().filename().wstring().starts_with(L"orvane.dll.");
    return count;
}

bool IsInstalled()
{
    return ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"UninstallString").has_value();
}

/// Every test leaves the machine as it was, which is looked at once behind the last one.
class Installer : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        PretendToBe(L"win10");
        Restart(); // the first one makes keys of its own
        before = TakeSnapshot();
        ASSERT_GT(before.size(), 1000U) << "there is a machine to compare with";
    }

    static void TearDownTestSuite()
    {
        Restart();
        EXPECT_EQ(Differences(before, TakeSnapshot()), "");
    }

    void SetUp() override { ASSERT_FALSE(IsInstalled()); }

    void TearDown() override
    {
        if (IsInstalled())
            Uninstall();
        EXPECT_FALSE(fs::exists(Driver()));
        EXPECT_FALSE(fs::exists(ToolFolder()));
        EXPECT_FALSE(fs::exists(StartMenu()));
    }

    TestStore store; // hosts read the codec's settings, and make keys for them in the registry
    static inline Snapshot before;
};

} // namespace

TEST_F(Installer, PutsDriverAndToolInPlace)
{
    ASSERT_EQ(Install(), kDone);
    EXPECT_EQ(ReadFile(Driver()), ReadFile(BuildFolder() / "installer" / "orvane.dll"));
    EXPECT_EQ(ReadFile(ToolFolder() / "orvane.exe"), ReadFile(BuildFolder() / "installer" / "orvane.exe"));
    EXPECT_GT(fs::file_size(Driver()), 100000U);
    EXPECT_EQ(FilesAside(), 0);
    EXPECT_EQ(RunProgram(Quoted(ToolFolder() / "orvane.exe") + L" config get EnableCodecLog"), 0U)
        << "the tool finds the driver";
}

TEST_F(Installer, RegistersEveryCodeByTheBareName)
{
    ASSERT_EQ(Install(), kDone);
    for (const CodecVariant& variant : BuildVariantTable()) {
        const std::string code = FourCCText(variant.FourCC);
        EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, kDriverList, (L"vidc." + Widen(code)).c_str()), L"orvane.dll")
            << code;
    }
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, kDriverTexts, L"orvane.dll"), L"Orvane lossless video codec");
}

TEST_F(Installer, ListsItselfWithVersionAndSize)
{
    ASSERT_EQ(Install(), kDone);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"DisplayVersion"), Widen(ORVANE_VERSION));
    EXPECT_TRUE(ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"DisplayName"));
    EXPECT_TRUE(ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"Publisher"));
    EXPECT_NE(ReadFile(ToolFolder() / "THIRD-PARTY-NOTICES.txt").find("RUNTIME LIBRARY EXCEPTION"),
              std::string::npos);
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, kUninstallKey, L"InstallLocation"), ToolFolder().wstring());
    const auto bytes = fs::file_size(Driver()) + fs::file_size(ToolFolder() / "orvane.exe") +
                       fs::file_size(ToolFolder() / "THIRD-PARTY-NOTICES.txt");
    const std::optional<DWORD> kibibytes = ReadNumber(HKEY_LOCAL_MACHINE, kUninstallKey, L"EstimatedSize");
    ASSERT_TRUE(kibibytes);
    EXPECT_NEAR(*kibibytes, static_cast<double>(bytes) / 1024, 8);
}

TEST_F(Installer, OpensTheSettingsFromTheStartMenu)
{
    ASSERT_EQ(Install(), kDone);
    // A shortcut keeps its arguments as they are, in UTF-16.
    const std::string shortcut = ReadFile(StartMenu() / "Orvane settings.lnk");
    const std::wstring arguments = L"orvane.dll,Configure";
    EXPECT_NE(shortcut.find(std::string(reinterpret_cast<const char*>(arguments.data()),
                                        arguments.size() * sizeof(wchar_t))),
              std::string::npos);
    // Quoted as a whole, since a folder may have an ampersand in its name. Shortcuts keep UTF-16.
    const std::wstring path = L"set \"PATH=" + ToolFolder().wstring() + L";%PATH%\"\"";
    EXPECT_NE(
        ReadFile(StartMenu() / "Orvane command line.lnk")
            .find(std::string(reinterpret_cast<const char*>(path.data()), path.size() * sizeof(wchar_t))),
        std::string::npos);
    // What rundll32 looks for, found by the bare name.
    const HMODULE library = LoadLibraryA("orvane.dll");
    ASSERT_TRUE(library);
    EXPECT_TRUE(GetProcAddress(library, "Configure"));
    FreeLibrary(library);
}

TEST_F(Installer, LetsHostsFindAndUseTheCodec)
{
    ASSERT_FALSE(ICOpen(ICTYPE_VIDEO, FourCCOf("O8RG"), ICMODE_QUERY)) << "nothing is installed yet";
    ASSERT_EQ(Install(), kDone);
    for (const CodecVariant& variant : BuildVariantTable())
        EXPECT_NO_THROW(CodecHandle(FourCCText(variant.FourCC).c_str(), ICMODE_QUERY));

    const Clip clip = MakeClip(RgbRoute("O8RG", 24), 64, 48, 2);
    BITMAPINFOHEADER in = clip.header;
    const CodecHandle codec(ICLocate(ICTYPE_VIDEO, FourCCOf("O8RG"), &in, nullptr, ICMODE_COMPRESS), "O8RG");
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(GetModuleHandleA("orvane.dll"), path, MAX_PATH);
    EXPECT_TRUE(fs::equivalent(path, Driver()));
    const Stream stream = CompressClip(codec, clip);
    EXPECT_TRUE(AreSamePictures(
        clip, DecompressStream(codec, stream, clip.header, static_cast<uint32_t>(clip.pictures[0].size()))));
}

TEST_F(Installer, UpgradesInPlace)
{
    ASSERT_EQ(Install(), kDone);
    WriteFile(Driver(), "an older driver");
    WriteFile(ToolFolder() / "orvane.exe", "an older tool");
    ASSERT_EQ(Install(), kDone);
    EXPECT_EQ(ReadFile(Driver()), ReadFile(BuildFolder() / "installer" / "orvane.dll"));
    EXPECT_EQ(ReadFile(ToolFolder() / "orvane.exe"), ReadFile(BuildFolder() / "installer" / "orvane.exe"));
    EXPECT_EQ(FilesAside(), 0);
}

TEST_F(Installer, UpgradesWhileAHostHoldsTheDriver)
{
    ASSERT_EQ(Install(), kDone);
    const Clip clip = MakeClip(RgbRoute("O8RG", 24), 64, 48, 2);
    {
        const CodecHandle held("O8RG", ICMODE_COMPRESS);
        EXPECT_EQ(Install(), kRestart);
        EXPECT_EQ(FilesAside(), 1);
        EXPECT_EQ(ReadFile(Driver()), ReadFile(BuildFolder() / "installer" / "orvane.dll"));
        EXPECT_EQ(CompressClip(held, clip).frames.size(), 2U) << "the host goes on";
    }
    Restart();
    EXPECT_EQ(FilesAside(), 0);
    EXPECT_NO_THROW(CodecHandle("O8Y0", ICMODE_COMPRESS));
}

TEST_F(Installer, CleansUpAtTheNextUpgradeWithoutARestart)
{
    ASSERT_EQ(Install(), kDone);
    {
        const CodecHandle held("O8RG", ICMODE_COMPRESS);
        EXPECT_EQ(Install(), kRestart);
        EXPECT_EQ(Install(), kDone) << "nobody holds the one that came last";
        EXPECT_EQ(FilesAside(), 1);
    }
    EXPECT_EQ(Install(), kDone);
    EXPECT_EQ(FilesAside(), 0);
}

TEST_F(Installer, UninstallsWhileAHostHoldsTheDriver)
{
    ASSERT_EQ(Install(), kDone);
    {
        const CodecHandle held("O8RG", ICMODE_COMPRESS);
        EXPECT_EQ(UninstallInPlace(), kRestart);
        EXPECT_FALSE(fs::exists(Driver()));
        EXPECT_FALSE(ReadText(HKEY_LOCAL_MACHINE, kDriverList, L"vidc.O8Y0"));
        EXPECT_EQ(Install(), kDone) << "installed again before the restart";
    }
    Restart();
    EXPECT_TRUE(fs::exists(Driver())) << "the restart removes what was old, and nothing new";
    EXPECT_TRUE(fs::exists(ToolFolder() / "uninstall.exe"));
}

TEST_F(Installer, LeavesCodesThatAnotherLibraryServes)
{
    ASSERT_EQ(Install(), kDone);
    WriteText(HKEY_LOCAL_MACHINE, kDriverList, L"vidc.O8Y2", L"other.dll");
    Uninstall();
    EXPECT_EQ(ReadText(HKEY_LOCAL_MACHINE, kDriverList, L"vidc.O8Y2"), L"other.dll");
    EXPECT_FALSE(ReadText(HKEY_LOCAL_MACHINE, kDriverList, L"vidc.O8Y0"));
    RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kDriverList, L"vidc.O8Y2");
}

TEST_F(Installer, KeepsSettingsAndLogsUnlessAsked)
{
    ASSERT_EQ(Install(), kDone);
    const fs::path log = ProfileFolder() / "orvane" / "orvane_20240101_000000_01.log";
    fs::create_directory(log.parent_path());
    WriteFile(log, "a log\n");
    WriteText(HKEY_CURRENT_USER, L"Software\\Orvane\\O8Y2", L"Kept", L"yes");
    Uninstall();
    EXPECT_TRUE(fs::exists(log));
    EXPECT_EQ(ReadText(HKEY_CURRENT_USER, L"Software\\Orvane\\O8Y2", L"Kept"), L"yes");

    ASSERT_EQ(Install(), kDone);
    Uninstall(L" /PURGE");
    EXPECT_FALSE(fs::exists(log.parent_path()));
    EXPECT_FALSE(ReadText(HKEY_CURRENT_USER, L"Software\\Orvane\\O8Y2", L"Kept"));
}

TEST_F(Installer, StaysInTheFolderThatWasChosenOnce)
{
    const fs::path chosen = ProgramsFolder() / "Video tools" / "Orvane";
    ASSERT_EQ(Install(L" /D=" + chosen.wstring()), kDone);
    EXPECT_TRUE(fs::exists(chosen / "orvane.exe"));
    fs::remove(chosen / "orvane.exe");
    ASSERT_EQ(Install(), kDone);
    EXPECT_TRUE(fs::exists(chosen / "orvane.exe"));
    EXPECT_FALSE(fs::exists(ToolFolder()));
    Uninstall();
    fs::remove(chosen.parent_path());
}

TEST_F(Installer, RefusesAnOldWindowsAndChangesNothing)
{
    for (const wchar_t* windows : {L"win7", L"win81"}) {
        PretendToBe(windows);
        const TestFolder folder;
        const fs::path errors = folder.Path() / "errors";
        EXPECT_EQ(RunProgram(Quoted(BuildFolder() / "orvane-setup.exe") + L" /S", errors), kOldWindows);
        EXPECT_NE(ReadFile(errors).find("Orvane needs Windows 10 or later"), std::string::npos)
            << ReadFile(errors);
        EXPECT_FALSE(IsInstalled());
        EXPECT_FALSE(fs::exists(Driver()));
        EXPECT_FALSE(ReadText(HKEY_LOCAL_MACHINE, kDriverList, L"vidc.O8Y0"));
    }
    PretendToBe(L"win10");
}

TEST_F(Installer, FailsWithoutATraceWhereItCannotWrite)
{
    // A folder stands where the driver's new file is written.
    fs::create_directory(SystemFolder() / "orvane.dll.new");
    EXPECT_EQ(Install(), 2U);
    EXPECT_FALSE(IsInstalled());
    EXPECT_FALSE(fs::exists(Driver()));
    fs::remove(SystemFolder() / "orvane.dll.new");
    fs::remove(ToolFolder());
}

TEST(ShippedFiles, HaveStackProtectorAndBranchMarks)
{
    for (const char* name : {"orvane.dll", "orvane.exe"}) {
        const std::string bytes = ReadFile(BuildFolder() / "installer" / name);
        EXPECT_NE(bytes.find("stack smashing detected"), std::string::npos) << name;
        constexpr std::string_view mark = "\xF3\x0F\x1E\xFA"; // endbr64
        int marks = 0;
        for (size_t at = bytes.find(mark); at != std::string::npos; at = bytes.find(mark, at + 1))
            ++marks;
        EXPECT_GT(marks, 100) << name;
        // Loaded at an address of 64 bits that changes, and its data is no code.
        IMAGE_DOS_HEADER dos;
        IMAGE_NT_HEADERS64 headers;
        ASSERT_GT(bytes.size(), sizeof dos);
        std::memcpy(&dos, bytes.data(), sizeof dos);
        ASSERT_GT(bytes.size(), static_cast<size_t>(dos.e_lfanew) + sizeof headers);
        std::memcpy(&headers, bytes.data() + dos.e_lfanew, sizeof headers);
        constexpr WORD wanted = IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA |
                                IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
        EXPECT_EQ(headers.OptionalHeader.DllCharacteristics & wanted, wanted) << name;
    }
}
