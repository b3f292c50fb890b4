// Files as they are, without a buffer: whatever ends the process, they hold all that Write has returned from.
#pragma once

#include "platform/files.h"

#include <cstddef>
#include <cstdint>
#include <system_error>

namespace platform {

/// An open file, pipe or device. Moves, and closes itself. Errors are those of the system. Not for several
/// threads at the same time.
class OpenFile
{
  public:
    enum class Mode {
        Read,      ///< a pipe opens at once, and its reads wait
        CreateNew, ///< for writing; fails when the name exists
        TakeOver,  ///< an existing file for writing, emptied; fails while another run writes it
        Stream,    ///< a pipe or device for writing in sequence, or what a name of standard output leads to:
                   ///< a file that holds something is appended to
    };

    OpenFile() = default;
    OpenFile(const Path& name, Mode mode, std::error_code& error);
    /// Never closed.
    static OpenFile StandardInput();
    static OpenFile StandardOutput();
    OpenFile(OpenFile&& other) noexcept;
    OpenFile& operator=(OpenFile&& other) noexcept;
    ~OpenFile();

    /// Waits for bytes and gives how many there were; 0 at the end, after an error, and once the process was
    /// asked to end.
    size_t Read(void* bytes, size_t count, std::error_code& error) const;
    /// Appends all bytes. Waits for a pipe that is full; an error once the process was asked to end.
    void Write(const void* bytes, size_t count, std::error_code& error) const;
    /// Replaces bytes that were written before. Only with CanSeek.
    void WriteAt(uint64_t offset, const void* bytes, size_t count, std::error_code& error) const;
    /// Waits until the bytes are on the disk.
    void Sync(std::error_code& error) const;
    void Close(std::error_code& error);

    bool CanSeek() const;
    bool IsTerminal() const;
    /// Whether it is an ordinary file, whose bytes are all there.
    bool IsRegular() const;

  private:
    static constexpr intptr_t kNone = -1;

    intptr_t handle = kNone; // the system's
    bool owned = true;
    bool appends = false; // writes go to the end, wherever that is
};

/// Renames a file within a folder. `replace` false: fails when the new name exists.
void RenameFile(const Path& from, const Path& to, bool replace, std::error_code& error);

/// Waits until the names of a folder are on the disk, where the system can do that.
void SyncFolder(const Path& folder);

/// Whether a name leads to a stream that this process was started with, whatever that is.
bool IsStandardStreamName(const Path& name);

/// Whether a name leads to the pipe or file to which standard output goes.
bool IsStandardOutput(const Path& name);

} // namespace platform
