// Writes one video stream as AVI 2.0. Every frame is a key frame. A file that was cut off at any point is
// readable up to its last whole frame: frames stand in order, each with its size, and only sizes of lists
// wait for the end.
#pragma once

#include "files/output_file.h"
#include "files/rational.h"

#include <cstdint>
#include <span>
#include <vector>

struct AviStreamFormat {
    uint32_t handler = 0;            ///< FourCC of the codec
    int width = 0;                   ///< pixels
    int height = 0;                  ///< rows
    Rational rate;                   ///< frames a second
    std::vector<uint8_t> bitmapInfo; ///< 40-byte bitmap header and what stands behind it
};

class AviWriter
{
  public:
    /// About 1 GiB: readers that know no further segments see the first, whose index has 32-bit offsets.
    static constexpr uint64_t kDefaultSegmentLimit = 1ULL << 30;
    static constexpr uint32_t kMaxSegments = 1024;

    /// Writes the head at once.
    /// sink          outlives the writer
    /// segmentLimit  bytes of one RIFF segment, kept unless a single frame is larger; below 2 GiB
    AviWriter(ByteSink& sink, AviStreamFormat format, uint64_t segmentLimit = kDefaultSegmentLimit);

    /// Appends a frame of less than 2 GiB; an empty one repeats the frame before it.
    void WriteFrame(std::span<const uint8_t> frame);

    /// Writes indexes and final sizes. Nothing may be written after it.
    void Finish();

    uint64_t FrameCount() const { return frameCount; }

  private:
    struct Entry {
        uint64_t offset; ///< of the payload in the file
        uint32_t size;
    };
    struct Segment {
        uint64_t indexOffset; ///< of the ix00 chunk
        uint32_t indexSize;   ///< with its chunk head
        uint32_t frames;
    };

    std::vector<uint8_t> MakeHead() const;
    void WriteChunk(uint32_t id, std::span<const uint8_t> payload);
    uint64_t SegmentSizeWith(uint64_t frameSize) const;
    void BeginSegment();
    void EndSegment();

    ByteSink& sink;
    AviStreamFormat format;
    uint64_t segmentLimit;

    uint64_t segmentStart = 0;     // of the open segment's RIFF chunk
    uint64_t moviStart = 0;        // of the open segment's LIST movi chunk
    std::vector<Entry> entries;    // frames of the open segment
    std::vector<Segment> segments; // finished ones
    uint32_t firstRiffSize = 0;    // 0 until the first segment is finished
    uint32_t firstMoviSize = 0;
    uint64_t frameCount = 0;
    uint32_t largestFrame = 0;
};
