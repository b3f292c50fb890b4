// Test vectors: small streams and files, each with a text that says what it shows and what a reader answers.
//
//   data/NAME.stream  configuration record and frames, each preceded by its size in 32 bits, little-endian
//   data/NAME.avi     a file
//   data/NAME.txt     what it shows; after an empty line the answers, one for the record and one for each
//   frame
#pragma once

#include "common/frame_header.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace vectors {

using Bytes = std::vector<uint8_t>;

struct Stream {
    Bytes record;
    std::vector<Bytes> frames;
};

struct Vector {
    std::string name;
    std::string text; ///< what it shows
    Bytes bytes;
    bool isAvi = false;
    /// By frame: the format leaves samples of it open, so that its picture is not compared.
    std::vector<bool> unspecified{};
};

/// All of them, the same bytes on every system.
std::vector<Vector> AllVectors();

void AddEncodedStreams(std::vector<Vector>& all);
void AddStructureStreams(std::vector<Vector>& all);
void AddCodeStreams(std::vector<Vector>& all);
void AddRefusedStreams(std::vector<Vector>& all);
void AddFiles(std::vector<Vector>& all);

Bytes JoinStream(const Stream& stream);
Stream SplitStream(const Bytes& bytes);

/// Adds a stream.
void AddAny(std::vector<Vector>& all, std::string name, std::string text, const Stream& stream);
/// Adds a stream whose frames are all decoded; throws if they are not. `unspecified` holds the numbers of
/// frames with open samples.
void Add(std::vector<Vector>& all, std::string name, std::string text, const Stream& stream,
         const std::vector<size_t>& unspecified = {});

inline Bytes BytesOf(const FrameHeader& header)
{
    const auto* const bytes = reinterpret_cast<const uint8_t*>(&header);
    return {bytes, bytes + sizeof header};
}

inline void SetWord(Bytes& bytes, size_t at, uint32_t value)
{
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

inline uint32_t WordAt(const Bytes& bytes, size_t at)
{
    uint32_t value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

/// Numbers that are the same everywhere.
class Numbers
{
  public:
    explicit Numbers(uint32_t seed) : state(seed * 2654435761U + 1) {}
    uint32_t Next()
    {
        state = state * 1664525 + 1013904223;
        return state >> 8;
    }

  private:
    uint32_t state;
};

} // namespace vectors
