// Numbered pictures as a sequence: shot_%04d.png stands for shot_0000.png, shot_0001.png and so on. A name
// without a number pattern is a sequence of one.
#pragma once

#include "files/frame_source.h"
#include "files/output_file.h"
#include "files/still_image.h"

#include <deque>
#include <filesystem>
#include <future>
#include <memory>
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

/// The files that a name stands for: those of its pattern from the first number on, or the name itself.
/// Throws ToolError when a pattern has none or one is missing between.
std::vector<std::filesystem::path> FilesOf(const std::filesystem::path& name);

class StillReader final : public FrameSource
{
  public:
    /// Finds the files and reads the first. Throws ToolError when there is none, or a number is missing.
    explicit StillReader(const std::filesystem::path& name);

    std::optional<uint64_t> FrameCount() const override { return frameCount; }
    bool Next(std::span<uint8_t> picture) override;

  private:
    void Open();
    bool Load();

    std::vector<std::filesystem::path> files;
    size_t number = 0;               // of the open file
    std::unique_ptr<StillFile> file; // files[number]
    StillImage current;
    bool first = true; // nobody has taken the first picture yet
    uint64_t frameCount = 0;
};

class StillWriter final : public FrameSink
{
  public:
    /// frames  more than one needs a number pattern (UsageError); no name of theirs may be taken
    /// Pictures are encoded and written by threads, one for each processor, so that errors of one may come
    /// with a later one or with Finish.
    StillWriter(const std::filesystem::path& name, StillKind kind, VideoInfo info, FrameNumbers frames,
                const OutputRules& rules);

    void Write(std::span<const uint8_t> picture, uint64_t number) override;
    void Finish() override;

  private:
    std::filesystem::path NameOf(uint64_t number) const { return pattern ? pattern->NameOf(number) : name; }
    void FinishOldest();

    std::filesystem::path name;
    std::optional<NumberPattern> pattern;
    StillKind kind;
    VideoInfo info;
    OutputRules rules;
    size_t limit;                          // of pictures at the same time
    std::deque<std::future<void>> running; // last: the threads use the members above
};
