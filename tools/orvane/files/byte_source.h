// Random access to the bytes of a file or of memory, with 64-bit offsets. Everything that parses foreign
// bytes reads through it, so that tests and fuzzers can feed memory.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <vector>

class ByteSource
{
  public:
    virtual ~ByteSource() = default;
    virtual uint64_t Size() const = 0;
    /// Fills `into` with the bytes from `offset` on and gives how many there were; fewer only at the end.
    virtual size_t Read(uint64_t offset, std::span<uint8_t> into) const = 0;

    /// All bytes of a stretch, fewer when the source ends earlier.
    std::vector<uint8_t> ReadBytes(uint64_t offset, size_t count) const;
};

class MemorySource final : public ByteSource
{
  public:
    /// `memory` must outlive the source.
    explicit MemorySource(std::span<const uint8_t> memory) : bytes(memory) {}
    uint64_t Size() const override { return bytes.size(); }
    size_t Read(uint64_t offset, std::span<uint8_t> into) const override;

  private:
    std::span<const uint8_t> bytes;
};

/// A file. Its size is taken when it is opened. Not for use by several threads at once.
class FileSource final : public ByteSource
{
  public:
    /// Throws ToolError when the file cannot be opened.
    explicit FileSource(const std::filesystem::path& path);
    uint64_t Size() const override { return size; }
    /// Throws ToolError when the system cannot read what the file should hold.
    size_t Read(uint64_t offset, std::span<uint8_t> into) const override;

  private:
    std::string name;
    mutable std::ifstream stream;
    uint64_t size = 0;
};

/// Paths and their texts: inside the tool all texts are UTF-8 on every system.
std::filesystem::path PathOf(const std::string& utf8);
std::string TextOf(const std::filesystem::path& path);
