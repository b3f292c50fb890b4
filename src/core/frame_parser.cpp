#include "core/frame_parser.h"

#include "common/frame_match.h"
#include "core/frame_layout.h"
#include "entropy/length_table.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace core {

namespace {

uint32_t WordAt(FrameBytes frame, uint64_t offset)
{
    uint32_t word;
    std::memcpy(&word, frame.data() + offset, sizeof word);
    return word;
}

} // namespace

FrameStart ParseFrameStart(FrameBytes frame, const FrameHeader& config)
{
    if (frame.size() < sizeof kFrameMagic)
        return {FrameStatus::DamagedFrame};
    if (!HasMagic(frame.data()))
        return {FrameStatus::Ok, 0, config.blockHeight};
    if (frame.size() < kFrameHeaderSize)
        return {FrameStatus::DamagedFrame};
    const FrameHeader header = ReadHeader(frame.data());
    // A header size of 0 passes and puts the offset table over the header.
    if (frame.size() < header.headerSize)
        return {FrameStatus::DamagedFrame};
    if (FindMismatch(header, config) != HeaderMismatch::None)
        return {FrameStatus::ForeignFrame};
    return {FrameStatus::Ok, header.headerSize, header.blockHeight ? header.blockHeight : config.blockHeight};
}

bool HasOffsetTable(FrameBytes frame, uint64_t tableOffset, uint64_t blockCount)
{
    return blockCount == 0 || tableOffset + OffsetTableBytes(blockCount) <= frame.size();
}

std::optional<BlockRange> LocateBlock(FrameBytes frame, uint64_t tableOffset, uint64_t blockCount,
                                      uint64_t index)
{
    const auto startOf = [&](uint64_t block) {
        return tableOffset + WordAt(frame, tableOffset + sizeof(uint32_t) * (block + 1));
    };
    const uint64_t start = startOf(index);
    // The last block ends with the frame, tail included, and so does a block whose successor starts before
    // it.
    uint64_t end = frame.size();
    if (index + 1 < blockCount && startOf(index + 1) >= start)
        end = startOf(index + 1);
    if (end == start)
        return BlockRange{start, 0};
    if (start > end || end > frame.size())
        return std::nullopt;
    return BlockRange{start, end - start};
}

bool LocateBlocks(FrameBytes frame, uint64_t tableOffset, std::span<BlockInfo> blocks)
{
    if (!HasOffsetTable(frame, tableOffset, blocks.size()))
        return false;
    for (size_t i = 0; i < blocks.size(); ++i) {
        const auto range = LocateBlock(frame, tableOffset, blocks.size(), i);
        if (!range)
            return false;
        blocks[i].dataOffset = range->offset;
        blocks[i].dataSize = range->size;
    }
    return true;
}

std::optional<CoderSection> LocateCoders(FrameBytes frame, uint64_t tableOffset, uint64_t blockCount)
{
    const uint64_t at = tableOffset + OffsetTableBytes(blockCount);
    if (at >= frame.size() || blockCount > frame.size() - at - 1)
        return std::nullopt;
    const FrameBytes afterCount = frame.subspan(at + 1);
    return CoderSection{frame[at], afterCount.first(blockCount), afterCount.subspan(blockCount)};
}

bool ReadCodeLengths(const CoderSection& section, std::span<uint32_t> lengths)
{
    assert(section.coderCount == 0 || lengths.size() % section.coderCount == 0);
    const size_t symbols = section.coderCount == 0 ? 0 : lengths.size() / section.coderCount;
    const uint8_t* at = section.tables.data();
    const uint8_t* const end = at + section.tables.size();
    for (size_t coder = 0; coder < section.coderCount; ++coder) {
        at = entropy::ReadLengthTable(at, end, symbols, &lengths[coder * symbols]);
        if (!at)
            return false;
    }
    return true;
}

size_t PayloadStart(FrameBytes frame, const BlockInfo& block)
{
    return std::min<uint64_t>(block.dataOffset + kBlockHeaderBytes, frame.size());
}

FrameBytes PayloadOf(FrameBytes frame, const BlockInfo& block)
{
    const size_t start = PayloadStart(frame, block);
    const uint64_t size = block.dataSize > kBlockHeaderBytes ? block.dataSize - kBlockHeaderBytes : 0;
    assert(size <= frame.size() - start);
    return frame.subspan(start, size);
}

} // namespace core
