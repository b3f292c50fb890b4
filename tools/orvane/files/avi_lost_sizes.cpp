#include "files/avi_lost_sizes.h"

#include "files/checksum_table.h"
#include "files/little_endian.h"

#include <algorithm>

namespace {

constexpr uint32_t kMaxStreams = 100;
constexpr size_t kTriedHeads = 8; // frames that may be the first one of idx1

} // namespace

void AviLostSizes::TakeHead(uint64_t at, const AviHead& head)
{
    const uint64_t payload = at + avi::kChunkHead;
    const auto size = static_cast<uint32_t>(std::min<uint64_t>(head.size, source.Size() - payload));
    if (const auto stream = StreamOfFrame(head.id)) {
        frameCounts.resize(kMaxStreams);
        if (++frameCounts[*stream] >= *std::ranges::max_element(frameCounts))
            frameId = head.id;
        if (frameHeads.size() < kTriedHeads)
            frameHeads.push_back(at);
    } else if (head.third == avi::kMovi && head.id == avi::kList) {
        oldBases.push_back(payload);
    } else if (at >= indexEnd && (IsSegmentIndex(head.id) || head.id == avi::kIdx1)) {
        indexes.push_back({head.id, payload, size});
        indexEnd = payload + size;
    } else if (at >= indexEnd && head.id == avi::kChecksums) {
        tables.push_back({head.id, payload, size});
        indexEnd = payload + size;
    }
}

void AviLostSizes::Finish()
{
    for (const AviChunk& chunk : indexes)
        if (chunk.id == avi::kIdx1)
            ReadOldIndex(chunk);
        else
            ReadSegmentIndex(chunk);
    std::ranges::stable_sort(known, {}, &AviChunk::offset);
    const auto sameOffset = [](const AviChunk& a, const AviChunk& b) { return a.offset == b.offset; };
    known.erase(std::unique(known.begin(), known.end(), sameOffset), known.end());
}

void AviLostSizes::ReadSegmentIndex(const AviChunk& chunk)
{
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, chunk.size);
    if (bytes.size() < avi::kIndexHeadSize)
        return;
    const auto id = Get<uint32_t>(bytes, 8);
    const auto base = Get<uint64_t>(bytes, 12);
    const size_t count = std::min<size_t>(Get<uint32_t>(bytes, 4),
                                          (bytes.size() - avi::kIndexHeadSize) / avi::kIndexEntrySize);
    std::vector<AviChunk> entries;
    for (size_t i = 0; i < count; ++i) {
        const size_t at = avi::kIndexHeadSize + i * avi::kIndexEntrySize;
        entries.push_back(
            {id, base + Get<uint32_t>(bytes, at), Get<uint32_t>(bytes, at + 4) & avi::kIndexSizeMask});
    }
    KeepIfTrue(std::move(entries));
}

/// Offsets of idx1 count from the type "movi" or from the start of the file. Where that list is lost, the
/// first entry is one of the first frames.
void AviLostSizes::ReadOldIndex(const AviChunk& chunk)
{
    const std::vector<uint8_t> bytes = source.ReadBytes(chunk.offset, chunk.size);
    std::vector<AviChunk> entries;
    std::optional<uint32_t> firstFrame;
    for (size_t at = 0; at + avi::kIdx1EntrySize <= bytes.size(); at += avi::kIdx1EntrySize) {
        const auto id = Get<uint32_t>(bytes, at);
        const auto offset = Get<uint32_t>(bytes, at + 8);
        if (!IsStreamData(id))
            continue;
        if (!firstFrame && StreamOfFrame(id))
            firstFrame = offset;
        entries.push_back({id, uint64_t{offset} + avi::kChunkHead, Get<uint32_t>(bytes, at + 12)});
    }
    std::vector<uint64_t> bases{0};
    if (!oldBases.empty())
        bases.push_back(oldBases.front());
    for (const uint64_t head : frameHeads)
        if (firstFrame && head >= *firstFrame)
            bases.push_back(head - *firstFrame);
    const auto basedOn = [&](uint64_t base) {
        std::vector<AviChunk> moved = entries;
        for (AviChunk& entry : moved)
            entry.offset += base;
        return moved;
    };
    size_t mostHits = 0;
    uint64_t best = 0;
    for (const uint64_t base : bases)
        if (const size_t hits = CountHits(basedOn(base)); hits > mostHits) {
            mostHits = hits;
            best = base;
        }
    KeepIfTrue(basedOn(best));
}

/// Entries that lead to the head of the chunk that they name.
size_t AviLostSizes::CountHits(const std::vector<AviChunk>& entries) const
{
    return static_cast<size_t>(std::ranges::count_if(entries, [&](const AviChunk& entry) {
        if (entry.offset < avi::kChunkHead || entry.offset > source.Size())
            return false;
        const AviHead head = ReadAviHead(source, entry.offset - avi::kChunkHead);
        return head.id == entry.id && head.size == entry.size;
    }));
}

void AviLostSizes::KeepIfTrue(std::vector<AviChunk> entries)
{
    const uint64_t size = source.Size();
    std::erase_if(entries, [&](const AviChunk& entry) {
        return entry.offset < avi::kChunkHead || entry.offset > size || entry.size > size - entry.offset;
    });
    if (2 * CountHits(entries) >= entries.size())
        known.insert(known.end(), entries.begin(), entries.end());
}

const AviChunk* AviLostSizes::FindFrom(uint64_t payload) const
{
    const auto at = std::ranges::lower_bound(known, payload, {}, &AviChunk::offset);
    return at == known.end() ? nullptr : &*at;
}

const AviChunk* AviLostSizes::Find(uint64_t payload) const
{
    const AviChunk* const found = FindFrom(payload);
    return found && found->offset == payload ? found : nullptr;
}

bool AviLostSizes::IsKnownFrame(uint64_t payload, uint32_t size)
{
    if (!checksumsRead)
        ReadChecksums();
    return !frameHashes.empty() &&
           frameHashes.contains(FrameHasher::HashBytes(source.ReadBytes(payload, size)));
}

void AviLostSizes::ReadChecksums()
{
    checksumsRead = true;
    for (const AviChunk& chunk : tables)
        if (const auto table = ChecksumTable::Parse(source.ReadBytes(chunk.offset, chunk.size)))
            for (size_t i = 0; i < table->Count(); ++i)
                frameHashes.insert(table->FrameHashAt(i));
}
