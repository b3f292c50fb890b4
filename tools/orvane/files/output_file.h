// Where results go. A file appears under its name only when it is complete: until then it is NAME.part. Pipes
// and devices are written to as they are.
#pragma once

#include "platform/open_file.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <vector>

struct ToolError;

/// Bytes in sequence, with the right to go back and fill in a header.
class ByteSink
{
  public:
    virtual ~ByteSink() = default;
    /// Appends. Throws ToolError when the bytes cannot be kept.
    virtual void Write(std::span<const uint8_t> bytes) = 0;
    /// Replaces bytes that were written before.
    virtual void WriteAt(uint64_t offset, std::span<const uint8_t> bytes) = 0;
    /// Bytes appended so far.
    virtual uint64_t Position() const = 0;
};

/// What a run may do to names that are taken.
class OutputRules
{
  public:
    using Path = std::filesystem::path;

    bool force = false; ///< outputs replace existing files, and unfinished ones of earlier runs
    /// Asks whether to replace a file; empty when there is nobody to ask.
    std::function<bool(const std::string& name)> ask;
    bool outputIsTerminal = false; ///< standard output, which then takes no binary data

    /// No output overwrites this input, not through a link either.
    void Protect(const Path& input) { inputs.push_back(input); }
    bool IsInput(const Path& name) const;

    /// Decides before any work is done. Throws ToolError when a name is taken and may not be replaced,
    /// UsageError when it is an input. The answer for several files is asked for once. Returns the rules for
    /// OutputFile.
    OutputRules Check(std::span<const Path> names) const;

  private:
    friend class OutputFile;

    std::vector<Path> inputs;
    bool mayReplace = false; ///< the user has said so
};

class OutputFile final : public ByteSink
{
  public:
    enum class Folder { IsSynced, IsSyncedLater };

    /// Creates NAME.part, or where that is an input NAME.part.part; an older NAME is not touched. A link
    /// leads to the file that is written, a pipe or device is opened itself. Throws ToolError when the rules
    /// forbid it or the system refuses.
    OutputFile(const std::filesystem::path& name, const OutputRules& rules);
    /// An unfinished file stays, unless Discard was called.
    ~OutputFile() override;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::span<const uint8_t> bytes) override;
    void WriteAt(uint64_t offset, std::span<const uint8_t> bytes) override;
    uint64_t Position() const override { return position; }

    /// Throws ToolError when the output cannot go back: a pipe, many a device, a file that is appended to.
    /// kind  of the file, for the error
    void RequireSeek(const std::string& kind) const;

    /// Puts the bytes on the disk and makes the file appear under its name.
    void Commit(Folder folder = Folder::IsSynced);

    /// Puts the bytes on the disk. The file stays NAME.part.
    void Sync();

    /// Adds to an error in the middle of the work where the finished part of it is.
    /// frames  that are complete; without any the unfinished file goes
    void NamePart(ToolError& error, uint64_t frames);

  private:
    void OpenPart(const OutputRules& rules);
    [[noreturn]] void Fail(const std::error_code& error) const;
    bool IsStream() const { return partName.empty(); }

    std::filesystem::path finalName; ///< links followed
    std::filesystem::path partName;  ///< empty for pipes and devices
    bool replace;
    bool discard = false;
    bool committed = false;
    platform::OpenFile file;
    uint64_t position = 0;
};

/// Whether a name leads to a pipe, a device or a standard stream.
bool IsStreamName(const std::filesystem::path& name);
