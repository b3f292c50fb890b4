#include "files/checksum_table.h"

#include "files/byte_source.h"
#include "files/content_hash.h"
#include "files/frame_structure.h"
#include "files/little_endian.h"

#include <algorithm>

namespace {

constexpr uint32_t kVersion = 1;
constexpr size_t kHeadSize = 28;
constexpr size_t kMaxEntryBytes = size_t{512} << 20;

struct PlaneShape {
    size_t rowBytes;
    size_t rows;
    size_t bandRows;
};

/// The planes of a tight picture, as they follow each other in memory.
std::vector<PlaneShape> PlanesOf(const PixelLayout& layout, int width, int height)
{
    const auto rows = static_cast<size_t>(height);
    if (layout.arrangement == Arrangement::Packed)
        return {{static_cast<size_t>(PackedRowBytes(layout, width)), rows, kChecksumBandRows}};
    std::vector<PlaneShape> planes{{static_cast<size_t>(width), rows, kChecksumBandRows}};
    if (!layout.IsGray())
        planes.insert(planes.end(), 2,
                      {static_cast<size_t>(width) / layout.horizontal, rows / layout.vertical,
                       kChecksumBandRows / size_t{layout.vertical}});
    return planes;
}

} // namespace

FrameHasher::FrameHasher(const CompressedFormat& format, const FrameHeader& record_)
    : layout(&NativeLayout(format.code)), record(record_), planes(format.planes),
      bands((size_t{record_.height} + kChecksumBandRows - 1) / kChecksumBandRows)
{}

uint64_t FrameHasher::HashBytes(std::span<const uint8_t> bytes)
{
    return ::HashBytes(bytes);
}

std::vector<uint64_t> FrameHasher::HashBands(std::span<const uint8_t> picture) const
{
    RunningHash hash;
    const std::vector<PlaneShape> shapes =
        PlanesOf(*layout, static_cast<int>(record.width), static_cast<int>(record.height));
    std::vector<uint64_t> hashes;
    for (size_t band = 0; band < bands; ++band) {
        const uint8_t* plane = picture.data();
        for (const PlaneShape& shape : shapes) {
            const size_t first = std::min(band * shape.bandRows, shape.rows);
            const size_t end = std::min(first + shape.bandRows, shape.rows);
            hash.Add({plane + first * shape.rowBytes, (end - first) * shape.rowBytes});
            plane += shape.rows * shape.rowBytes;
        }
        hashes.push_back(hash.Finish());
    }
    return hashes;
}

std::vector<uint32_t> FrameHasher::HashBlocks(std::span<const uint8_t> frame) const
{
    const FrameStructure structure =
        ReadFrameStructure(MemorySource(frame), 0, static_cast<uint32_t>(frame.size()), record, planes);
    std::vector<uint32_t> hashes(Blocks());
    if (structure.blocks.size() == hashes.size())
        std::ranges::transform(structure.blocks, hashes.begin(), [&](const BlockStructure& block) {
            return static_cast<uint32_t>(HashBytes(frame.subspan(block.offset, block.size)));
        });
    return hashes;
}

FrameChecksums FrameHasher::Hash(std::span<const uint8_t> picture, std::span<const uint8_t> frame) const
{
    return {.size = static_cast<uint32_t>(frame.size()),
            .frame = HashBytes(frame),
            .picture = HashBytes(picture),
            .bands = HashBands(picture),
            .blocks = HashBlocks(frame)};
}

std::optional<ChecksumTable> ChecksumTable::Parse(std::span<const uint8_t> chunk, size_t bands, size_t blocks)
{
    if (chunk.size() < kHeadSize || Get<uint64_t>(chunk, 0) != FrameHasher::HashBytes(chunk.subspan(8)) ||
        Get<uint32_t>(chunk, 8) != kVersion || Get<uint32_t>(chunk, 12) != kChecksumBandRows ||
        Get<uint32_t>(chunk, 20) != bands || Get<uint32_t>(chunk, 24) != blocks)
        return std::nullopt;
    ChecksumTable table(bands, blocks);
    if (Get<uint32_t>(chunk, 16) != (chunk.size() - kHeadSize) / table.EntrySize() ||
        (chunk.size() - kHeadSize) % table.EntrySize() != 0)
        return std::nullopt;
    table.entries.assign(chunk.begin() + kHeadSize, chunk.end());
    return table;
}

