#include "files/avi_index.h"

#include "files/avi_records.h"
#include "files/checksum_table.h"
#include "files/content_hash.h"
#include "files/little_endian.h"

#include <algorithm>
#include <optional>
#include <unordered_set>

namespace {

using FrameList = std::vector<AviFrame>;

/// Number of a stream from the two characters that chunk ids give it, as "07"; nothing for other characters.
bool NamesStream(uint32_t chunkId, uint32_t stream)
{
    const uint32_t tens = '0' + stream / 10;
    const uint32_t ones = '0' + stream % 10;
    return (chunkId & 0xFFFF) == (tens | ones << 8);
}

/// Entries of one index of chunks (ix##, or indx in its simple form).
bool AppendSegmentIndex(const ByteSource& source, const AviChunk& chunk, uint32_t stream, FrameList& frames)
{
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, chunk.size);
    if (bytes.size() < avi::kIndexHeadSize || Get<uint16_t>(bytes, 0) != avi::kIndexEntrySize / 4 ||
        bytes[2] != 0 || bytes[3] != avi::kIndexOfChunks || !NamesStream(Get<uint32_t>(bytes, 8), stream))
        return false;
    const uint64_t count = Get<uint32_t>(bytes, 4);
    const auto base = Get<uint64_t>(bytes, 12);
    if (count > (bytes.size() - avi::kIndexHeadSize) / avi::kIndexEntrySize)
        return false;
    for (size_t i = 0; i < count; ++i) {
        const size_t at = avi::kIndexHeadSize + i * avi::kIndexEntrySize;
        frames.push_back(
            {base + Get<uint32_t>(bytes, at), Get<uint32_t>(bytes, at + 4) & avi::kIndexSizeMask});
    }
    return true;
}

/// What an index says.
struct Index {
    FrameList frames;
    bool isComplete = true; ///< well formed in all its parts
};

/// The frames that the super index leads to. It is complete when it leads to all segment indexes of the file
/// and to nothing else; each of them is read once.
Index ReadSuperIndex(const ByteSource& source, const AviIndexPlaces& places)
{
    const AviChunk& chunk = places.superIndex.front();
    Index index;
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, chunk.size);
    const bool hasHead = bytes.size() >= avi::kIndexHeadSize;
    if (hasHead && bytes[3] == avi::kIndexOfChunks) {
        index.isComplete = AppendSegmentIndex(source, chunk, places.stream, index.frames);
        return index;
    }
    const size_t room = hasHead ? (bytes.size() - avi::kIndexHeadSize) / avi::kSuperEntrySize : 0;
    const uint64_t count = hasHead ? Get<uint32_t>(bytes, 4) : 0;
    index.isComplete = hasHead && Get<uint16_t>(bytes, 0) == avi::kSuperEntrySize / 4 && count <= room &&
                       count == places.segmentIndexes.size();
    for (size_t i = 0; i < places.segmentIndexes.size(); ++i) {
        const AviChunk& segment = places.segmentIndexes[i];
        const bool isNamed =
            i < room && Get<uint64_t>(bytes, avi::kIndexHeadSize + i * avi::kSuperEntrySize) ==
                            segment.offset - avi::kChunkHead;
        const bool isRead = AppendSegmentIndex(source, segment, places.stream, index.frames);
        index.isComplete = index.isComplete && isNamed && isRead;
    }
    return index;
}

/// The number of the frame that an entry names; nothing when there is none at its place.
std::optional<size_t> FindFrame(const FrameList& found, const AviFrame& entry)
{
    const auto at = std::ranges::lower_bound(found, entry.offset, {}, &AviFrame::offset);
    if (at == found.end() || at->offset != entry.offset)
        return std::nullopt;
    return static_cast<size_t>(at - found.begin());
}

/// Moves entries on by `base` if more of them lead to frames then.
void CountFrom(uint64_t base, FrameList& entries, const FrameList& found)
{
    const auto leading = [&](uint64_t start) {
        return std::ranges::count_if(entries, [&](const AviFrame& entry) {
            return FindFrame(found, {start + entry.offset, entry.size}).has_value();
        });
    };
    if (leading(base) > leading(0))
        for (AviFrame& entry : entries)
            entry.offset += base;
}

