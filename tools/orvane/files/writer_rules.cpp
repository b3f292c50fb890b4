#include "files/writer_rules.h"

#include "entropy/code_limits.h"
#include "entropy/length_table.h"
#include "files/avi_records.h"
#include "files/bitmap_info.h"
#include "files/fourcc.h"
#include "files/little_endian.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint32_t kLeastSize = 4;
constexpr uint32_t kBlockRows = 28;
constexpr uint8_t kRawFlag = 1;
constexpr size_t kBlockHeadBytes = 2;

bool IsRgb(const FrameHeader& header)
{
    return IsRgbFamily(header.formatCode);
}

struct HeaderRule {
    const char* broken;
    bool (*holds)(const FrameHeader&);
};

/// The configuration record, and with it every frame header.
constexpr HeaderRule kHeaderRules[] = {
    {"headerSize is not 32", [](const FrameHeader& h) { return h.headerSize == kFrameHeaderSize; }},
    {"the version is not 7", [](const FrameHeader& h) { return h.version == kFrameVersion; }},
    {"the matrix is not 1 or 2",
     [](const FrameHeader& h) { return h.colorMatrix == 2 || (h.colorMatrix == 1 && !IsRgb(h)); }},
    {"RGB of full range", [](const FrameHeader& h) { return !IsRgb(h) || !IsFullRange(h); }},
    {"flag bit 17 is clear", [](const FrameHeader& h) { return (h.flags & kFlagAlwaysSet) != 0; }},
    {"flag bits without a meaning are set",
     [](const FrameHeader& h) {
         constexpr uint32_t known =
             kFlagInterlaced | kFlagFullRange | kFlagAlwaysSet | 15U << kCoderTypeShift;
         return (h.flags & ~known) == 0;
     }},
    {"the coder type is not 2", [](const FrameHeader& h) { return StoredCoderType(h) == 2; }},
    {"width or height is below 4",
     [](const FrameHeader& h) { return h.width >= kLeastSize && h.height >= kLeastSize; }},
    {"codedWidth is not the width", [](const FrameHeader& h) { return h.codedWidth == h.width; }},
    {"the block height is not 28", [](const FrameHeader& h) { return h.blockHeight == kBlockRows; }},
};

struct BitmapRule {
    const char* broken;
    bool (*holds)(std::span<const uint8_t> info, const FrameHeader& record);
};

constexpr BitmapRule kBitmapRules[] = {
    {"biSize is not 72", [](auto info, const auto&) { return Get<uint32_t>(info, 0) == 72; }},
    {"it is not followed by a record of 32 bytes alone",
     [](auto info, const auto&) { return info.size() == avi::kBitmapHeaderSize + kFrameHeaderSize; }},
    {"biWidth or biHeight is not that of the record",
     [](auto info, const auto& record) {
         return Get<uint32_t>(info, 4) == record.width && Get<uint32_t>(info, 8) == record.height;
     }},
    {"biPlanes is not 1", [](auto info, const auto&) { return Get<uint16_t>(info, 12) == 1; }},
    {"biBitCount is not that of the format",
     [](auto info, const auto& record) {
         const FormatDescriptor* const format = FindFormatDescriptor(record.formatCode);
         return format != nullptr && Get<uint16_t>(info, 14) == format->bitCount;
     }},
    {"biCompression is not the FourCC of the format",
     [](auto info, const auto& record) {
         const FormatDescriptor* const format = FindFormatDescriptor(record.formatCode);
         return format != nullptr && Get<uint32_t>(info, 16) == format->FourCC();
     }},
    {"fields after biSizeImage are not 0",
     [](auto info, const auto&) {
         return std::ranges::all_of(info.subspan(24, 16), [](uint8_t byte) { return byte == 0; });
     }},
};

std::string BlockName(size_t block, const char* broken)
{
    return "block " + std::to_string(block) + ": " + broken;
}

} // namespace

/// A frame with its structure.
struct WriterRules::Frame {
    std::span<const uint8_t> bytes;
    FrameStructure structure;
};

WriterRules::WriterRules(const VideoStream& stream_)
    : stream(stream_),
      payload(stream.Format(), std::span(stream.BitmapInfo()).subspan(avi::kBitmapHeaderSize))
{}

std::vector<std::string> WriterRules::CheckStream() const
{
    std::vector<std::string> broken;
    const AviFile& file = stream.File();
    if (file.handler != stream.Format().fourcc)
        broken.emplace_back("the handler is not the FourCC of the format");
    const std::optional<FrameHeader> record = RecordIn(file.bitmapInfo);
    if (!record)
        return {"there is no configuration record"};
    for (const BitmapRule& rule : kBitmapRules)
        if (!rule.holds(file.bitmapInfo, *record))
            broken.push_back(std::string("the bitmap header: ") + rule.broken);
    for (const HeaderRule& rule : kHeaderRules)
        if (!rule.holds(*record))
            broken.push_back(std::string("the configuration record: ") + rule.broken);
    const bool otherNames = std::ranges::any_of(file.frames, [&](const AviFrame& frame) {
        const auto id = stream.Source().ReadBytes(frame.offset - avi::kChunkHead, 4);
        return id.size() != 4 || id[2] != 'd' || id[3] != 'c';
    });
    if (otherNames)
        broken.emplace_back("chunks of frames are not named ##dc");
    return broken;
}

