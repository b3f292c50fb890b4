// Y4M as a source and a sink of pictures.
#pragma once

#include "files/frame_source.h"
#include "files/output_file.h"
#include "files/y4m_header.h"

#include <istream>
#include <memory>
#include <string>
#include <vector>

class Y4mReader final : public FrameSource
{
  public:
    /// Reads the first line. `stream` delivers bytes as they are (binary) and outlives the reader unless it
    /// is `owned`.
    Y4mReader(std::istream& stream, std::string name);
    Y4mReader(std::unique_ptr<std::istream> owned, std::string name);

    /// Of a file, as long as its FRAME lines are plain.
    std::optional<uint64_t> FrameCount() const override { return frameCount; }
    bool IsLive() const override { return live; }
    bool Next(std::span<uint8_t> picture) override;

  private:
    void CountFrames();
    void CheckFrameLine(const std::string& line);
    std::optional<std::string> ReadLine();
    void ReadExactly(std::span<uint8_t> bytes);

    std::unique_ptr<std::istream> owned;
    std::istream& stream;
    std::string name;
    Y4mKind kind = Y4mKind::Planar;
    std::vector<uint8_t> planes; // of one picture, where they are interleaved
    uint64_t frames = 0;
    std::optional<uint64_t> frameCount;
    bool live = false;
};

class Y4mWriter final : public FrameSink
{
  public:
    /// Writes the first line. Exactly one of `file` and `stream` is used; `stream` outlives the writer.
    Y4mWriter(std::unique_ptr<OutputFile> file, std::ostream* stream, VideoInfo info,
              const std::string& name);

    void Write(std::span<const uint8_t> picture, uint64_t number) override;
    void Finish() override;
    void NamePart(ToolError& error, uint64_t frames) override;

  private:
    void WriteBytes(std::span<const uint8_t> bytes);
    void CheckStream() const;

    std::unique_ptr<OutputFile> file;
    std::ostream* stream;
    VideoInfo info;
    Y4mKind kind;
    std::vector<uint8_t> planes; // of one picture, where they are interleaved
};

/// Between the planes of a Y4M picture, one behind the other, and an interleaved picture. Both have the same
/// size.
void InterleaveY4m(Y4mKind kind, std::span<const uint8_t> planes, std::span<uint8_t> picture);
void DeinterleaveY4m(Y4mKind kind, std::span<const uint8_t> picture, std::span<uint8_t> planes);
