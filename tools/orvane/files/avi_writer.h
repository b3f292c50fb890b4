// Writes one video stream as AVI 2.0, with whatever other streams stand beside it. Every frame is a key
// frame. A file that was cut off at any point is readable up to its last whole frame: frames stand in order,
// each with its size, and only sizes of lists wait for the end.
#pragma once

#include "files/output_file.h"
#include "files/rational.h"

#include <cstdint>
#include <span>
#include <vector>

/// A stream of another kind, copied as it is.
struct AviOtherStream {
    std::vector<uint8_t> header; ///< payload of strh; the length and the buffer size in it are made anew
    std::vector<uint8_t> chunks; ///< strf and what else describes the stream, each with its head and padding
};

/// A chunk between or after the frames, which readers that do not know it pass over.
struct AviExtraChunk {
    uint32_t id = 0;
    std::vector<uint8_t> payload;
};

struct AviStreamFormat {
    uint32_t handler = 0;                 ///< FourCC of the codec
    int width = 0;                        ///< pixels
    int height = 0;                       ///< rows
    Rational rate;                        ///< frames a second
    std::vector<uint8_t> bitmapInfo;      ///< 40-byte bitmap header and what stands behind it
    std::vector<uint8_t> chunks{};        ///< what else describes the stream, as in AviOtherStream
    uint32_t number = 0;                  ///< of the video stream, at most as many as there are others
    std::vector<AviOtherStream> others{}; ///< take the other numbers from 0 on; at most 99
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

    /// Appends a chunk of another stream.
    /// stream  its number
    /// kind    the two characters behind the number, as they stand in a chunk id: 'w' | 'b' << 8
    void WriteOther(uint32_t stream, uint32_t kind, std::span<const uint8_t> payload);

    /// Appends a chunk between the frames, which no index lists.
    void WriteExtra(const AviExtraChunk& extra) { WriteChunk(extra.id, extra.payload); }

    /// Writes indexes, extra chunks and final sizes. Nothing may be written after it.
    /// extras  of 1 GiB at most together
    void Finish(std::span<const AviExtraChunk> extras = {});

    uint64_t FrameCount() const { return tracks[format.number].chunks; }

  private:
    struct Entry {
        uint32_t stream;
        uint32_t id;
        uint32_t size;
        uint64_t offset; ///< of the payload in the file
    };
    /// One row of the index of indexes.
    struct SegmentIndex {
        uint64_t offset; ///< of the index chunk
        uint32_t size;   ///< with its chunk head
        uint32_t entries;
    };
    /// What has been written of a stream.
    struct Track {
        const AviOtherStream* copied = nullptr; ///< null: the video stream
        std::vector<SegmentIndex> indexes;      ///< of the finished segments
        uint64_t chunks = 0;
        uint64_t bytes = 0;
        uint32_t largest = 0;
    };

    std::vector<uint8_t> MakeHead() const;
    uint32_t KindOf(uint32_t stream) const;
    std::vector<uint8_t> MakeVideoHeader() const;
    std::vector<uint8_t> MakeSegmentIndex(uint32_t stream) const;
    std::vector<uint8_t> MakeOldIndex() const;
    void Append(uint32_t stream, uint32_t kind, std::span<const uint8_t> payload);
    void WriteChunk(uint32_t id, std::span<const uint8_t> payload);
    uint64_t SegmentSizeWith(uint64_t chunkSize) const;
    void BeginSegment();
    void EndSegment(std::span<const AviExtraChunk> extras);

    ByteSink& sink;
    AviStreamFormat format;
    uint64_t segmentLimit;

    uint64_t segmentStart = 0;  // of the open segment's RIFF chunk
    uint64_t moviStart = 0;     // of the open segment's LIST movi chunk
    std::vector<Entry> entries; // chunks of the open segment
    std::vector<Track> tracks;  // by stream number
    uint32_t segments = 0;      // finished ones
    uint32_t firstRiffSize = 0; // 0 until the first segment is finished
    uint32_t firstMoviSize = 0;
    uint32_t firstFrames = 0; // in the first segment
};
