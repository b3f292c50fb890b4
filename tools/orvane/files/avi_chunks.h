// The chunks of an AVI file, one after the other, whatever state the file is in. Two ways lead to them: along
// the chain of chunks, each of which says where the next begins, and by salvage where that chain does not
// hold.
#pragma once

#include "files/avi_records.h"
#include "files/byte_source.h"

#include <array>
#include <cstdint>
#include <optional>

struct AviChunk {
    uint32_t id = 0;
    uint64_t offset = 0; ///< of the first payload byte
    uint32_t size = 0;   ///< bytes of payload
};

/// Head of a chunk or list. Where the file ends in it, the missing bytes read as zero.
struct AviHead {
    uint32_t id = 0;
    uint32_t size = 0;
    uint32_t third = 0; ///< type of a list, first word of any other payload
};

/// Takes what is found, in file order; no chunk overlaps another.
class AviChunkTaker
{
  public:
    virtual ~AviChunkTaker() = default;
    /// The head of a list whose chunks follow.
    /// at  offset of the head
    virtual void TakeList(uint64_t at, const AviHead& head) = 0;
    /// A chunk, or a list as a whole; all of it lies inside the file.
    virtual void TakeChunk(const AviChunk& chunk) = 0;
};

/// What became of the chain.
struct AviChain {
    bool cut = false;          ///< it ends in a chunk that is longer than the file
    uint32_t brokenPlaces = 0; ///< places where no chunk begins where the one before ends
    uint64_t lostBytes = 0;    ///< that belong to no chunk
    uint64_t end = 0;          ///< where it ends
};

inline constexpr uint32_t kOrvaneMagic = MakeFourCC("ORVN");

AviHead ReadAviHead(const ByteSource& source, uint64_t at);

/// Four printable characters. The magic of a frame is none: whoever meets it as an id has been led into a
/// payload.
constexpr bool IsPlausibleId(uint32_t id)
{
    for (int shift = 0; shift < 32; shift += 8)
        if (const uint32_t c = id >> shift & 0xFF; c < 0x20 || c > 0x7E)
            return false;
    return id != kOrvaneMagic;
}

/// A list whose chunks are looked at; all others are stepped over as a whole.
constexpr bool IsSteppedInto(const AviHead& head)
{
    if (head.id == avi::kRiff)
        return head.third == avi::kAvi || head.third == avi::kAvix;
    return head.id == avi::kList &&
           (head.third == avi::kHdrl || head.third == avi::kStrl || head.third == avi::kOdml ||
            head.third == avi::kMovi || head.third == avi::kRec);
}

/// The stream whose video frame a chunk of this id is.
constexpr std::optional<uint32_t> StreamOfFrame(uint32_t id)
{
    const uint32_t kind = id >> 16;
    return kind == ('d' | 'c' << 8) || kind == ('d' | 'b' << 8) ? avi::StreamOfDigits(id) : std::nullopt;
}

/// A chunk of any stream: two digits and the kind of its content.
constexpr bool IsStreamData(uint32_t id)
{
    const uint32_t kind = id >> 16;
    return StreamOfFrame(id) ||
           ((kind == ('w' | 'b' << 8) || kind == ('t' | 'x' << 8)) && avi::StreamOfDigits(id));
}

/// An index of the chunks of one stream and segment.
constexpr bool IsSegmentIndex(uint32_t id)
{
    return (id & 0xFFFF) == ('i' | 'x' << 8) && avi::StreamOfDigits(id >> 16);
}

/// Follows the chain from the first byte of the file. A break ends it; what was taken up to then may be
/// wrong.
AviChain WalkChunks(const ByteSource& source, AviChunkTaker& taker);

/// Whether there is anything at or after a place that salvage could find.
bool CanSalvage(const ByteSource& source, uint64_t from);

/// Finds the chunks of a file whose chain is broken. The file is scanned once for what cannot be mistaken:
/// heads of frames, of lists and of indexes. No chunk reaches over such a place; between two of them the
/// chain is followed as far as it is credible. Sizes and heads that are damaged come from the indexes, where
/// these know them, and the checksums of the frames tell which of two sizes is right. A frame of unknown
/// size extends to the next recognized chunk: extra bytes do no harm, missing ones would.
AviChain SalvageChunks(const ByteSource& source, AviChunkTaker& taker);
