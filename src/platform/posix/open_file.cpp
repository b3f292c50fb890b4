#include "platform/open_file.h"

#include "platform/end_request.h"
#include "platform/posix/end_request_pipe.h"

#include <algorithm>
#include <cerrno>
#include <climits>
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

/// Waits until a pipe or device takes bytes. After a request to end it does not wait: false when there is no
/// room.
bool AwaitRoom(int file)
{
    for (;;) {
        const bool ends = IsEndRequested();
        pollfd waits[2] = {{file, POLLOUT, 0}, {EndRequestPipe(), POLLIN, 0}};
        if (poll(waits, ends ? 1 : 2, ends ? 0 : -1) > 0 && waits[0].revents != 0)
            return true;
        if (ends)
            return false;
    }
}

/// Calls `write(bytes, count)` until all is written.
template <class WriteSome>
void WriteAll(const void* bytes, size_t count, std::error_code& error, WriteSome write)
{
    const auto* rest = static_cast<const char*>(bytes);
    while (count > 0) {
        const ssize_t written = write(rest, count);
        if (written < 0 && (errno == EINTR || errno == EAGAIN))
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
    else if (appends && IsRegular() && StatusOf(file).st_size == 0)
        appends = fcntl(file, F_SETFL, 0) != 0; // the description is our own
}

OpenFile OpenFile::StandardInput()
{
    OpenFile file;
    file.handle = STDIN_FILENO;
    file.owned = false;
    return file;
}

OpenFile OpenFile::StandardOutput()
{
    OpenFile file;
    file.handle = STDOUT_FILENO;
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
    const int file = static_cast<int>(handle);
    const bool waits = !IsRegular();
    WriteAll(bytes, count, error, [&](const char* rest, size_t left) -> ssize_t {
        if (!waits)
            return write(file, rest, left);
        // A pipe that has room takes so many bytes at once: the write itself does not wait.
        if (AwaitRoom(file))
            return write(file, rest, std::min<size_t>(left, PIPE_BUF));
        errno = ECANCELED;
        return -1;
    });
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

bool IsStandardOutput(const Path& name)
{
    struct stat named = {};
    const struct stat output = StatusOf(STDOUT_FILENO);
    return stat(name.c_str(), &named) == 0 && !S_ISCHR(named.st_mode) && named.st_dev == output.st_dev &&
           named.st_ino == output.st_ino;
}

bool IsStandardStreamName(const Path& name)
{
    const std::string text = name.lexically_normal().string();
    return text == "/dev/stdout" || text == "/dev/stderr" || text.starts_with("/dev/fd/") ||
           text.starts_with("/proc/");
}

} // namespace platform