/// The frames of idx1. Its offsets count from the type "movi" or, with some writers, from the start of the
/// file.
Index ReadOldIndex(const ByteSource& source, const AviIndexPlaces& places, const FrameList& found)
{
    const AviChunk& chunk = places.oldIndex.front();
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, chunk.size);
    Index index;
    FrameList& frames = index.frames;
    for (size_t at = 0; at + avi::kIdx1EntrySize <= bytes.size(); at += avi::kIdx1EntrySize) {
        const auto id = Get<uint32_t>(bytes, at);
        const uint32_t kind = id >> 16;
        if (NamesStream(id, places.stream) && (kind == ('d' | 'c' << 8) || kind == ('d' | 'b' << 8)))
            frames.push_back(
                {Get<uint32_t>(bytes, at + 8) + uint64_t{avi::kChunkHead}, Get<uint32_t>(bytes, at + 12)});
    }
    CountFrom(places.moviType, frames, found);
    return index;
}

/// How the entries of an index fit the frames.
struct IndexFit {
    bool namesFramesOnly = false; ///< and the index is well formed
    uint64_t unnamed = 0;         ///< frames that it does not name

    bool IsExact() const { return namesFramesOnly && unnamed == 0; }
};

/// Compares an index with the frames that were found. It may name a frame many times, but not so often that
/// the video is out of proportion to the file.
IndexFit Fit(const Index& index, const FrameList& found, uint64_t fileSize)
{
    constexpr uint64_t kMaxRepetition = 16;
    std::vector<bool> named(found.size());
    uint64_t bytes = 0;
    for (const AviFrame& entry : index.frames) {
        const std::optional<size_t> number = FindFrame(found, entry);
        if (!number || found[*number] != entry)
            return {};
        named[*number] = true;
        bytes += entry.size;
    }
    return {index.isComplete && bytes / kMaxRepetition <= fileSize,
            static_cast<uint64_t>(std::ranges::count(named, false))};
}

/// Where frames are missing from a file out of which bytes were taken, so that entries do not lead to their
/// frames any more: the frames that are left have the sizes of entries, in the same order, and are most of
/// them.
std::vector<AviGap> FindGapsBySize(const FrameList& entries, const FrameList& found)
{
    std::vector<AviGap> gaps;
    size_t next = 0;
    for (const AviFrame& entry : entries)
        if (next < found.size() && found[next].size == entry.size)
            ++next;
        else if (!gaps.empty() && gaps.back().before == next)
            ++gaps.back().count;
        else
            gaps.push_back({next, 1});
    const bool knowsMost = next == found.size() && 2 * found.size() >= entries.size();
    return knowsMost ? gaps : std::vector<AviGap>{};
}

/// The hashes of all frames in the order of the entries, by the checksums of the file; none when it has not
/// one for each entry.
std::vector<uint64_t> RecordedHashes(const ByteSource& source, const AviFile& file, const FrameList& entries)
{
    std::vector<uint64_t> hashes;
    for (const AviChunk& chunk : file.others)
        if (chunk.id == avi::kChecksums)
            if (const auto table = ChecksumTable::Parse(source.ReadBytes(chunk.offset, chunk.size)))
                for (size_t i = 0; i < table->Count(); ++i)
                    hashes.push_back(table->FrameHashAt(i));
    if (hashes.size() != entries.size())
        hashes.clear();
    return hashes;
}

