// Checksums of a stream, by which damage is found and located without the source.
//
// For each frame they say how it can be known again (size and hash of its bytes), what its picture is (hash
// of the whole and of each band of rows, in the native layout), and which bytes are which (hash of each
// block). They stand in a chunk of the AVI file. All hashes are XXH3, 64 bits, seed 0; those of blocks its
// low half.
//
//   offset  size
//     0      8    hash of all bytes of the chunk behind this one
//     8      4    version: 1
//    12      4    rows of a band: 28
//    16      4    frames
//    20      4    bands of a picture
//    24      4    blocks of a frame
//    28           for each frame: size (4 bytes), hash of the frame (8), hash of the picture (8), hashes of
//    its
//                 bands (8 each), hashes of its blocks (4 each)
#pragma once

#include "common/frame_header.h"
#include "files/pixel_layout.h"

#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <vector>

struct FrameChecksums {
    uint32_t size = 0; ///< of the compressed frame, bytes
    uint64_t frame = 0;
    uint64_t picture = 0;
    std::vector<uint64_t> bands;
    std::vector<uint32_t> blocks;
};

/// A band of the checksums is a band of a frame.
inline constexpr int kChecksumBandRows = kBlockHeight;

/// Hashes frames of a stream and their pictures. Threads may share one.
class FrameHasher
{
  public:
    /// record  of the stream; its size fits the native layout
    FrameHasher(const CompressedFormat& format, const FrameHeader& record);

    size_t Bands() const { return bands; }
    size_t Blocks() const { return bands * static_cast<size_t>(planes); }

    static uint64_t HashBytes(std::span<const uint8_t> bytes);
    /// picture  tight, in the native layout
    std::vector<uint64_t> HashBands(std::span<const uint8_t> picture) const;
    /// The blocks of a frame, Blocks() of them; zeros when their places cannot be read.
    std::vector<uint32_t> HashBlocks(std::span<const uint8_t> frame) const;
    FrameChecksums Hash(std::span<const uint8_t> picture, std::span<const uint8_t> frame) const;

  private:
    const PixelLayout* layout;
    FrameHeader record;
    int planes;
    size_t bands;
};

/// What stands in a chunk.
class ChecksumTable
{
  public:
    ChecksumTable(size_t bands_, size_t blocks_) : bands(bands_), blocks(blocks_) {}

    /// Nothing when the chunk is damaged, of another version, or does not belong to pictures of so many
    /// bands.
    static std::optional<ChecksumTable> Parse(std::span<const uint8_t> chunk, size_t bands, size_t blocks);
    /// The same for pictures of any size: bands and blocks are those that the chunk says.
    static std::optional<ChecksumTable> Parse(std::span<const uint8_t> chunk);

    /// Appends a frame, as long as the chunk stays below 512 MiB.
    void Add(const FrameChecksums& frame);
    /// Appends the frames of another table of the same shape.
    void Add(const ChecksumTable& other);
    /// The payload of the chunk.
    std::vector<uint8_t> Chunk() const;

    size_t Count() const { return entries.size() / EntrySize(); }
    FrameChecksums At(size_t index) const;
    uint32_t SizeAt(size_t index) const;
    uint64_t FrameHashAt(size_t index) const;

  private:
    size_t EntrySize() const { return 20 + 8 * bands + 4 * blocks; }

    size_t bands;
    size_t blocks;
    std::vector<uint8_t> entries; ///< as they stand in the chunk
};

/// Finds the checksums of the frames of a file. A frame whose bytes are known is that frame wherever it
/// stands, so that cutting and joining files raises no alarm. One whose bytes are not known is the one that
/// follows on the frame before it, or that the frame after it follows on, if it has that one's size and
/// nobody else is it: it was damaged. All others came from elsewhere and have no checksums.
class FrameMatcher
{
  public:
    /// table  outlives the matcher
    /// first  the number that the first frame has if the file was not edited
    explicit FrameMatcher(const ChecksumTable& table, size_t first = 0);

    /// For all frames of a file in order: the number of its checksums if its bytes are known.
    std::optional<size_t> Add(uint64_t hash, uint32_t size);
    /// Once all frames were added: for each of them the number of its checksums, also of damaged ones.
    std::vector<std::optional<size_t>> Finish();
    /// Whether the frame that was added as number `index` was found by its bytes.
    bool IsKnown(size_t index) const { return known.contains(hashes[index]); }

  private:
    void Take(size_t frame, size_t entry);

    const ChecksumTable& table;
    std::unordered_map<uint64_t, size_t> known; ///< the first of several equal ones
    std::vector<std::optional<size_t>> matches;
    std::vector<uint32_t> sizes;
    std::vector<uint64_t> hashes;
    std::vector<bool> taken;
    size_t first;
    size_t expected; ///< what follows on the frame before
};
