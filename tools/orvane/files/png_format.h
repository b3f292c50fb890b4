// What the reader and the writer of PNG pictures share.
//
//   signature, then chunks: length of the payload (4 bytes), type (4), payload, CRC-32 of type and payload
//   (4) IHDR  width, height (4 each), bit depth, color type, compression, filter, interlace (1 each) PLTE the
//   palette: R G B for each entry tRNS  transparency: alpha of palette entries, or the one gray value or
//   color that is transparent IDAT  one zlib stream over all of them: each row is a filter type and its
//   filtered bytes IEND  nothing
//
// Numbers are big-endian.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace png {

inline constexpr uint8_t kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
inline constexpr uint32_t kMaxLength = 0x7FFFFFFF; ///< of a chunk, and of a side of the picture

constexpr uint32_t ChunkType(const char (&name)[5])
{
    return static_cast<uint32_t>(name[0]) << 24 | static_cast<uint32_t>(name[1]) << 16 |
           static_cast<uint32_t>(name[2]) << 8 | static_cast<uint32_t>(name[3]);
}

inline constexpr uint32_t kHeader = ChunkType("IHDR");
inline constexpr uint32_t kPalette = ChunkType("PLTE");
inline constexpr uint32_t kTransparency = ChunkType("tRNS");
inline constexpr uint32_t kData = ChunkType("IDAT");
inline constexpr uint32_t kEnd = ChunkType("IEND");
inline constexpr uint32_t kAnimation = ChunkType("acTL");

inline constexpr size_t kHeaderSize = 13;

enum ColorType : uint8_t { kGray = 0, kRgb = 2, kIndexed = 3, kGrayAlpha = 4, kRgba = 6 };
enum Filter : uint8_t { kNone, kSub, kUp, kAverage, kPaeth };

/// The neighbor that left + up - upperLeft is closest to; ties go to left, then up.
inline uint8_t Paeth(uint8_t left, uint8_t up, uint8_t upperLeft)
{
    const int toLeft = std::abs(up - upperLeft);
    const int toUp = std::abs(left - upperLeft);
    const int toUpperLeft = std::abs(left + up - 2 * upperLeft);
    const uint8_t nearer = toUp <= toUpperLeft ? up : upperLeft;
    return toLeft <= toUp && toLeft <= toUpperLeft ? left : nearer;
}

} // namespace png
