#include "platform/shared_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr int kLockTries = 5000; // a millisecond apart

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
    {
        const Descriptor output(open(written.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
        if (output.fd == -1)
            return false;
        if (!WriteAll(output.fd, bytes)) {
            unlink(written.c_str());
            return false;
        }
    }
    if (rename(written.c_str(), target.c_str()) == 0)
        return true;
    unlink(written.c_str());
    return false;
}

SharedFileLock::SharedFileLock(const Path& file)
{
    const Path name = Path(file).concat(".lock");
    const int fd = open(name.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd == -1)
        return;
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
