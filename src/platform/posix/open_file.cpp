#include "platform/open_file.h"

#include "platform/end_request.h"
#include "platform/posix/end_request_pipe.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

std::error_code LastError()
{
    return {errno, std::system_category()};
}

int FlagsOf(OpenFile::Mode mode)
{
    switch (mode) {
    case OpenFile::Mode::Read:
        return O_RDONLY | O_NONBLOCK;
    case OpenFile::Mode::CreateNew:
        return O_WRONLY | O_CREAT | O_EXCL;
    case OpenFile::Mode::TakeOver:
        return O_WRONLY;
    case OpenFile::Mode::Stream:
        break;
    }
    return O_WRONLY | O_APPEND | O_NOCTTY;
}

struct stat StatusOf(int file)
{
    struct stat status = {};
    fstat(file, &status);
    return status;
}

/// Waits for bytes, or a request to end: then false.
bool AwaitBytes(int file)
{
    pollfd waits[2] = {{file, POLLIN, 0}, {EndRequestPipe(), POLLIN, 0}};
    while (poll(waits, 2, -1) < 0 && errno == EINTR && !IsEndRequested()) {
    }
    return !IsEndRequested();
}

/// Calls `write(bytes, count)` until all is written.
template <class WriteSome>
void WriteAll(const void* bytes, size_t count, std::error_code& error, WriteSome write)
{
    const auto* rest = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t written = write(rest, count);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0) {
            error = LastError();
            return;
        }
        rest += written;
        count -= static_cast<size_t>(written);
    }
}

} // namespace

OpenFile::OpenFile(const Path& name, Mode mode, std::error_code& error) : appends(mode == Mode::Stream)
{
    int file = -1;
    do {
        file = open(name.c_str(), FlagsOf(mode) | O_CLOEXEC, 0666); // a pipe waits for its reader
    } while (file == -1 && errno == EINTR && !IsEndRequested());
    if (file == -1) {
        error = LastError();
        return;
    }
    handle = file;
    const bool exclusive = mode == Mode::CreateNew || mode == Mode::TakeOver;
    // Where the file system has no locks, the name alone keeps two runs apart.
    if (exclusive && flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        error = std::make_error_code(std::errc::device_or_resource_busy);
    else if (mode == Mode::TakeOver && ftruncate(file, 0) != 0)
        error = LastError();
}

OpenFile OpenFile::StandardInput()
{
    OpenFile file;
    file.handle = STDIN_FILENO;
    file.owned = false;
    return file;
}

size_t OpenFile::Read(void* bytes, size_t count, std::error_code& error) const
{
    const int file = static_cast<int>(handle);
    while (AwaitBytes(file)) {
        const ssize_t got = read(file, bytes, count);
        if (got >= 0)
            return static_cast<size_t>(got);
        if (errno != EINTR && errno != EAGAIN) {
            error = LastError();
            return 0;
        }
    }
    return 0;
}

void OpenFile::Write(const void* bytes, size_t count, std::error_code& error) const
{
    WriteAll(bytes, count, error,
             [&](const char* rest, size_t left) { return write(static_cast<int>(handle), rest, left); });
}

void OpenFile::WriteAt(uint64_t offset, const void* bytes, size_t count, std::error_code& error) const
{
    WriteAll(bytes, count, error, [&](const char* rest, size_t left) {
        const ssize_t written = pwrite(static_cast<int>(handle), rest, left, static_cast<off_t>(offset));
        offset += static_cast<uint64_t>(written > 0 ? written : 0);
        return written;
    });
}

void OpenFile::Sync(std::error_code& error) const
{
    // A file that cannot be synchronized, as a device, is on no disk.
    if (fsync(static_cast<int>(handle)) != 0 && errno != EINVAL && errno != EROFS)
        error = LastError();
}

void OpenFile::Close(std::error_code& error)
{
    if (handle != kNone && owned && close(static_cast<int>(handle)) != 0)
        error = LastError();
    handle = kNone;
}

bool OpenFile::CanSeek() const
{
    // What is appended to an ordinary file cannot be gone back to.
    return lseek(static_cast<int>(handle), 0, SEEK_CUR) != -1 && !(appends && IsRegular());
}

bool OpenFile::IsTerminal() const
{
    return isatty(static_cast<int>(handle)) == 1;
}

bool OpenFile::IsRegular() const
{
    return S_ISREG(StatusOf(static_cast<int>(handle)).st_mode);
}

void RenameFile(const Path& from, const Path& to, bool replace, std::error_code& error)
{
    if (!replace) {
        if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
            return;
        if (errno != EINVAL && errno != ENOSYS) { // the file system does not know how
            error = LastError();
            return;
        }
    }
    if (rename(from.c_str(), to.c_str()) != 0)
        error = LastError();
}

void SyncFolder(const Path& folder)
{
    const int file = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file == -1)
        return;
    fsync(file);
    close(file);
}

bool IsStandardStreamName(const Path& name)
{
    const std::string text = name.lexically_normal().string();
    return text == "/dev/stdout" || text == "/dev/stderr" || text.starts_with("/dev/fd/") ||
           text.starts_with("/proc/");
}

} // namespace platform
