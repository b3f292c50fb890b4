#include "files/avi_index.h"

#include "files/avi_records.h"
#include "files/little_endian.h"

#include <algorithm>
#include <optional>

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

/// The frames that the super index leads to; nothing when it is malformed or leads to what is no index. Each
/// segment index is taken once at most, so that the list stays in proportion to the file.
std::optional<FrameList> ReadSuperIndex(const ByteSource& source, const AviIndexPlaces& places)
{
    const AviChunk& chunk = places.superIndex.front();
    FrameList frames;
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, chunk.size);
    if (bytes.size() >= avi::kIndexHeadSize && bytes[3] == avi::kIndexOfChunks)
        return AppendSegmentIndex(source, chunk, places.stream, frames) ? std::optional(frames)
                                                                        : std::nullopt;

    if (bytes.size() < avi::kIndexHeadSize || Get<uint16_t>(bytes, 0) != avi::kSuperEntrySize / 4)
        return std::nullopt;
    const uint64_t count = Get<uint32_t>(bytes, 4);
    if (count > (bytes.size() - avi::kIndexHeadSize) / avi::kSuperEntrySize ||
        count != places.segmentIndexes.size())
        return std::nullopt;
    for (size_t i = 0; i < count; ++i) {
        const auto at = Get<uint64_t>(bytes, avi::kIndexHeadSize + i * avi::kSuperEntrySize);
        const AviChunk& segment = places.segmentIndexes[i];
        if (at != segment.offset - avi::kChunkHead ||
            !AppendSegmentIndex(source, segment, places.stream, frames))
            return std::nullopt;
    }
    return frames;
}

/// The frames of idx1. Its offsets count from the type "movi" or, with some writers, from the start of the
/// file.
std::optional<FrameList> ReadOldIndex(const ByteSource& source, const AviIndexPlaces& places,
                                      const FrameList& found)
{
    const AviChunk& chunk = places.oldIndex.front();
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, chunk.size);
    FrameList frames;
    for (size_t at = 0; at + avi::kIdx1EntrySize <= bytes.size(); at += avi::kIdx1EntrySize) {
        const auto id = Get<uint32_t>(bytes, at);
        const uint32_t kind = id >> 16;
        if (NamesStream(id, places.stream) && (kind == ('d' | 'c' << 8) || kind == ('d' | 'b' << 8)))
            frames.push_back(
                {Get<uint32_t>(bytes, at + 8) + uint64_t{avi::kChunkHead}, Get<uint32_t>(bytes, at + 12)});
    }
    if (!frames.empty() && !found.empty() && frames.front().offset != found.front().offset)
        for (AviFrame& frame : frames)
            frame.offset += places.moviType;
    return frames;
}

/// Whether the index names frames of the file only, and each of them at least once.
bool NamesExactly(const FrameList& index, const FrameList& found)
{
    std::vector<bool> named(found.size());
    for (const AviFrame& frame : index) {
        const auto at = std::ranges::lower_bound(found, frame.offset, {}, &AviFrame::offset);
        if (at == found.end() || *at != frame)
            return false;
        named[static_cast<size_t>(at - found.begin())] = true;
    }
    return std::ranges::find(named, false) == named.end();
}

} // namespace

void CompareIndex(const ByteSource& source, const AviIndexPlaces& places, AviFile& file)
{
    const bool hasSuper = !places.superIndex.empty();
    if (!hasSuper && places.oldIndex.empty()) {
        file.index = AviIndexState::None;
        return;
    }
    auto index = hasSuper ? ReadSuperIndex(source, places) : ReadOldIndex(source, places, file.frames);
    if (!index || !NamesExactly(*index, file.frames)) {
        file.index = AviIndexState::Wrong;
        return;
    }
    file.index = AviIndexState::Whole;
    file.frames = std::move(*index);
}
