#include "files/payload_check.h"

#include "counted.h"
#include "entropy/big_endian.h"
#include "entropy/canonical_codes.h"
#include "entropy/code_limits.h"
#include "entropy/length_table.h"
#include "files/little_endian.h"

#include <algorithm>
#include <numeric>

namespace {

constexpr size_t kBlockHeadBytes = 2;
constexpr uint8_t kRawFlag = 1;
constexpr uint8_t kLastPredictor = 3;
constexpr size_t kTailZeros = 15;
constexpr size_t kNamedBlocks = 4;
constexpr uint32_t kKnownFlags =
    kFlagOldCoderTables | kFlagInterlaced | kFlagFullRange | kFlagAlwaysSet | 15U << kCoderTypeShift;

/// Bytes of a frame whose last block ends at `end`: its tail included.
constexpr uint64_t FrameSizeFor(uint64_t end)
{
    return (end + kTailZeros + 1) & ~uint64_t{1};
}

constexpr uint64_t BytesOfBits(uint64_t bits)
{
    return (bits + 7) / 8;
}

/// Whether the bits of the last byte of a stream of `bits` bits that are not part of it are 0.
bool IsPaddedWithZeros(std::span<const uint8_t> payload, uint64_t bits)
{
    return bits % 8 == 0 || (payload[static_cast<size_t>(bits / 8)] & (0xFF >> bits % 8)) == 0;
}

} // namespace

bool CodeWalk::Build(const uint32_t* lengths)
{
    std::array<entropy::CodeRecord, entropy::kSymbols> records;
    if (!entropy::BuildCanonicalCodes(entropy::kSymbols, lengths, kLookUpBits, records.data()))
        return false;
    firstBits.fill(0);
    uint32_t covered = 0;
    for (const entropy::CodeRecord& record : records) {
        const auto count = uint32_t{1} << (kLookUpBits - record.length);
        std::fill_n(firstBits.begin() + record.code * count, count, static_cast<uint8_t>(record.length));
        covered += count;
    }
    complete = covered == firstBits.size();
    // The bits after the known ones are taken as zeros: a code counts only if it ends within the known ones.
    for (uint32_t bits = 0; bits < steps.size(); ++bits) {
        Step& step = steps[bits] = {};
        for (;;) {
            const uint8_t length = firstBits[(bits << step.bits) % firstBits.size()];
            if (length == 0 || step.bits + length > kLookUpBits)
                break;
            step.bits = static_cast<uint8_t>(step.bits + length);
            ++step.codes;
        }
    }
    return true;
}

CodeWalk::End CodeWalk::Skip(std::span<const uint8_t> payload, uint64_t symbols) const
{
    constexpr uint64_t kSteps = 4; // four look-ups use 48 bits of the 57 that a load gives
    const uint64_t size = uint64_t{payload.size()} * 8;
    uint64_t bit = 0;
    while (symbols >= kSteps * kLookUpBits && bit / 8 + 8 <= payload.size()) {
        uint64_t word = entropy::LoadBigEndian64(payload.data() + bit / 8) << bit % 8;
        for (uint64_t i = 0; i < kSteps; ++i) {
            const Step step = steps[word >> (64 - kLookUpBits)];
            if (step.codes == 0)
                return {End::State::NoCode, bit};
            word <<= step.bits;
            bit += step.bits;
            symbols -= step.codes;
        }
    }
    // The rest one by one, with zeros after the end, as the decoder reads it.
    for (; symbols > 0; --symbols) {
        if (bit >= size)
            return {End::State::Beyond, bit};
        std::array<uint8_t, 8> bytes{};
        const auto at = static_cast<size_t>(bit / 8);
        std::copy_n(payload.begin() + static_cast<ptrdiff_t>(at), std::min<size_t>(4, payload.size() - at),
                    bytes.begin());
        const uint8_t length =
            firstBits[entropy::LoadBigEndian64(bytes.data()) << bit % 8 >> (64 - kLookUpBits)];
        if (length == 0)
            return {End::State::NoCode, bit};
        bit += length;
    }
    return {bit > size ? End::State::Beyond : End::State::Found, bit};
}

