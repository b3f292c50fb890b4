// The built library as the system's loader sees it: its export and import tables and its version record.
#include "driver/driver_library.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <string>

namespace {

HMODULE Module()
{
    LoadedDriver();
    return GetModuleHandleA("orvane.dll");
}

const uint8_t* At(DWORD offset)
{
    return reinterpret_cast<const uint8_t*>(Module()) + offset;
}

template <class Record>
const Record* Directory(int entry)
{
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(At(0));
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS64*>(At(static_cast<DWORD>(dos->e_lfanew)));
    return reinterpret_cast<const Record*>(At(headers->OptionalHeader.DataDirectory[entry].VirtualAddress));
}

std::string TextAt(DWORD offset)
{
    return reinterpret_cast<const char*>(At(offset));
}

} // namespace

TEST(Exports, AreTheThreeFunctionsAlone)
{
    const auto* table = Directory<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
    const auto* names = reinterpret_cast<const DWORD*>(At(table->AddressOfNames));
    std::set<std::string> exports;
    for (DWORD i = 0; i < table->NumberOfNames; ++i)
        exports.insert(TextAt(names[i]));
    EXPECT_EQ(exports, (std::set<std::string>{"DriverProc", "Configure", "ConfigureAdobe"}));
    EXPECT_EQ(table->NumberOfFunctions, 3U);
    EXPECT_EQ(TextAt(table->Name), "orvane.dll");
}

TEST(Exports, ImportsAreSystemLibraries)
{
    const std::set<std::string> allowed = {
        "kernel32.dll",
        "msvcrt.dll",
        "user32.dll",
        "gdi32.dll",
        "advapi32.dll",
        "shell32.dll",
        "shlwapi.dll",
        "comctl32.dll",
        "winmm.dll",
        "api-ms-win-core-synch-l1-2-0.dll", // waiting on an address, from Windows 8 on
    };
    int libraries = 0;
    for (const auto* entry = Directory<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT);
         entry->Name != 0; ++entry) {
        std::string name = TextAt(entry->Name);
        std::ranges::transform(name, name.begin(), [](char c) {
            return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        });
        EXPECT_TRUE(allowed.contains(name)) << name;
        ++libraries;
    }
    EXPECT_GE(libraries, 2);
}

TEST(Exports, BeginWithABranchMark)
{
    for (const char* name : {"DriverProc", "Configure", "ConfigureAdobe"}) {
        const void* const function = FindExport(name);
        ASSERT_NE(function, nullptr);
        EXPECT_EQ(std::memcmp(function, "\xF3\x0F\x1E\xFA", 4), 0) << name; // endbr64
    }
}

TEST(VersionRecord, SaysTwoFourOneZero)
{
    const HRSRC resource = FindResourceA(Module(), MAKEINTRESOURCEA(1), MAKEINTRESOURCEA(16)); // RT_VERSION
    ASSERT_TRUE(resource);
    const auto* bytes = static_cast<const uint8_t*>(LockResource(LoadResource(Module(), resource)));
    const size_t size = SizeofResource(Module(), resource);
    VS_FIXEDFILEINFO info;
    ASSERT_GT(size, 40 + sizeof info);
    std::memcpy(&info, bytes + 40, sizeof info); // behind the record's head and its key
    EXPECT_EQ(info.dwSignature, 0xFEEF04BDU);
    EXPECT_EQ(info.dwFileVersionMS, 0x00020004U);
    EXPECT_EQ(info.dwFileVersionLS, 0x00010000U);
    EXPECT_EQ(info.dwProductVersionMS, 0x00020004U);
    EXPECT_EQ(info.dwProductVersionLS, 0x00010000U);
    EXPECT_EQ(info.dwFileType, static_cast<DWORD>(VFT_DRV));
    const std::wstring text(reinterpret_cast<const wchar_t*>(bytes), size / sizeof(wchar_t));
    EXPECT_NE(text.find(L"Orvane lossless video codec"), std::wstring::npos);
    EXPECT_NE(text.find(L"2.4.1.0"), std::wstring::npos);
}
