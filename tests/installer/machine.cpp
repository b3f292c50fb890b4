#include "installer/machine.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr DWORD kPatience = 120000; // milliseconds; a run takes less than one second on an idle machine

fs::path Variable(const wchar_t* name)
{
    wchar_t text[MAX_PATH] = {};
    if (GetEnvironmentVariableW(name, text, MAX_PATH) == 0)
        throw std::runtime_error("a variable of the environment is missing");
    return text;
}

/// Adds all values below an open key; `path` names it.
void AddKey(HKEY key, const std::wstring& path, Snapshot& snapshot)
{
    snapshot.emplace(path + L"\\", L"");
    std::vector<wchar_t> name(32768);
    std::vector<BYTE> data(1 << 20);
    for (DWORD i = 0;; ++i) {
        auto nameSize = static_cast<DWORD>(name.size());
        auto dataSize = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueW(key, i, name.data(), &nameSize, nullptr, &type, data.data(), &dataSize) !=
            ERROR_SUCCESS)
            break;
        std::wstring value = std::to_wstring(type) + L":";
        value.append(data.begin(), data.begin() + dataSize);
        snapshot.emplace(path + L"\\" + std::wstring(name.data(), nameSize), value);
    }
    for (DWORD i = 0;; ++i) {
        auto nameSize = static_cast<DWORD>(name.size());
        if (RegEnumKeyExW(key, i, name.data(), &nameSize, nullptr, nullptr, nullptr, nullptr) !=
            ERROR_SUCCESS)
            break;
        const std::wstring child(name.data(), nameSize);
        HKEY opened = nullptr;
        if (RegOpenKeyExW(key, child.c_str(), 0, KEY_READ, &opened) == ERROR_SUCCESS) {
            AddKey(opened, path + L"\\" + child, snapshot);
            RegCloseKey(opened);
        }
    }
}

void AddRoot(HKEY root, const wchar_t* key, const std::wstring& name, Snapshot& snapshot)
{
    HKEY opened = nullptr;
    if (RegOpenKeyExW(root, key, 0, KEY_READ, &opened) != ERROR_SUCCESS)
        throw std::runtime_error("the registry cannot be read");
    AddKey(opened, name, snapshot);
    RegCloseKey(opened);
}

void AddFolder(const fs::path& folder, Snapshot& snapshot)
{
    for (const fs::directory_entry& entry :
         fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied))
        // The uninstaller's copy of itself goes at the restart. Its folder then goes too, but not with Wine.
        if (!entry.path().filename().wstring().starts_with(L"~nsu"))
            snapshot.emplace(entry.path().wstring(),
                             entry.is_regular_file() ? std::to_wstring(entry.file_size()) : L"folder");
}

std::string Narrow(const std::wstring& text)
{
    std::string narrow;
    for (const wchar_t c : text)
        narrow += c >= 32 && c < 127 ? static_cast<char>(c) : '.';
    return narrow.substr(0, 200);
}

/// The value's own size comes back in `size`.
bool ReadValue(HKEY root, const wchar_t* key, const wchar_t* name, DWORD type, void* data, DWORD size)
{
    return RegGetValueW(root, key, name, type, nullptr, data, &size) == ERROR_SUCCESS;
}

} // namespace

DWORD RunProgram(const std::wstring& line, const fs::path& errors)
{
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    if (!errors.empty()) {
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdError = CreateFileW(errors.c_str(), GENERIC_WRITE, FILE_SHARE_READ, &inherited,
                                        CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    }
    PROCESS_INFORMATION process{};
    std::wstring copy = line;
    const BOOL started = CreateProcessW(nullptr, copy.data(), nullptr, nullptr, !errors.empty(), 0, nullptr,
                                        nullptr, &startup, &process);
    if (!errors.empty())
        CloseHandle(startup.hStdError);
    if (!started)
        throw std::runtime_error("cannot start " + Narrow(line));
    const DWORD waited = WaitForSingleObject(process.hProcess, kPatience);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    if (waited != WAIT_OBJECT_0)
        throw std::runtime_error("it does not end: " + Narrow(line));
    return code;
}

void Restart()
{
    RunProgram(L"wineboot.exe");
}

void PretendToBe(const wchar_t* windows)
{
    WriteText(HKEY_CURRENT_USER, L"Software\\Wine", L"Version", windows);
}

std::optional<std::wstring> ReadText(HKEY root, const wchar_t* key, const wchar_t* name)
{
    wchar_t text[1024] = {};
    if (!ReadValue(root, key, name, RRF_RT_REG_SZ, text, sizeof text))
        return std::nullopt;
    return text;
}

std::optional<DWORD> ReadNumber(HKEY root, const wchar_t* key, const wchar_t* name)
{
    DWORD number = 0;
    if (!ReadValue(root, key, name, RRF_RT_REG_DWORD, &number, sizeof number))
        return std::nullopt;
    return number;
}

void WriteText(HKEY root, const wchar_t* key, const wchar_t* name, const std::wstring& text)
{
    if (RegSetKeyValueW(root, key, name, REG_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) != ERROR_SUCCESS)
        throw std::runtime_error("the registry cannot be written");
}

std::wstring Widen(const std::string& ascii)
{
    return {ascii.begin(), ascii.end()};
}

std::string ReadFile(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void WriteFile(const fs::path& file, const std::string& bytes)
{
    std::ofstream stream(file, std::ios::binary);
    stream << bytes;
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file.string());
}

fs::path SystemFolder()
{
    return Variable(L"SystemRoot") / "system32";
}

fs::path ProgramsFolder()
{
    return Variable(L"ProgramFiles");
}

fs::path ProfileFolder()
{
    return Variable(L"USERPROFILE");
}

Snapshot TakeSnapshot()
{
    Snapshot snapshot;
    AddRoot(HKEY_LOCAL_MACHINE, L"Software", L"HKLM\\Software", snapshot);
    AddRoot(HKEY_LOCAL_MACHINE, L"System", L"HKLM\\System", snapshot);
    AddRoot(HKEY_CURRENT_USER, L"Software", L"HKCU\\Software", snapshot);
    // Not the user's whole folder: Wine links parts of it to folders of the system that it runs on.
    for (const wchar_t* name : {L"SystemRoot", L"ProgramFiles", L"ProgramData", L"TEMP"})
        AddFolder(Variable(name), snapshot);
    AddFolder(Variable(L"APPDATA") / "Microsoft" / "Windows" / "Start Menu", snapshot);
    return snapshot;
}

std::string Differences(const Snapshot& before, const Snapshot& after)
{
    std::string lines;
    for (const auto& [name, value] : before) {
        const auto found = after.find(name);
        if (found == after.end())
            lines += "gone: " + Narrow(name) + "\n";
        else if (found->second != value)
            lines +=
                "changed: " + Narrow(name) + " from " + Narrow(value) + " to " + Narrow(found->second) + "\n";
    }
    for (const auto& [name, value] : after)
        if (!before.contains(name))
            lines += "new: " + Narrow(name) + " with " + Narrow(value) + "\n";
    return lines;
}