std::optional<ChecksumTable> ChecksumTable::Parse(std::span<const uint8_t> chunk)
{
    return chunk.size() < kHeadSize ? std::nullopt
                                    : Parse(chunk, Get<uint32_t>(chunk, 20), Get<uint32_t>(chunk, 24));
}

void ChecksumTable::Add(const FrameChecksums& frame)
{
    if (entries.size() + EntrySize() > kMaxEntryBytes)
        return;
    Put<uint32_t>(entries, frame.size);
    Put<uint64_t>(entries, frame.frame);
    Put<uint64_t>(entries, frame.picture);
    for (const uint64_t hash : frame.bands)
        Put<uint64_t>(entries, hash);
    for (const uint32_t hash : frame.blocks)
        Put<uint32_t>(entries, hash);
}

void ChecksumTable::Add(const ChecksumTable& other)
{
    PutBytes(entries, other.entries);
}

std::vector<uint8_t> ChecksumTable::Chunk() const
{
    std::vector<uint8_t> chunk;
    chunk.reserve(kHeadSize + entries.size());
    Put<uint64_t>(chunk, 0);
    Put<uint32_t>(chunk, kVersion);
    Put<uint32_t>(chunk, kChecksumBandRows);
    Put<uint32_t>(chunk, static_cast<uint32_t>(Count()));
    Put<uint32_t>(chunk, static_cast<uint32_t>(bands));
    Put<uint32_t>(chunk, static_cast<uint32_t>(blocks));
    PutBytes(chunk, entries);
    const uint64_t hash = FrameHasher::HashBytes(std::span(chunk).subspan(8));
    std::memcpy(chunk.data(), &hash, sizeof hash);
    return chunk;
}

FrameChecksums ChecksumTable::At(size_t index) const
{
    size_t at = index * EntrySize();
    FrameChecksums frame{.size = Get<uint32_t>(entries, at),
                         .frame = Get<uint64_t>(entries, at + 4),
                         .picture = Get<uint64_t>(entries, at + 12),
                         .bands = {},
                         .blocks = {}};
    at += 20;
    for (size_t i = 0; i < bands; ++i, at += 8)
        frame.bands.push_back(Get<uint64_t>(entries, at));
    for (size_t i = 0; i < blocks; ++i, at += 4)
        frame.blocks.push_back(Get<uint32_t>(entries, at));
    return frame;
}

uint32_t ChecksumTable::SizeAt(size_t index) const
{
    return Get<uint32_t>(entries, index * EntrySize());
}

uint64_t ChecksumTable::FrameHashAt(size_t index) const
{
    return Get<uint64_t>(entries, index * EntrySize() + 4);
}

FrameMatcher::FrameMatcher(const ChecksumTable& table_, size_t first_)
    : table(table_), taken(table_.Count()), first(first_), expected(first_)
{
    for (size_t i = 0; i < table.Count(); ++i)
        known.try_emplace(table.FrameHashAt(i), i);
}

std::optional<size_t> FrameMatcher::Add(uint64_t hash, uint32_t size)
{
    std::optional<size_t> match;
    if (expected < table.Count() && table.FrameHashAt(expected) == hash)
        match = expected;
    else if (const auto elsewhere = known.find(hash); elsewhere != known.end())
        match = elsewhere->second;
    if (match)
        taken[*match] = true;
    expected = match.value_or(expected) + 1;
    matches.push_back(match);
    sizes.push_back(size);
    hashes.push_back(hash);
    return match;
}

std::vector<std::optional<size_t>> FrameMatcher::Finish()
{
    const auto isDamaged = [&](size_t frame, size_t entry) {
        return !matches[frame] && entry < table.Count() && !taken[entry] &&
               table.SizeAt(entry) == sizes[frame];
    };
    expected = first;
    for (size_t i = 0; i < matches.size(); ++i) {
        if (isDamaged(i, expected))
            Take(i, expected);
        expected = matches[i].value_or(expected) + 1;
    }
    for (size_t i = matches.size(); i-- > 1;)
        if (matches[i] && *matches[i] > 0 && isDamaged(i - 1, *matches[i] - 1))
            Take(i - 1, *matches[i] - 1);
    return matches;
}

void FrameMatcher::Take(size_t frame, size_t entry)
{
    matches[frame] = entry;
    taken[entry] = true;
}
