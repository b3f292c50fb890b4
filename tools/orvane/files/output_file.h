// Where results go. A file appears under its name only when it is complete: until then it is NAME.part.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

struct ToolError;

/// Bytes in sequence, with the right to go back and fill in a head.
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

/// Written without a buffer of ours: whatever ends the process, the file holds all that Write has returned from.
class OutputFile final : public ByteSink
{
  public:
    /// Creates NAME.part; an older NAME stays untouched. Throws ToolError when it cannot be made.
    explicit OutputFile(const std::filesystem::path& name);

    void Write(std::span<const uint8_t> bytes) override;
    void WriteAt(uint64_t offset, std::span<const uint8_t> bytes) override;
    uint64_t Position() const override { return position; }

    /// Makes the file appear under its name, replacing an older one. Without it the bytes stay in NAME.part.
    void Commit();

    static std::filesystem::path PartName(std::filesystem::path name) { return name += ".part"; }

  private:
    [[noreturn]] void Fail() const;

    std::filesystem::path finalName;
    std::filesystem::path partName;
    std::ofstream stream;
    uint64_t position = 0;
};

/// Adds to an error in the middle of the work where the finished part of it is.
/// frames  that NAME.part holds whole
void NamePart(ToolError& error, const std::filesystem::path& name, uint64_t frames);

/// Refuses (UsageError) an output whose name, finished or unfinished, is the input itself.
void CheckNotInput(const std::filesystem::path& input, const std::filesystem::path& output);
