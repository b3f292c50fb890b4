// What a person sees on standard error while a command works: one line, written again and again.
#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>

class Progress
{
  public:
    /// stream      null: nothing is shown
    /// frameCount  if it is known
    Progress(std::ostream* stream, std::optional<uint64_t> frameCount);
    /// Clears the line.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// A frame is done: its size as a picture and as a frame.
    void Add(uint64_t rawBytes, uint64_t compressedBytes);

    uint64_t Frames() const { return frames; }
    uint64_t RawBytes() const { return raw; }
    uint64_t CompressedBytes() const { return compressed; }
    double Seconds() const;

  private:
    void Show();

    std::ostream* stream;
    std::optional<uint64_t> frameCount;
    std::chrono::steady_clock::time_point start;
    std::chrono::steady_clock::time_point shown;
    uint64_t frames = 0;
    uint64_t raw = 0;
    uint64_t compressed = 0;
    bool visible = false;
};

/// Raw bytes for each compressed byte; 0 when there are none.
double Ratio(uint64_t rawBytes, uint64_t compressedBytes);