PayloadCheck::PayloadCheck(const CompressedFormat& format_, std::span<const uint8_t> record_)
    : format(&format_), record(ReadHeader(record_.data())),
      recordTables(record_.begin() + kFrameHeaderSize, record_.end())
{}

/// Builds `count` coders from code length tables.
/// used  receives the bytes of all tables
/// Returns why the codec refuses the tables; empty when it takes them.
std::string PayloadCheck::ReadTables(std::span<const uint8_t> tables, size_t count, size_t& used)
{
    const uint8_t* at = tables.data();
    coders.resize(count);
    for (size_t i = 0; i < count; ++i) {
        std::array<uint32_t, entropy::kSymbols> lengths{};
        at = entropy::ReadLengthTable(at, tables.data() + tables.size(), entropy::kSymbols, lengths.data());
        if (at == nullptr)
            return "the code length tables are cut off";
        if (!coders[i].Build(lengths.data()))
            return "the code lengths of coder " + std::to_string(i) + " make no code";
    }
    used = static_cast<size_t>(at - tables.data());
    return {};
}

/// The coders of a frame and which block uses which. Returns why there are none; empty when there are.
std::string PayloadCheck::PrepareCoders(std::span<const uint8_t> frame, const FrameStructure& structure,
                                        FrameFindings& findings)
{
    const size_t count = structure.blocks.size();
    const size_t planes = format->planes;
    coderIds.resize(count);
    for (size_t i = 0; i < count; ++i)
        coderIds[i] = structure.blocks[i].plane;
    size_t used = 0;
    if (CoderTypeOf(record) == CoderType::None)
        return "coded without tables, so that it holds no picture";
    if (CoderTypeOf(record) == CoderType::InRecord)
        return ReadTables(recordTables, planes, used);

    const size_t at = structure.tableOffset + 4 * (count + 1);
    if (at + 1 + count > frame.size())
        return "the list of coders is cut off";
    const size_t coderCount = frame[at];
    const std::span<const uint8_t> ids = frame.subspan(at + 1, count);
    if (std::ranges::all_of(ids, [&](uint8_t id) { return id < coderCount; }))
        std::ranges::copy(ids, coderIds.begin());
    else if (coderCount == planes)
        findings.remarks.emplace_back(
            "numbers of coders are out of range: each block has the coder of its plane");
    else
        return "numbers of coders are out of range";
    if (std::string fault = ReadTables(frame.subspan(at + 1 + count), coderCount, used); !fault.empty())
        return fault;
    if (!std::ranges::all_of(coders, &CodeWalk::IsComplete))
        findings.remarks.emplace_back("code lengths leave code space unused");
    if (count > 0 && structure.blocks[0].offset > at + 1 + count + used)
        findings.remarks.emplace_back("bytes between the code length tables and the first block");
    return {};
}

PayloadCheck::Geometry PayloadCheck::GeometryOf(const FrameStructure& structure, size_t block) const
{
    const size_t plane = structure.blocks[block].plane;
    const uint64_t band = block - plane * structure.Bands(format->planes);
    const bool isChroma = plane == 1 || plane == 2;
    const uint64_t vertical = isChroma ? format->vertical : 1;
    const uint64_t planeRows = record.height / vertical;
    const uint64_t blockRows = std::min(structure.blockHeight, record.height) / vertical;
    const uint64_t first = std::min(band * blockRows, planeRows);
    return {record.width / (isChroma ? format->horizontal : 1),
            std::min(first + blockRows, planeRows) - first};
}

