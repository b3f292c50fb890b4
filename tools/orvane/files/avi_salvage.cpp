// Salvage in three steps: scan for anchors, read the indexes, put the chunks together.
//
// An anchor is a place that cannot be mistaken, since eight bytes or more are as they must be: a chunk of
// video that begins with the magic of a frame, a frame by itself (header and first words of its offset table
// fit each other), a list, a stream header, an index, a table of checksums.
#include "files/avi_chunks.h"
#include "files/avi_lost_sizes.h"
#include "files/fourcc.h"
#include "files/frame_start.h"
#include "files/little_endian.h"
#include "files/window_source.h"

#include <algorithm>
#include <vector>

namespace {

/// Ids in AVI files of this codec, apart from those of stream data and indexes.
constexpr uint32_t kKnownIds[] = {avi::kRiff, avi::kList, avi::kAvih, avi::kStrh,      avi::kStrf,
                                  avi::kStrd, avi::kStrn, avi::kVprp, avi::kIndx,      avi::kDmlh,
                                  avi::kJunk, avi::kIdx1, avi::kOdml, avi::kChecksums, avi::kY4mFields};

bool IsKnownId(uint32_t id)
{
    return IsStreamData(id) || IsSegmentIndex(id) || std::ranges::find(kKnownIds, id) != std::end(kKnownIds);
}

struct Anchor {
    uint64_t at;
    bool bare; ///< a frame begins here; else the head of a chunk or list
};

/// Whether a chunk or list that cannot be mistaken begins with these bytes, kAnchorBytes of them.
constexpr size_t kAnchorBytes = 32;
bool IsAnchoredHead(std::span<const uint8_t> bytes)
{
    const AviHead head{Get<uint32_t>(bytes, 0), Get<uint32_t>(bytes, 4), Get<uint32_t>(bytes, 8)};
    if (StreamOfFrame(head.id))
        return head.third == kOrvaneMagic;
    if (IsSteppedInto(head))
        return head.third != avi::kRec;
    if (IsSegmentIndex(head.id)) // entry size, kind, the chunks that it lists
        return head.third == (avi::kIndexEntrySize / 4 | uint32_t{avi::kIndexOfChunks} << 24) &&
               (Get<uint32_t>(bytes, 16) & 0xFFFF) == head.id >> 16;
    if (head.id == avi::kIdx1)
        return IsStreamData(head.third);
    if (head.id == avi::kChecksums) // version and rows of a band
        return Get<uint32_t>(bytes, 16) == 1 && Get<uint32_t>(bytes, 20) == 28;
    return head.id == avi::kStrh &&
           (head.third == avi::kVids || head.third == MakeFourCC("auds") || head.third == MakeFourCC("txts"));
}

std::vector<Anchor> FindAnchors(const ByteSource& source, uint64_t from)
{
    constexpr size_t kWindow = 1 << 20;
    constexpr size_t kBefore = avi::kChunkHead, kAfter = std::max(kAnchorBytes, kFrameStartBytes);
    const uint64_t size = source.Size();
    std::vector<Anchor> anchors;
    std::vector<uint8_t> window(kBefore + kWindow + kAfter);
    for (uint64_t start = from; start < size; start += kWindow) {
        // Zeros before the first byte and after the last one make all places alike.
        std::ranges::fill(window, uint8_t{0});
        const uint64_t before = std::min<uint64_t>(start, kBefore);
        const std::span<uint8_t> bytes(window);
        source.Read(start - before, bytes.subspan(kBefore - static_cast<size_t>(before)));
        const size_t count = static_cast<size_t>(std::min<uint64_t>(kWindow, size - start));
        for (size_t i = kBefore; i < kBefore + count; ++i) {
            const uint8_t first = bytes[i];
            const bool mayBegin = first == 'O' || first == 'R' || first == 'L' || first == 'i' ||
                                  first == 's' || (first >= '0' && first <= '9');
            if (!mayBegin)
                continue;
            const uint64_t at = start + i - kBefore;
            if (IsAnchoredHead(bytes.subspan(i, kAnchorBytes)))
                anchors.push_back({at, false});
            else if (!StreamOfFrame(Get<uint32_t>(bytes, i - avi::kChunkHead)) &&
                     IsFrameStart(bytes.subspan(i, kFrameStartBytes)))
                anchors.push_back({at, true});
        }
    }
    return anchors;
}

class AviSalvage
{
  public:
    AviSalvage(const ByteSource& whole, AviChunkTaker& taker_)
        : source(whole), size(source.Size()), taker(taker_), anchors(FindAnchors(source, 0)), lost(source)
    {
        for (const Anchor& anchor : anchors)
            if (!anchor.bare)
                lost.TakeHead(anchor.at, ReadAviHead(source, anchor.at));
        lost.Finish();
    }

