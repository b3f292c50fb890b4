// What the indexes and checksums of a damaged AVI file tell about its chunks: where a chunk begins, its id
// and size, and which frames have which bytes.
#pragma once

#include "files/avi_chunks.h"

#include <unordered_set>
#include <vector>

class AviLostSizes
{
  public:
    /// `source` outlives the object.
    explicit AviLostSizes(const ByteSource& source_) : source(source_) {}

    /// Takes all that is known of the file, in file order.
    void TakeHead(uint64_t at, const AviHead& head);
    /// Reads the indexes, and keeps those of which at least half the entries lead to the head of the chunk
    /// that they name.
    void Finish();

    /// The chunk whose payload begins here, as an index says; null when none does.
    const AviChunk* Find(uint64_t payload) const;
    /// The first such chunk at or after a place.
    const AviChunk* FindFrom(uint64_t payload) const;
    /// Whether a table of checksums has a frame with these bytes.
    bool IsKnownFrame(uint64_t payload, uint32_t size);
    /// The id of chunks with frames: the most frequent one.
    uint32_t FrameId() const { return frameId; }

  private:
    void ReadSegmentIndex(const AviChunk& chunk);
    void ReadOldIndex(const AviChunk& chunk);
    size_t CountHits(const std::vector<AviChunk>& entries) const;
    void KeepIfTrue(std::vector<AviChunk> entries);
    void ReadChecksums();

    const ByteSource& source;
    std::vector<AviChunk> indexes;
    std::vector<AviChunk> tables;
    std::vector<uint64_t> oldBases;   ///< places that offsets of idx1 may count from
    std::vector<uint64_t> frameHeads; ///< of the first few chunks with frames
    uint64_t indexEnd = 0;            ///< of the latest index: what lies in it is no index
    uint32_t frameId = MakeFourCC("00dc");
    std::vector<size_t> frameCounts; ///< by stream
    std::vector<AviChunk> known;     ///< by offset
    bool checksumsRead = false;
    std::unordered_set<uint64_t> frameHashes;
};
