#include "platform/open_file.h"

#include "platform/end_request.h"
#include "platform/windows/windows_headers.h"

#include <algorithm>

namespace platform {
namespace {

std::error_code LastError()
{
    return {static_cast<int>(GetLastError()), std::system_category()};
}

HANDLE HandleOf(intptr_t handle)
{
    return reinterpret_cast<HANDLE>(handle);
}

/// Calls `transfer(bytes, count, &done)` until all bytes are written.
template <class Transfer>
void WriteAll(const void* bytes, size_t count, std::error_code& error, Transfer transfer)
{
    constexpr size_t kMost = 1U << 30; // a call counts in 32 bits
    const auto* rest = static_cast<const char*>(bytes);
    while (count > 0) {
        DWORD done = 0;
        if (!transfer(rest, static_cast<DWORD>(std::min(count, kMost)), &done)) {
            error = LastError();
            return;
        }
        rest += done;
        count -= done;
    }
}

} // namespace

OpenFile::OpenFile(const Path& name, Mode mode, std::error_code& error) : appends(mode == Mode::Stream)
{
    // Other handles may read the file, but not write it.
    const DWORD access = mode == Mode::Read ? GENERIC_READ : GENERIC_WRITE;
    const DWORD share =
        mode == Mode::Read || mode == Mode::Stream ? FILE_SHARE_READ | FILE_SHARE_WRITE : FILE_SHARE_READ;
    HANDLE const file =
        CreateFileW(name.c_str(), access, share, nullptr,
                    mode == Mode::CreateNew ? CREATE_NEW : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const DWORD code = GetLastError();
        error = code == ERROR_SHARING_VIOLATION ? std::make_error_code(std::errc::device_or_resource_busy)
                : code == ERROR_FILE_EXISTS     ? std::make_error_code(std::errc::file_exists)
                                                : LastError();
        return;
    }
    handle = reinterpret_cast<intptr_t>(file);
    if (mode == Mode::TakeOver && !SetEndOfFile(file))
        error = LastError();
}

OpenFile OpenFile::StandardInput()
{
    OpenFile file;
    file.handle = reinterpret_cast<intptr_t>(GetStdHandle(STD_INPUT_HANDLE));
    file.owned = false;
    return file;
}

OpenFile OpenFile::StandardOutput()
{
    OpenFile file;
    file.handle = reinterpret_cast<intptr_t>(GetStdHandle(STD_OUTPUT_HANDLE));
    file.owned = false;
    return file;
}

size_t OpenFile::Read(void* bytes, size_t count, std::error_code& error) const
{
    constexpr size_t kMost = 1U << 30;
    DWORD got = 0;
    if (IsEndRequested())
        return 0;
    if (ReadFile(HandleOf(handle), bytes, static_cast<DWORD>(std::min(count, kMost)), &got, nullptr))
        return got;
    // A pipe whose writers have closed it is at its end; a request to end cancels a read.
    if (GetLastError() != ERROR_BROKEN_PIPE && !IsEndRequested())
        error = LastError();
    return 0;
}

void OpenFile::Write(const void* bytes, size_t count, std::error_code& error) const
{
    WriteAll(bytes, count, error, [&](const char* rest, DWORD left, DWORD* done) {
        return WriteFile(HandleOf(handle), rest, left, done, nullptr);
    });
}

void OpenFile::WriteAt(uint64_t offset, const void* bytes, size_t count, std::error_code& error) const
{
    LARGE_INTEGER position = {}, end = {};
    SetFilePointerEx(HandleOf(handle), {}, &end, FILE_CURRENT);
    position.QuadPart = static_cast<LONGLONG>(offset);
    if (!SetFilePointerEx(HandleOf(handle), position, nullptr, FILE_BEGIN)) {
        error = LastError();
        return;
    }
    Write(bytes, count, error);
    SetFilePointerEx(HandleOf(handle), end, nullptr, FILE_BEGIN);
}

void OpenFile::Sync(std::error_code& error) const
{
    if (IsRegular() && !FlushFileBuffers(HandleOf(handle)))
        error = LastError();
}

void OpenFile::Close(std::error_code& error)
{
    if (handle != kNone && owned && !CloseHandle(HandleOf(handle)))
        error = LastError();
    handle = kNone;
}

bool OpenFile::CanSeek() const
{
    return GetFileType(HandleOf(handle)) != FILE_TYPE_PIPE && !IsTerminal();
}

bool OpenFile::IsTerminal() const
{
    DWORD mode = 0;
    return GetConsoleMode(HandleOf(handle), &mode) != 0;
}

bool OpenFile::IsRegular() const
{
    return GetFileType(HandleOf(handle)) == FILE_TYPE_DISK;
}

void RenameFile(const Path& from, const Path& to, bool replace, std::error_code& error)
{
    const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
    if (!MoveFileExW(from.c_str(), to.c_str(), flags))
        error = LastError();
}

void SyncFolder(const Path&) {} // the rename waits for it

bool IsStandardStreamName(const Path&)
{
    return false;
}

bool IsStandardOutput(const Path&)
{
    return false;
}

} // namespace platform
