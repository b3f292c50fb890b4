// Generated pictures of a wanted compressibility: smooth shapes under noise whose strength is found by
// search.
#pragma once

#include "core/orvane.h"

#include <cstdint>
#include <vector>

/// One stream of the class Orvane, with a picture whose Median frames have a wanted number of bits a sample.
struct BenchStream {
    FormatId host;
    FormatId code;
    uint32_t width;
    uint32_t height;
    PredictMethod method;
    double bitsPerSample; ///< wanted, 2.4 is soft, 4.3 hard
};

/// The picture of a stream, tightly stored, and what its Median frame really takes.
struct BenchPicture {
    std::vector<uint8_t> bytes;
    double bitsPerSample;
};
BenchPicture MakeBenchPicture(const BenchStream& stream);

/// Memory from a 64-byte boundary on.
class AlignedBytes
{
  public:
    explicit AlignedBytes(size_t size) : bytes(size + 64), start(alignUp(bytes.data(), 64)) {}
    AlignedBytes(const AlignedBytes&) = delete;
    AlignedBytes& operator=(const AlignedBytes&) = delete;
    uint8_t* data() { return start; }

  private:
    std::vector<uint8_t> bytes;
    uint8_t* start;
};

/// A codec in the middle of both runs of a stream, its buffers warm.
class BenchRun
{
  public:
    BenchRun(const BenchStream& stream, const BenchPicture& picture, int threads);

    uint32_t Encode();
    void Decode();
    /// Whether the last frame decodes to the picture.
    bool IsLossless();
    size_t PictureBytes() const { return pictureBytes; }
    uint32_t FrameBytes() const { return frameBytes; }
    uint64_t Samples() const;

  private:
    const BenchStream streamSpec;
    size_t pictureBytes;
    AlignedBytes source;
    AlignedBytes back;
    std::vector<uint8_t> frame;
    uint32_t frameBytes = 0;
    FrameHeader record{};
    Orvane encoder{true, true};
    Orvane decoder{true, true};
    CompressInfo compressInfo;
    CompressInfo decompressInfo;
};
