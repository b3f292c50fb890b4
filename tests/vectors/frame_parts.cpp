#include "vectors/frame_parts.h"

#include "common/compressed_formats.h"
#include "entropy/canonical_codes.h"
#include "entropy/length_table.h"

#include <algorithm>
#include <stdexcept>

using namespace entropy;

namespace vectors {

namespace {

constexpr size_t kTail = 15;

std::array<uint32_t, 256> Widened(const Lengths& lengths)
{
    std::array<uint32_t, 256> wide;
    std::ranges::copy(lengths, wide.begin());
    return wide;
}

void AddBytes(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

} // namespace

Lengths UsualLengths(int longest)
{
    // Symbols by distance from 0: at first lengths of 2, 3, 4 ..., then whatever uses up the code space.
    const auto limit = static_cast<uint8_t>(longest);
    Lengths lengths;
    lengths.fill(limit);
    uint32_t left = (1U << longest) - 256; // in units of the longest codes; 256 are given out
    for (const bool first : {true, false})
        for (int distance = 0; distance < 256; ++distance) {
            const auto symbol = static_cast<uint8_t>(distance % 2 == 0 ? -(distance / 2) : distance / 2 + 1);
            uint8_t& length = lengths[symbol];
            const int shortest = first ? std::min(longest, 2 + distance) : 1;
            while (length > shortest && (1U << (longest - length)) <= left) {
                left -= 1U << (longest - length);
                --length;
            }
        }
    if (left != 0)
        throw std::logic_error("a code with unused code space");
    return lengths;
}

Lengths FlatLengths(uint8_t length)
{
    Lengths lengths;
    lengths.fill(length);
    return lengths;
}

Bytes TableOf(const Lengths& lengths)
{
    Bytes table(kMaxLengthTableBytes);
    table.resize(WriteLengthTable(Widened(lengths).data(), 256, table.data()));
    return table;
}

Bytes Coded(const Bytes& residuals, const Lengths& lengths)
{
    std::array<CodeRecord, 256> records;
    if (!BuildCanonicalCodes(256, Widened(lengths).data(), 12, records.data()))
        throw std::logic_error("lengths that are no code");
    std::array<CodeRecord, 256> bySymbol;
    for (const CodeRecord& record : records)
        bySymbol[record.symbol] = record;
    Bytes bytes;
    size_t bits = 0;
    for (const uint8_t residual : residuals) {
        const CodeRecord& code = bySymbol[residual];
        for (uint32_t bit = code.length; bit-- > 0; ++bits) {
            if (bits % 8 == 0)
                bytes.push_back(0);
            bytes.back() |= static_cast<uint8_t>((code.code >> bit & 1) << (7 - bits % 8));
        }
    }
    return bytes;
}

Bytes FrameParts::JoinBare() const
{
    Bytes section;
    if (hasCoders) {
        section.push_back(coderCount);
        AddBytes(section, ids);
        for (const Bytes& table : tables)
            AddBytes(section, table);
    }
    Bytes frame = header;
    auto offset = static_cast<uint32_t>(4 * (blocks.size() + 1) + section.size());
    frame.resize(header.size() + 4 * (blocks.size() + 1));
    SetWord(frame, header.size(), offset);
    for (size_t i = 0; i < blocks.size(); ++i) {
        SetWord(frame, OffsetAt(i), offset);
        offset += static_cast<uint32_t>(2 + blocks[i].payload.size());
    }
    AddBytes(frame, section);
    for (const BlockParts& block : blocks) {
        frame.push_back(block.flags);
        frame.push_back(block.predictor);
        AddBytes(frame, block.payload);
    }
    return frame;
}

Bytes FrameParts::Join() const
{
    Bytes frame = JoinBare();
    frame.resize((frame.size() + kTail + 1) / 2 * 2);
    return frame;
}

std::vector<BlockSize> BlocksOf(const FrameHeader& record, uint32_t blockHeight)
{
    const FormatDescriptor& format = *FindFormatDescriptor(record.formatCode);
    std::vector<BlockSize> blocks;
    const uint32_t bands =
        blockHeight == 0 ? 0 : record.height / blockHeight + (record.height % blockHeight != 0);
    for (size_t plane = 0; plane < format.planes; ++plane) {
        const bool chroma = plane == 1 || plane == 2;
        const uint32_t across = chroma ? format.horizontal : 1, down = chroma ? format.vertical : 1;
        const uint32_t step = std::min(blockHeight, record.height) / down;
        for (uint32_t band = 0; band < bands; ++band)
            blocks.push_back(
                {plane, record.width / across, std::min(step, record.height / down - band * step)});
    }
    return blocks;
}

FrameHeader UsualHeader(uint8_t code, uint32_t width, uint32_t height)
{
    FrameHeader header{};
    std::memcpy(header.magic, kFrameMagic, sizeof header.magic);
    header.headerSize = kFrameHeaderSize;
    header.version = kFrameVersion;
    header.formatCode = code;
    header.maxCodeLength = 12;
    header.colorMatrix = 2;
    header.flags = kFlagAlwaysSet | 2U << kCoderTypeShift;
    header.width = header.codedWidth = width;
    header.height = height;
    header.blockHeight = kBlockHeight;
    return header;
}

Bytes SomeResiduals(size_t count, uint32_t seed)
{
    Numbers numbers(seed);
    Bytes residuals(count);
    for (uint8_t& residual : residuals) {
        const uint32_t value = numbers.Next();
        residual = static_cast<uint8_t>(value % 16 == 0 ? value >> 8 : (value >> 8) % 7 - 3);
    }
    return residuals;
}

FrameParts SomeFrame(const FrameHeader& header, uint32_t seed, const Lengths& lengths)
{
    FrameParts frame;
    frame.header = BytesOf(header);
    frame.hasCoders = CoderTypeOf(header) == CoderType::InFrame;
    frame.coderCount = FindFormatDescriptor(header.formatCode)->planes;
    frame.tables.assign(frame.coderCount, TableOf(lengths));
    uint8_t predictor = 0;
    for (const BlockSize& block : BlocksOf(header, header.blockHeight)) {
        frame.ids.push_back(static_cast<uint8_t>(block.plane));
        predictor = static_cast<uint8_t>(predictor % 3 + 1);
        const Bytes residuals = SomeResiduals(size_t{block.width} * block.rows, ++seed);
        frame.blocks.push_back({0, predictor, Coded(residuals, lengths)});
    }
    return frame;
}

} // namespace vectors
