// A small file that several processes read and replace at the same time.
#pragma once

#include "platform/files.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

struct SharedFile {
    enum class State { Missing, Unreadable, Read };

    State state = State::Unreadable;
    std::string bytes;
};

/// What is larger, or no ordinary file, counts as unreadable. All settings together take some ten kilobytes.
inline constexpr size_t kMaxSharedFileBytes = 1U << 20;

SharedFile ReadSharedFile(const Path& file);

/// Writes the bytes to a new file, brings it to the disk and renames it, so that readers see the old bytes or
/// the new ones, also after a power failure. What has that file's name (".tmp") is removed first, and no link
/// is followed but `file` itself; its permissions stay. Only under the lock. False when that fails; the file
/// is then as it was.
bool ReplaceSharedFile(const Path& file, std::string_view bytes);

/// Keeps all others out who take it too, threads of this process included, until it is destroyed. What is
/// locked is a file beside the one meant, which stays, and which only its owner may open. Waits for some
/// seconds at most, so that a process that hangs with the lock does not make others hang. What is a link, has
/// a second name or belongs to somebody else is not locked.
class SharedFileLock
{
  public:
    explicit SharedFileLock(const Path& file);
    SharedFileLock(const SharedFileLock&) = delete;
    SharedFileLock& operator=(const SharedFileLock&) = delete;
    ~SharedFileLock();

    bool IsHeld() const { return lockFile != -1; }

  private:
    intptr_t lockFile = -1; // the system's handle
};

} // namespace platform