/// Where frames are missing by the checksums of those that are there. A frame that they do not know is
/// damaged and has its entry's size. Nothing when frames fit no entry, or there are no checksums.
std::optional<std::vector<AviGap>> FindGapsByHash(const ByteSource& source, const AviFile& file,
                                                  const FrameList& entries, const FrameList& found)
{
    const std::vector<uint64_t> recorded = RecordedHashes(source, file, entries);
    if (recorded.empty())
        return std::nullopt;
    const std::unordered_set<uint64_t> known(recorded.begin(), recorded.end());
    std::vector<uint64_t> hashes;
    for (const AviFrame& frame : found)
        hashes.push_back(HashBytes(source.ReadBytes(frame.offset, frame.size)));
    const auto fits = [&](size_t number, size_t entry) {
        return known.contains(hashes[number]) ? hashes[number] == recorded[entry]
                                              : found[number].size == entries[entry].size;
    };
    std::vector<AviGap> gaps;
    size_t next = 0;
    for (size_t i = 0; i < entries.size(); ++i)
        if (next < found.size() && fits(next, i))
            ++next;
        else if (!gaps.empty() && gaps.back().before == next)
            ++gaps.back().count;
        else
            gaps.push_back({next, 1});
    return next == found.size() ? std::optional(gaps) : std::nullopt;
}

/// Where frames are missing that the index names. Entries and frames are counted between two that agree,
/// since an entry may be damaged and its frame not. An index that does not know most of the frames tells
/// nothing.
std::vector<AviGap> FindGaps(const FrameList& entries, const FrameList& found)
{
    std::vector<AviGap> gaps;
    size_t agree = 0;
    size_t next = 0;      // the frame that follows on the last one that agreed
    uint64_t unknown = 0; // entries since then
    const auto endStretch = [&](size_t number) {
        const size_t unnamed = number > next ? number - next : 0;
        if (unknown > unnamed)
            gaps.push_back({number, unknown - unnamed});
        unknown = 0;
        next = number + 1;
    };
    for (const AviFrame& entry : entries)
        if (const std::optional<size_t> number = FindFrame(found, entry)) {
            endStretch(*number);
            ++agree;
        } else {
            ++unknown;
        }
    endStretch(found.size());
    const bool knowsMost = 2 * agree >= found.size() && 2 * agree >= entries.size() && agree > 0;
    return knowsMost ? gaps : FindGapsBySize(entries, found);
}

} // namespace

bool CompareIndex(const ByteSource& source, const AviIndexPlaces& places, AviFile& file)
{
    const bool hasSuper = !places.superIndex.empty(), hasOld = !places.oldIndex.empty();
    if (!hasSuper && !hasOld && places.segmentIndexes.empty())
        return false;
    const FrameList found = file.frames;
    const Index super = hasSuper ? ReadSuperIndex(source, places) : Index{{}, places.segmentIndexes.empty()};
    const Index old = hasOld ? ReadOldIndex(source, places, found) : Index{{}, !places.promisesOldIndex};

    // Where there are both, idx1 names the frames of the first segment, which stand before it.
    FrameList first = found;
    if (hasSuper && hasOld)
        first.erase(std::ranges::lower_bound(first, places.oldIndex.front().offset, {}, &AviFrame::offset),
                    first.end());
    const IndexFit superFit = hasSuper ? Fit(super, found, source.Size()) : IndexFit{super.isComplete};
    const IndexFit oldFit = hasOld ? Fit(old, first, source.Size()) : IndexFit{old.isComplete};
    file.index = superFit.IsExact() && oldFit.IsExact() ? AviIndexState::Whole : AviIndexState::Wrong;
    if (superFit.namesFramesOnly && oldFit.namesFramesOnly)
        file.unindexed = std::max(superFit.unnamed, oldFit.unnamed);

    const auto namesAll = [&](const Index& index) { return Fit(index, found, source.Size()).IsExact(); };
    const Index& leading = hasSuper && (superFit.IsExact() || !hasOld || !namesAll(old)) ? super : old;
    const bool vouches = (hasSuper || hasOld || !leading.frames.empty()) && namesAll(leading);
    if (vouches) {
        file.frames = leading.frames;
        file.reordered = !std::ranges::is_sorted(file.frames, {}, &AviFrame::offset);
    } else {
        const FrameList& entries = leading.frames.empty() ? old.frames : leading.frames;
        const auto gaps = FindGapsByHash(source, file, entries, found);
        file.gaps = gaps ? *gaps : FindGaps(entries, found);
    }
    return vouches;
}
