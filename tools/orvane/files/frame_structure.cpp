#include "files/frame_structure.h"

#include "common/frame_match.h"
#include "files/little_endian.h"

#include <algorithm>

namespace {

FrameStructure Faulty(std::string fault)
{
    FrameStructure structure;
    structure.fault = std::move(fault);
    return structure;
}

} // namespace

std::optional<std::string> HeaderFault(const FrameHeader& header, const FrameHeader& record)
{
    switch (FindMismatch(header, record)) {
    case HeaderMismatch::None:
        return std::nullopt;
    case HeaderMismatch::Version:
        return "unknown version " + std::to_string(header.version);
    case HeaderMismatch::Format:
        return "frame of another format";
    case HeaderMismatch::Size:
        return "frame of another size";
    case HeaderMismatch::Coding:
        return "frame of another kind of coding";
    case HeaderMismatch::Colour:
        return "frame with other colour or interlace";
    }
    return std::nullopt;
}

std::array<uint64_t, 4> FrameStructure::CountPredictors() const
{
    std::array<uint64_t, 4> counts{};
    for (const BlockStructure& block : blocks)
        ++counts[block.predictor < counts.size() ? block.predictor : 0];
    return counts;
}

uint64_t FrameStructure::CountRaw() const
{
    return static_cast<uint64_t>(std::ranges::count(blocks, true, &BlockStructure::raw));
}

std::vector<std::pair<size_t, size_t>> Stretches(const std::vector<bool>& flags)
{
    std::vector<std::pair<size_t, size_t>> stretches;
    for (size_t i = 0; i < flags.size(); ++i) {
        if (!flags[i])
            continue;
        if (!stretches.empty() && stretches.back().second + 1 == i)
            stretches.back().second = i;
        else
            stretches.emplace_back(i, i);
    }
    return stretches;
}

std::string RowsOfBands(const std::vector<bool>& bands, uint32_t bandRows, uint32_t height)
{
    std::string text;
    for (const auto& [from, to] : Stretches(bands))
        text +=
            (text.empty() ? "rows " : ", ") +
            RangeText(uint64_t{from} * bandRows, std::min<uint64_t>(uint64_t{to + 1} * bandRows, height) - 1);
    return text;
}

std::string RangeText(uint64_t first, uint64_t last)
{
    return std::to_string(first) + (first == last ? "" : "-" + std::to_string(last));
}

std::string FrameStructure::BlocksText(const CompressedFormat& format, uint32_t height, size_t first,
                                       size_t last) const
{
    const size_t plane = blocks[first].plane;
    const uint64_t firstBand = first - plane * Bands(format.planes);
    const uint64_t lastBand = last - plane * Bands(format.planes);
    const uint64_t end = std::min<uint64_t>((lastBand + 1) * blockHeight, height);
    return (first == last ? "block " : "blocks ") + RangeText(first, last) + " (" + PlaneName(format, plane) +
           ", rows " + RangeText(firstBand * blockHeight, end - 1) + ")";
}

FrameStructure ReadFrameStructure(const ByteSource& source, uint64_t offset, uint32_t size,
                                  const FrameHeader& record, int planes)
{
    FrameStructure structure;
    structure.blockHeight = record.blockHeight;
    uint64_t table = 0; // all positions count from the frame's start
    const std::vector<uint8_t> head = source.ReadBytes(offset, std::min<uint32_t>(size, kFrameHeaderSize));
    if (head.size() < 4)
        return Faulty("shorter than any frame");
    if (HasMagic(head.data())) {
        if (head.size() < kFrameHeaderSize)
            return Faulty("header cut off");
        const FrameHeader header = ReadHeader(head.data());
        if (const auto fault = HeaderFault(header, record))
            return Faulty(*fault);
        table = header.headerSize;
        structure.tableOffset = header.headerSize;
        if (header.blockHeight != 0)
            structure.blockHeight = header.blockHeight;
    }

    const uint64_t bands =
        structure.blockHeight == 0
            ? 0
            : (uint64_t{record.height} + structure.blockHeight - 1) / structure.blockHeight;
    const uint64_t count = bands * static_cast<uint64_t>(planes);
    if (count > kMaxBlocks || table + 4 * (count + 1) > size)
        return Faulty("offset table cut off");
    const std::vector<uint8_t> words = source.ReadBytes(offset + table, static_cast<size_t>(4 * (count + 1)));
    if (words.size() < 4 * (count + 1))
        return Faulty("offset table cut off");

    const auto startOf = [&](uint64_t block) {
        return table + Get<uint32_t>(words, static_cast<size_t>(4 * (block + 1)));
    };
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t start = startOf(i);
        const bool endsFrame = i + 1 == count || startOf(i + 1) < start;
        const uint64_t end = endsFrame ? size : startOf(i + 1);
        if (end > size || start > end)
            return Faulty("block " + std::to_string(i) + " lies outside the frame");
        BlockStructure block;
        block.offset = static_cast<uint32_t>(start);
        block.size = static_cast<uint32_t>(end - start);
        block.plane = static_cast<uint8_t>(i / bands);
        if (const std::vector<uint8_t> blockHead =
                source.ReadBytes(offset + start, std::min<size_t>(2, block.size));
            blockHead.size() == 2) {
            block.raw = (blockHead[0] & 1) != 0;
            block.predictor = blockHead[1];
        }
        structure.blocks.push_back(block);
    }
    return structure;
}