/// What is wrong with a block; empty when nothing is.
std::string PayloadCheck::BlockFault(std::span<const uint8_t> frame, const FrameStructure& structure,
                                     size_t block) const
{
    const BlockStructure& place = structure.blocks[block];
    if (place.size < kBlockHeadBytes)
        return "it is empty";
    if (place.predictor > kLastPredictor)
        return "unknown predictor " + std::to_string(place.predictor);
    const auto [width, rows] = GeometryOf(structure, block);
    const uint64_t symbols = width * rows;
    const bool endsFrame = place.offset + place.size == frame.size();
    const std::span<const uint8_t> payload = frame.subspan(place.offset, place.size).subspan(kBlockHeadBytes);
    if (payload.empty() && symbols > 0)
        return "it has no payload";

    uint64_t used = symbols;
    if (place.raw) {
        if (payload.size() < used)
            return "its raw samples are cut off";
    } else {
        const CodeWalk::End end = coders[coderIds[block]].Skip(payload, symbols);
        if (end.state == CodeWalk::End::State::NoCode)
            return "bits that are no code";
        if (end.state == CodeWalk::End::State::Beyond)
            return "it ends before its samples do";
        if (!IsPaddedWithZeros(payload, end.bit))
            return "the bits after its samples are not 0";
        used = BytesOfBits(end.bit);
    }
    if (!endsFrame)
        return used == payload.size() ? ""
                                      : Counted(payload.size() - used, "byte") + " left after its samples";
    const auto tail = payload.subspan(static_cast<size_t>(used));
    const uint64_t end = place.offset + kBlockHeadBytes + used;
    if (FrameSizeFor(end) != frame.size())
        return "the frame does not end where its samples do";
    return std::ranges::all_of(tail.first(kTailZeros), [](uint8_t byte) { return byte == 0; })
               ? ""
               : "the bytes after its samples are not 0";
}

void PayloadCheck::Remark(std::span<const uint8_t> frame, const FrameStructure& structure,
                          FrameFindings& findings) const
{
    if (structure.blockHeight != record.blockHeight)
        findings.remarks.push_back("blocks of " + std::to_string(structure.blockHeight) +
                                   " rows, not of the stream's " + std::to_string(record.blockHeight));
    if (structure.tableOffset == kFrameHeaderSize) {
        const FrameHeader header = ReadHeader(frame.data());
        if (header.codedWidth != header.width || (header.flags & ~kKnownFlags) != 0 ||
            (header.flags & kFlagAlwaysSet) == 0)
            findings.remarks.emplace_back("values in the frame header that no reader uses");
    }
    if (!structure.blocks.empty() &&
        Get<uint32_t>(frame, structure.tableOffset) != Get<uint32_t>(frame, structure.tableOffset + 4))
        findings.remarks.emplace_back("the unused first word of the offset table is not its second");
    if (std::ranges::any_of(structure.blocks, [&](const BlockStructure& block) {
            return block.size >= kBlockHeadBytes && (frame[block.offset] & ~kRawFlag) != 0;
        }))
        findings.remarks.emplace_back("block flags that no reader uses");
}

FrameFindings PayloadCheck::Check(std::span<const uint8_t> frame)
{
    FrameFindings findings;
    const FrameStructure structure = ReadFrameStructure(
        MemorySource(frame), 0, static_cast<uint32_t>(frame.size()), record, format->planes);
    std::string fault = structure.fault;
    if (fault.empty())
        fault = PrepareCoders(frame, structure, findings);
    if (!fault.empty()) {
        findings.fault = "damaged, " + fault;
        return findings;
    }
    Remark(frame, structure, findings);

    size_t damaged = 0;
    const size_t bands = structure.Bands(format->planes);
    std::vector<bool> damagedBands(bands);
    for (size_t block = 0; block < structure.blocks.size(); ++block) {
        fault = BlockFault(frame, structure, block);
        if (fault.empty())
            continue;
        damagedBands[block % bands] = true;
        if (++damaged <= kNamedBlocks)
            findings.fault += (damaged == 1 ? "damaged in " : "; ") +
                              structure.BlocksText(*format, record.height, block, block) + ": " + fault;
    }
    if (damaged > kNamedBlocks)
        findings.fault += "; and in " + Counted(damaged - kNamedBlocks, "other block");
    findings.rows = RowsOfBands(damagedBands, structure.blockHeight, record.height);
    return findings;
}