    AviChain Run();

  private:
    /// The first anchor at or after a place; anchors.size() when there is none.
    size_t AnchorFrom(uint64_t at) const
    {
        return static_cast<size_t>(std::ranges::lower_bound(anchors, at, {}, &Anchor::at) - anchors.begin());
    }
    uint64_t NextAnchor(uint64_t at) const
    {
        const size_t next = AnchorFrom(at + 1);
        return next < anchors.size() ? anchors[next].at : size;
    }
    bool IsBareFrame(uint64_t at) const
    {
        const size_t i = AnchorFrom(at);
        return i < anchors.size() && anchors[i].at == at && anchors[i].bare;
    }
    bool IsKnownPlace(uint64_t at, const AviHead& head) const;
    bool LeadsOn(uint64_t end) const;
    bool IsCredible(uint64_t at, const AviHead& head) const;
    std::optional<AviChunk> ChunkAt(uint64_t at, const AviHead& head);
    AviChunk FrameWithLostSize(uint32_t id, uint64_t payload, std::optional<uint32_t> saidSize);
    uint64_t EndOf(const AviChunk& chunk) const;
    std::optional<uint64_t> NextPlace(uint64_t from) const;

    const WindowSource source;
    const uint64_t size;
    AviChunkTaker& taker;
    const std::vector<Anchor> anchors;
    AviLostSizes lost;
    AviChain chain;
    uint64_t riffEnd = 0; // of the latest segment, as it says
};

/// Whether a chunk or frame begins here, as far as can be seen without the chunk after it.
bool AviSalvage::IsKnownPlace(uint64_t at, const AviHead& head) const
{
    return IsSteppedInto(head) ||
           (IsKnownId(head.id) && head.size <= size - std::min(size, at + avi::kChunkHead)) ||
           IsBareFrame(at) || IsBareFrame(at + avi::kChunkHead) || lost.Find(at + avi::kChunkHead) != nullptr;
}

/// Whether what ends here is followed by something known: the end of the segment or the file, a known place,
/// or a chunk of any name that is itself followed by one.
bool AviSalvage::LeadsOn(uint64_t end) const
{
    if (size - end < avi::kChunkHead || end == riffEnd)
        return true;
    const AviHead head = ReadAviHead(source, end);
    if (IsKnownPlace(end, head))
        return true;
    const uint64_t next = end + avi::kChunkHead + avi::Padded(head.size);
    return IsPlausibleId(head.id) && next <= size &&
           (next == size || IsKnownPlace(next, ReadAviHead(source, next)));
}

/// Whether the size of this chunk can be believed: it lies in front of the next anchor and leads on.
bool AviSalvage::IsCredible(uint64_t at, const AviHead& head) const
{
    const uint64_t end = at + avi::kChunkHead + head.size;
    return IsPlausibleId(head.id) && end <= NextAnchor(at) &&
           (LeadsOn(std::min(avi::Padded(end), size)) || LeadsOn(end));
}

/// A frame whose size is not credible, or that has none. It reaches up to the next anchor, unless the
/// checksums know it with another size.
AviChunk AviSalvage::FrameWithLostSize(uint32_t id, uint64_t payload, std::optional<uint32_t> saidSize)
{
    const uint64_t limit = NextAnchor(payload);
    const uint64_t room = std::min<uint64_t>(limit - payload, UINT32_MAX);
    const auto longest = static_cast<uint32_t>(room);
    if (saidSize && *saidSize <= longest && lost.IsKnownFrame(payload, *saidSize))
        return {id, payload, *saidSize};
    // The head of the next frame may be lost.
    if (longest > avi::kChunkHead && lost.IsKnownFrame(payload, longest - avi::kChunkHead))
        return {id, payload, longest - avi::kChunkHead};
    // Nothing follows: what the chunk says is all there is to go by.
    if (limit == size && saidSize && *saidSize <= longest)
        return {id, payload, *saidSize};
    return {id, payload, longest};
}

/// The chunk that begins here, if any, with the size that is most credible.
std::optional<AviChunk> AviSalvage::ChunkAt(uint64_t at, const AviHead& head)
{
    const uint64_t payload = at + avi::kChunkHead;
    if (IsBareFrame(at))
        return FrameWithLostSize(lost.FrameId(), at, std::nullopt);
    if (IsCredible(at, head))
        return AviChunk{head.id, payload, head.size};
    // A frame whose id is damaged is an anchor itself.
    const bool isBare = IsBareFrame(payload);
    const uint64_t limit = NextAnchor(isBare ? payload : at);
    if (const AviChunk* const indexed = lost.Find(payload); indexed && payload + indexed->size <= limit) {
        ++chain.brokenPlaces;
        return *indexed;
    }
    if (isBare) {
        ++chain.brokenPlaces;
        if (payload + head.size <= limit && head.size > kFrameStartBytes && LeadsOn(payload + head.size))
            return AviChunk{lost.FrameId(), payload, head.size};
        return FrameWithLostSize(lost.FrameId(), payload, std::nullopt);
    }
    const bool isFrame = StreamOfFrame(head.id) && head.third == kOrvaneMagic;
    if (!isFrame && limit < payload) // an anchor begins inside this head
        return std::nullopt;
    const bool fits = head.size <= limit - std::min(limit, payload);
    if (!isFrame && !(fits && IsKnownId(head.id)) && !(IsStreamData(head.id) && limit < size))
        return std::nullopt;
    if (!fits && limit == size) // the file ends in this chunk
        return std::nullopt;
    ++chain.brokenPlaces;
    if (isFrame)
        return FrameWithLostSize(head.id, payload, head.size);
    return AviChunk{head.id, payload, fits ? head.size : static_cast<uint32_t>(limit - payload)};
}

uint64_t AviSalvage::EndOf(const AviChunk& chunk) const
{
    const uint64_t end = chunk.offset + chunk.size;
    if (chunk.size % 2 == 0 || end == size)
        return end;
    const AviHead unpadded = ReadAviHead(source, end);
    return IsBareFrame(end) || (StreamOfFrame(unpadded.id) && unpadded.third == kOrvaneMagic) ? end : end + 1;
}

/// The next place at or after `from` where a chunk can begin.
std::optional<uint64_t> AviSalvage::NextPlace(uint64_t from) const
{
    const size_t next = AnchorFrom(from);
    uint64_t end = next < anchors.size() ? anchors[next].at : size;
    if (const AviChunk* const indexed = lost.FindFrom(from + avi::kChunkHead))
        end = std::min(end, indexed->offset - avi::kChunkHead);
    std::vector<uint8_t> window(size_t{1} << 14);
    const size_t step = window.size() - avi::kListHead;
    for (uint64_t start = from; start + avi::kChunkHead < end; start += step) {
        const std::span<const uint8_t> bytes(window.data(), source.Read(start, window));
        for (size_t i = 0; i < step && i + avi::kListHead <= bytes.size() && start + i < end; ++i) {
            const AviHead head{Get<uint32_t>(bytes, i), Get<uint32_t>(bytes, i + 4),
                               Get<uint32_t>(bytes, i + 8)};
            if (IsPlausibleId(head.id) && IsKnownId(head.id) && IsCredible(start + i, head))
                return start + i;
        }
    }
    return end < size ? std::optional(end) : std::nullopt;
}

AviChain AviSalvage::Run()
{
    // Invariant: `at` grows with every step.
    for (uint64_t& at = chain.end; at + avi::kChunkHead <= size;) {
        const AviHead head = ReadAviHead(source, at);
        if (IsSteppedInto(head) && at + avi::kListHead <= size) {
            if (head.id == avi::kRiff)
                riffEnd = at + avi::kChunkHead + head.size;
            taker.TakeList(at, head);
            at += avi::kListHead;
        } else if (const std::optional<AviChunk> chunk = ChunkAt(at, head)) {
            taker.TakeChunk(*chunk);
            at = EndOf(*chunk);
        } else if (const std::optional<uint64_t> next = NextPlace(at + 1)) {
            ++chain.brokenPlaces;
            chain.lostBytes += *next - at;
            at = *next;
        } else {
            chain.cut = at < riffEnd || IsKnownId(head.id);
            break;
        }
    }
    return chain;
}

} // namespace

bool CanSalvage(const ByteSource& source, uint64_t from)
{
    return !FindAnchors(source, from).empty();
}

AviChain SalvageChunks(const ByteSource& source, AviChunkTaker& taker)
{
    return AviSalvage(source, taker).Run();
}
