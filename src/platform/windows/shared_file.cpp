#include "platform/shared_file.h"

#include "platform/windows/windows_headers.h"

#include <utility>

namespace platform {
namespace {

constexpr int kLockTries = 5000; // a millisecond apart, or a little more
constexpr int kBusyTries = 20;   // likewise
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

class FileHandle
{
  public:
    FileHandle() = default;
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    ~FileHandle() { Close(); }

    bool Open(const Path& file, DWORD access, DWORD share, DWORD disposition, DWORD flags = 0)
    {
        handle = CreateFileW(file.c_str(), access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL | flags,
                             nullptr);
        return handle != INVALID_HANDLE_VALUE;
    }
    void Close()
    {
        if (handle != INVALID_HANDLE_VALUE)
            CloseHandle(handle);
        handle = INVALID_HANDLE_VALUE;
    }
    HANDLE Get() const { return handle; }
    HANDLE Release() { return std::exchange(handle, INVALID_HANDLE_VALUE); }

  private:
    HANDLE handle = INVALID_HANDLE_VALUE;
};

/// While one process renames a file and another has it open, either may be refused for a moment. The result
/// of `attempt`, whose last error stands.
template <class F>
bool RetryWhileBusy(F attempt)
{
    for (int i = 1;; ++i) {
        if (attempt())
            return true;
        const DWORD error = GetLastError();
        if (i == kBusyTries || (error != ERROR_SHARING_VIOLATION && error != ERROR_ACCESS_DENIED)) {
            SetLastError(error);
            return false;
        }
        Sleep(1);
    }
}

/// Neither a link nor a file with a second name.
bool IsPlainFile(HANDLE file)
{
    BY_HANDLE_FILE_INFORMATION information = {};
    return GetFileInformationByHandle(file, &information) &&
           !(information.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) && information.nNumberOfLinks == 1;
}

} // namespace

SharedFile ReadSharedFile(const Path& file)
{
    FileHandle input;
    if (!RetryWhileBusy([&] { return input.Open(file, GENERIC_READ, kShareAll, OPEN_EXISTING); })) {
        const DWORD error = GetLastError();
        const bool missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
        return {missing ? SharedFile::State::Missing : SharedFile::State::Unreadable, {}};
    }
    LARGE_INTEGER size = {};
    if (GetFileType(input.Get()) != FILE_TYPE_DISK || !GetFileSizeEx(input.Get(), &size) ||
        static_cast<uint64_t>(size.QuadPart) > kMaxSharedFileBytes)
        return {};
    std::string bytes(static_cast<size_t>(size.QuadPart), '\0');
    DWORD got = 0;
    if (!ReadFile(input.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr) ||
        got != bytes.size())
        return {};
    return {SharedFile::State::Read, std::move(bytes)};
}

bool ReplaceSharedFile(const Path& file, std::string_view bytes)
{
    const Path written = Path(file).concat(L".tmp");
    // What a broken write has left or somebody else has put there goes: nothing is written through it.
    if (!DeleteFileW(written.c_str()) && GetLastError() != ERROR_FILE_NOT_FOUND)
        return false;
    FileHandle output;
    if (!output.Open(written, GENERIC_WRITE, 0, CREATE_NEW))
        return false;
    DWORD done = 0;
    const bool complete =
        WriteFile(output.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &done, nullptr) &&
        done == bytes.size() && FlushFileBuffers(output.Get());
    output.Close();
    if (complete && RetryWhileBusy([&] {
            return MoveFileExW(written.c_str(), file.c_str(),
                               MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
        }))
        return true;
    DeleteFileW(written.c_str());
    return false;
}

SharedFileLock::SharedFileLock(const Path& file)
{
    FileHandle handle;
    if (!handle.Open(Path(file).concat(L".lock"), GENERIC_READ | GENERIC_WRITE, kShareAll, OPEN_ALWAYS,
                     FILE_FLAG_OPEN_REPARSE_POINT) ||
        !IsPlainFile(handle.Get()))
        return;
    OVERLAPPED range = {};
    for (int i = 0; i < kLockTries; ++i) {
        if (LockFileEx(handle.Get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &range)) {
            lockFile = reinterpret_cast<intptr_t>(handle.Release());
            return;
        }
        Sleep(1);
    }
}

SharedFileLock::~SharedFileLock()
{
    if (IsHeld())
        CloseHandle(reinterpret_cast<HANDLE>(lockFile)); // gives the lock back
}

} // namespace platform
