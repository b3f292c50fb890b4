// Reads the first stream of this codec from an AVI file of any origin and in any state.
//
// The chain of chunks is followed from the first byte to the last, without belief in the sizes of lists.
// Where it does not hold (a size that lies, a head that is damaged, frames that no chunk names, an index that
// names other frames), the file is salvaged: its frames are found by their own headers. Indexes are compared
// with the frames that were found; a whole index gives the playing order.
#pragma once

#include "files/avi_chunks.h"
#include "files/byte_source.h"
#include "files/rational.h"

#include <cstdint>
#include <string>
#include <vector>

struct AviFrame {
    uint64_t offset = 0; ///< of the first payload byte
    uint32_t size = 0;   ///< 0: the picture before it stays

    bool operator==(const AviFrame&) const = default;
};

enum class AviIndexState {
    None,
    Whole, ///< names every frame of the file, and nothing else
    Wrong, ///< incomplete, or names what is not there
};

/// Frames that the index names and that are not in the file.
struct AviGap {
    size_t before = 0;  ///< number of the frame, among those that were found, before which they are missing
    uint64_t count = 0; ///< 1 or more
};

struct AviFile {
    uint32_t handler = 0;            ///< of the stream header, unchanged; may be 0
    std::vector<uint8_t> bitmapInfo; ///< strf unchanged, at most kMaxBitmapInfo; empty when it is lost
    Rational rate;                   ///< 25/1 when the file has none
    bool rateIsKnown = true;         ///< the file has a rate
    int stream = 0;                  ///< number of the stream in the file, from 0
    std::vector<AviFrame> frames;    ///< in playing order, all inside the file
    std::vector<AviGap> gaps;        ///< in playing order
    /// By stream number what describes the streams: strh, strf, strd, strn, vprp unchanged.
    std::vector<std::vector<AviChunk>> streams;
    std::vector<AviChunk>
        others; ///< other chunks and lists that are no part of this stream's video, in file order
    AviIndexState index = AviIndexState::None;
    uint64_t unindexed = 0;     ///< frames that a wrong index lacks, if that is all that is wrong with it
    bool reordered = false;     ///< the index plays the frames in another order than they are stored in
    bool cut = false;           ///< the file ends before what it promises
    uint32_t brokenPlaces = 0;  ///< places where the chain of chunks was broken
    bool mayLackFrames = false; ///< bytes are lost, and neither index nor counts say that no frame was there
    std::vector<std::string>
        headFaults; ///< what is wrong with the headers: lost, or counts and rates that lie

    static constexpr size_t kMaxBitmapInfo = 4096;

    /// Frames that are known to be missing.
    uint64_t MissingFrames() const;
    /// "2 frames before frame 7" or "1 frame at the end".
    std::string TextOf(const AviGap& gap) const;
    /// Where a file that is cut off ends: "after its first 2 frames", "before the end of its first frame".
    std::string WhereCut() const;
    /// What is wrong with the index, as "the index lacks 2 of 6 frames"; empty for a whole one.
    std::string IndexFault() const;
    bool IsWhole() const
    {
        return !cut && brokenPlaces == 0 && index == AviIndexState::Whole && headFaults.empty() &&
               gaps.empty();
    }
};

/// Whether a FourCC, in any case, is one of this codec's seven or its generic name.
bool IsOurFourCC(uint32_t fourcc);

/// Never reads outside the source, takes memory in proportion to the source at most, and time in proportion
/// to it. name  for errors Throws ToolError when the file has neither a stream of this codec nor a frame of
/// it.
AviFile ReadAvi(const ByteSource& source, const std::string& name);