std::vector<std::string> WriterRules::CheckFrame(std::span<const uint8_t> bytes)
{
    std::vector<std::string> broken;
    if (bytes.empty())
        return broken;
    const Frame frame{bytes, ReadFrameStructure(MemorySource(bytes), 0, static_cast<uint32_t>(bytes.size()),
                                                stream.Record(), stream.Format().planes)};
    if (!frame.structure.fault.empty())
        return {frame.structure.fault};
    CheckHeader(frame, broken);
    if (ReadCoders(frame, broken))
        CheckBlocks(frame, broken);
    if (const FrameFindings findings = payload.Check(bytes); !findings.fault.empty())
        broken.push_back(findings.fault);
    return broken;
}

void WriterRules::CheckHeader(const Frame& frame, std::vector<std::string>& broken) const
{
    const FrameHeader& record = stream.Record();
    if (!HasMagic(frame.bytes.data()))
        broken.emplace_back("it has no header");
    else if (std::memcmp(frame.bytes.data(), &record, sizeof record) != 0)
        broken.emplace_back("its header is not the configuration record");
    const std::vector<BlockStructure>& blocks = frame.structure.blocks;
    const size_t table = frame.structure.tableOffset;
    if (!blocks.empty() && Get<uint32_t>(frame.bytes, table) != Get<uint32_t>(frame.bytes, table + 4))
        broken.emplace_back("word 0 of the offset table is not word 1");
    for (size_t i = 0; i + 1 < blocks.size(); ++i)
        if (blocks[i].offset + blocks[i].size != blocks[i + 1].offset)
            broken.push_back(BlockName(i, "the next block does not follow on it"));
}

/// Returns whether each block has a coder.
bool WriterRules::ReadCoders(const Frame& frame, std::vector<std::string>& broken)
{
    const std::vector<BlockStructure>& blocks = frame.structure.blocks;
    const size_t planes = stream.Format().planes;
    const size_t at = frame.structure.tableOffset + 4 * (blocks.size() + 1);
    if (StoredCoderType(stream.Record()) != 2 || at + 1 + blocks.size() > frame.bytes.size())
        return false;
    const std::span<const uint8_t> ids = frame.bytes.subspan(at + 1, blocks.size());
    if (frame.bytes[at] != planes || !std::ranges::equal(ids, blocks, {}, {}, &BlockStructure::plane)) {
        broken.emplace_back("it has not one coder for each plane");
        return false;
    }
    const uint8_t* table = ids.data() + ids.size();
    coders.resize(planes);
    for (size_t coder = 0; coder < planes; ++coder) {
        auto& [lengths, code] = coders[coder];
        const uint8_t* const end = entropy::ReadLengthTable(table, frame.bytes.data() + frame.bytes.size(),
                                                            entropy::kSymbols, lengths.data());
        if (end == nullptr || !code.Build(lengths.data()))
            return false;
        std::array<uint8_t, entropy::kMaxLengthTableBytes> usual;
        const std::span<const uint8_t> stored(table, end);
        const size_t size = entropy::WriteLengthTable(lengths.data(), entropy::kSymbols, usual.data());
        if (!std::ranges::equal(stored, std::span(usual).first(size)))
            broken.push_back("the runs of code lengths " + std::to_string(coder) + " are not the longest");
        if (!code.IsComplete())
            broken.push_back("code lengths " + std::to_string(coder) + " leave code space unused");
        table = end;
    }
    if (!blocks.empty() && frame.bytes.data() + blocks[0].offset != table)
        broken.emplace_back("block 0 does not follow on the code lengths");
    return true;
}

/// Samples of a block.
uint64_t WriterRules::SamplesOf(const Frame& frame, size_t index) const
{
    const CompressedFormat& format = stream.Format();
    const FrameHeader& record = stream.Record();
    const size_t plane = frame.structure.blocks[index].plane;
    const bool chroma = plane == 1 || plane == 2;
    const uint64_t vertical = chroma ? format.vertical : 1;
    const uint64_t step = std::min(frame.structure.blockHeight, record.height) / vertical;
    const uint64_t first = (index - plane * frame.structure.Bands(format.planes)) * step;
    const uint64_t rows = std::min(first + step, record.height / vertical) - first;
    return rows * (record.width / (chroma ? format.horizontal : 1));
}

/// Why the other kind of payload is the right one for a block; null when it is not.
const char* WriterRules::WrongPayload(const Frame& frame, size_t index) const
{
    const BlockStructure& block = frame.structure.blocks[index];
    const auto bytes = frame.bytes.subspan(block.offset, block.size).subspan(kBlockHeadBytes);
    const uint64_t samples = SamplesOf(frame, index);
    const Coder& coder = coders[block.plane];
    if (!block.raw) {
        const CodeWalk::End end = coder.code.Skip(bytes, samples);
        const bool isWrong =
            end.state == CodeWalk::End::State::Found && samples > 0 && (end.bit + 7) / 8 >= samples;
        return isWrong ? "coded, though that is not smaller than raw" : nullptr;
    }
    if (bytes.size() < samples)
        return nullptr;
    uint64_t bits = 0;
    for (const uint8_t residual : bytes.first(static_cast<size_t>(samples)))
        bits += coder.lengths[residual];
    return (bits + 7) / 8 < samples ? "raw, though its code is smaller" : nullptr;
}

void WriterRules::CheckBlocks(const Frame& frame, std::vector<std::string>& broken) const
{
    const std::vector<BlockStructure>& blocks = frame.structure.blocks;
    for (size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i].size < kBlockHeadBytes)
            continue;
        if ((frame.bytes[blocks[i].offset] & ~kRawFlag) != 0)
            broken.push_back(BlockName(i, "flag bits without a meaning are set"));
        if (blocks[i].predictor == 0)
            broken.push_back(BlockName(i, "no predictor from 1 to 3"));
        if (const char* const wrong = WrongPayload(frame, i))
            broken.push_back(BlockName(i, wrong));
    }
}
