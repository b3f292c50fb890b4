// The machine as an installer changes it: programs that are started, registry and files as they stand.
#pragma once

#include "platform/vfw.h"

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

inline constexpr wchar_t kDriverList[] = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\drivers32";
inline constexpr wchar_t kDriverTexts[] = L"Software\\Microsoft\\Windows NT\\CurrentVersion\\drivers.desc";
inline constexpr wchar_t kUninstallKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Orvane";

/// Starts a program, waits for its end and gives its exit code. The line holds program and arguments.
/// errors  a new file that takes what the program writes as errors; empty: it goes where ours does
DWORD RunProgram(const std::wstring& line, const std::filesystem::path& errors = {});

/// What happens to files when Windows restarts: those that were left for then are moved and deleted.
void Restart();

/// Lets the programs that are started from now on see this version of Windows, as in "win10".
void PretendToBe(const wchar_t* windows);

/// A text or number of the registry; nothing where there is none.
std::optional<std::wstring> ReadText(HKEY root, const wchar_t* key, const wchar_t* name);
std::optional<DWORD> ReadNumber(HKEY root, const wchar_t* key, const wchar_t* name);
void WriteText(HKEY root, const wchar_t* key, const wchar_t* name, const std::wstring& text);

std::wstring Widen(const std::string& ascii);
std::string ReadFile(const std::filesystem::path& file);
void WriteFile(const std::filesystem::path& file, const std::string& bytes);

/// The folder for 64-bit libraries of the system, the one for programs, the user's own.
std::filesystem::path SystemFolder();
std::filesystem::path ProgramsFolder();
std::filesystem::path ProfileFolder();

/// Every value of the registry's settings of machine and user, and every file in the folders that installers
/// write to, with size; by name.
using Snapshot = std::map<std::wstring, std::wstring>;
Snapshot TakeSnapshot();

/// Lines with what stands in one of two only, or differs; empty when they are equal.
std::string Differences(const Snapshot& before, const Snapshot& after);
