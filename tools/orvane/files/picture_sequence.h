// Numbered pictures as a sequence: shot_%04d.png stands for shot_0000.png, shot_0001.png and so on. A name
// without a number pattern is a sequence of one.
#pragma once

#include "files/frame_source.h"
#include "files/still_image.h"

#include <filesystem>
#include <string>
#include <vector>

/// The file name of a sequence with one %d or %0Nd in it.
class NumberPattern
{
  public:
    /// Nothing when the name has no pattern. Throws UsageError for two patterns, or a % with anything else
    /// behind it.
    static std::optional<NumberPattern> Parse(const std::filesystem::path& name);

    std::filesystem::path NameOf(uint64_t number) const;
    /// The number that gives this file name; nothing if none does.
    std::optional<uint64_t> NumberOf(const std::string& fileName) const;
    const std::filesystem::path& Folder() const { return folder; }

  private:
    std::string FileName(uint64_t number) const;

    std::filesystem::path folder;
    std::string before; // of the file name
    std::string behind;
    size_t digits = 1; // at least
};

class StillReader final : public FrameSource
{
  public:
    /// Finds the files and reads the first. Throws ToolError when there is none, or a number is missing.
    explicit StillReader(const std::filesystem::path& name);

    std::optional<uint64_t> FrameCount() const override { return files.size(); }
    bool Next(std::span<uint8_t> picture) override;

  private:
    std::vector<std::filesystem::path> files;
    StillImage current; // the picture of files[next] if `loaded`
    bool loaded = false;
    size_t next = 0;
};

class StillWriter final : public FrameSink
{
  public:
    /// frameCount  more than one needs a number pattern (UsageError)
    StillWriter(const std::filesystem::path& name, StillKind kind, const VideoInfo& info,
                uint64_t frameCount);

    void Write(std::span<const uint8_t> picture, uint64_t number) override;
    void Finish() override {}

  private:
    std::filesystem::path name;
    std::optional<NumberPattern> pattern;
    StillKind kind;
    VideoInfo info;
};
