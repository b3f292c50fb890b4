#include "platform/shared_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr int kLockTries = 5000; // a millisecond apart
constexpr mode_t kOwnerOnly = 0600;

class Descriptor
{
  public:
    explicit Descriptor(int value) : fd(value) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor()
    {
        if (fd != -1)
            close(fd);
    }
    const int fd;
};

bool WriteAll(int fd, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        bytes.remove_prefix(static_cast<size_t>(written < 0 ? 0 : written));
    }
    return true;
}

/// The file that a symbolic link leads to, so that replacing it leaves the link in place.
Path Target(const Path& file)
{
    char* const target = realpath(file.c_str(), nullptr);
    Path result = target ? target : file;
    std::free(target);
    return result;
}

/// Makes a file that did not exist, with all bytes on the disk. Where that fails nothing is left.
/// mode  of the file; nothing: as the process makes its files
bool WriteNewFile(const Path& file, std::string_view bytes, std::optional<mode_t> mode)
{
    const Descriptor output(
        open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode ? kOwnerOnly : 0666));
    if (output.fd == -1)
        return false;
    if ((!mode || fchmod(output.fd, *mode) == 0) && WriteAll(output.fd, bytes) && fsync(output.fd) == 0)
        return true;
    unlink(file.c_str());
    return false;
}

/// Brings the names in a folder to the disk, as far as its file system can.
void SyncFolder(const Path& folder)
{
    const Descriptor opened(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.fd != -1)
        fsync(opened.fd);
}

/// Whether the file is one to lock: an ordinary one that has no other name. A file of ours that others may
/// open, and so lock, is taken from them.
bool PrepareLockFile(int fd)
{
    struct stat status = {};
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode) || status.st_nlink != 1)
        return false;
    return status.st_uid != geteuid() || (status.st_mode & 0777) == kOwnerOnly || fchmod(fd, kOwnerOnly) == 0;
}

} // namespace

SharedFile ReadSharedFile(const Path& file)
{
    // Not blocking: the name may be that of a pipe.
    const Descriptor input(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (input.fd == -1)
        return {errno == ENOENT ? SharedFile::State::Missing : SharedFile::State::Unreadable, {}};
    struct stat status = {};
    if (fstat(input.fd, &status) != 0 || !S_ISREG(status.st_mode) ||
        static_cast<uint64_t>(status.st_size) > kMaxSharedFileBytes)
        return {};
    std::string bytes(static_cast<size_t>(status.st_size), '\0');
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t got = read(input.fd, bytes.data() + done, bytes.size() - done);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return {}; // an error, or somebody cut the file
        done += static_cast<size_t>(got);
    }
    return {SharedFile::State::Read, std::move(bytes)};
}

bool ReplaceSharedFile(const Path& file, std::string_view bytes)
{
    const Path target = Target(file);
    const Path written = Path(target).concat(".tmp");
    // What a broken write has left or somebody else has put there goes: nothing is written through it.
    if (unlink(written.c_str()) != 0 && errno != ENOENT)
        return false;
    struct stat old = {};
    const bool replaces = stat(target.c_str(), &old) == 0;
    if (!WriteNewFile(written, bytes, replaces ? std::optional(old.st_mode & 07777) : std::nullopt))
        return false;
    if (rename(written.c_str(), target.c_str()) != 0) {
        unlink(written.c_str());
        return false;
    }
    SyncFolder(target.has_parent_path() ? target.parent_path() : ".");
    return true;
}

SharedFileLock::SharedFileLock(const Path& file)
{
    const Path name = Path(file).concat(".lock");
    // Not blocking: the name may be that of a pipe.
    const int fd = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, kOwnerOnly);
    if (fd == -1)
        return;
    if (PrepareLockFile(fd))
        for (int i = 0; i < kLockTries; ++i) {
            if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
                lockFile = fd;
                return;
            }
            usleep(1000);
        }
    close(fd);
}

SharedFileLock::~SharedFileLock()
{
    if (IsHeld())
        close(static_cast<int>(lockFile));
}

} // namespace platform
