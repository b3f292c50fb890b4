// What the bytes of a frame tell about its payload: nothing wrong in any frame as it was written, and damage
// in most frames that were damaged afterwards.
#include "files/little_endian.h"
#include "files/payload_check.h"
#include "golden/golden_data.h"
#include "golden/golden_frames.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <random>

namespace {

struct CodedFrame {
    std::string name;
    Bytes record;
    Bytes bytes;

    const CompressedFormat& Format() const
    {
        return *FindCompressedFormat(ReadHeader(record.data()).formatCode);
    }
    FrameFindings Check() const { return Check(bytes); }
    FrameFindings Check(const Bytes& frame) const { return PayloadCheck(Format(), record).Check(frame); }
    FrameStructure Structure() const
    {
        return ReadFrameStructure(MemorySource(bytes), 0, static_cast<uint32_t>(bytes.size()),
                                  ReadHeader(record.data()), Format().planes);
    }
};

/// The golden frames: real frames of every format and predictor, interlaced and not, as earlier versions
/// wrote them.
std::vector<CodedFrame> CodedFrames()
{
    std::vector<CodedFrame> frames;
    for (const GoldenFrame& golden : GoldenFrames()) {
        const Bytes both = ReadGolden(golden.name + ".frame");
        const auto cut = both.begin() + kFrameHeaderSize;
        frames.push_back({golden.name, {both.begin(), cut}, {cut, both.end()}});
    }
    return frames;
}

CodedFrame FrameNamed(const std::string& name)
{
    for (CodedFrame& frame : CodedFrames())
        if (frame.name == name)
            return frame;
    throw std::runtime_error("no golden frame " + name);
}

class PayloadCheckTest : public testing::Test
{
  protected:
    /// The fault of the frame with `change` made to it.
    template <class Change>
    std::string FaultAfter(Change change) const
    {
        Bytes changed = frame.bytes;
        change(changed);
        return frame.Check(changed).fault;
    }

    const CodedFrame frame = FrameNamed("yuv420_dynamic"); // 40 x 60: bands of 28, 28 and 4 rows
    const FrameStructure structure = frame.Structure();
};

bool Contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

TEST_F(PayloadCheckTest, FramesAsTheyWereWrittenHaveNoFaultAndNoRemark)
{
    const std::vector<CodedFrame> frames = CodedFrames();
    ASSERT_GT(frames.size(), 50u);
    for (const CodedFrame& coded : frames) {
        const FrameFindings findings = coded.Check();
        EXPECT_EQ(findings.fault, "") << coded.name;
        EXPECT_EQ(findings.remarks, std::vector<std::string>{}) << coded.name;
    }
}

TEST_F(PayloadCheckTest, DamageToPayloadsIsFoundWithoutChecksums)
{
    // A bit that turns one code into another of the same length leaves the end of the block in place: no
    // check of the end can find it. Longer damage changes the number of symbols.
    struct Kind {
        const char* name;
        size_t bytes; ///< overwritten from some byte of a payload on; 0: one bit is flipped
        int floor;    ///< percent that must be found
    };
    constexpr Kind kKinds[] = {{"bits", 0, 43}, {"bursts_of_16_bytes", 16, 94}, {"sectors", 512, 99}};
    constexpr int kTrials = 1500;
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    const std::vector<CodedFrame> frames = CodedFrames();
    for (const Kind& kind : kKinds) {
        int found = 0;
        for (int trial = 0; trial < kTrials;) {
            const CodedFrame& coded = frames[random() % frames.size()];
            const std::vector<BlockStructure> blocks = coded.Structure().blocks;
            const BlockStructure& block = blocks[random() % blocks.size()];
            constexpr size_t kHead = 2, kTail = 16;
            if (block.raw || block.size <= kHead + kTail) // damage in raw samples leaves no trace
                continue;
            const size_t at = block.offset + kHead + random() % (block.size - kHead - kTail);
            if (at + kind.bytes > coded.bytes.size())
                continue;
            Bytes damaged = coded.bytes;
            damaged[at] ^= static_cast<uint8_t>(kind.bytes == 0 ? 1 << random() % 8 : 0);
            for (size_t i = 0; i < kind.bytes; ++i)
                damaged[at + i] = static_cast<uint8_t>(random());
            found += !coded.Check(damaged).fault.empty();
            ++trial;
        }
        RecordProperty(kind.name, found);
        EXPECT_GE(found, kTrials * kind.floor / 100) << kind.name << " seed " << seed;
    }
}

TEST_F(PayloadCheckTest, BlocksEndInTheByteOfTheirLastSymbolWithZeroBits)
{
    // A byte moves from one block to its neighbor: neither ends where its samples do.
    const size_t table = kFrameHeaderSize;
    const std::string moved = FaultAfter([&](Bytes& bytes) { ++bytes[table + 4 * 3]; });
    EXPECT_TRUE(Contains(moved, "damaged in block 1 (Y, rows 28-55): 1 byte left after its samples; block 2"))
        << moved;

    for (size_t i = 0; i + 1 < structure.blocks.size(); ++i) {
        const size_t last = structure.blocks[i].offset + structure.blocks[i].size - 1;
        if (structure.blocks[i].raw || (frame.bytes[last] & 1) != 0)
            continue; // the last bit is a symbol's, or may be one
        const std::string fault = FaultAfter([&](Bytes& bytes) { bytes[last] ^= 1; });
        EXPECT_TRUE(fault.empty() || Contains(fault, "block " + std::to_string(i))) << fault;
    }
}

TEST_F(PayloadCheckTest, RawBlockHasTheSizeOfItsSamples)
{
    const CodedFrame noise = FrameNamed("noise");
    const FrameStructure places = noise.Structure();
    const auto raw = static_cast<size_t>(std::ranges::find(places.blocks, true, &BlockStructure::raw) -
                                         places.blocks.begin());
    ASSERT_LT(raw, places.blocks.size() - 1) << "a raw block before the last";
    for (const int change : {-1, 1}) {
        Bytes bytes = noise.bytes;
        const size_t word = kFrameHeaderSize + 4 * (raw + 2);
        bytes[word] = static_cast<uint8_t>(bytes[word] + change);
        const std::string fault = noise.Check(bytes).fault;
        EXPECT_TRUE(Contains(fault, change < 0 ? "raw samples are cut off" : "1 byte left after its samples"))
            << fault;
    }
}

TEST_F(PayloadCheckTest, FrameEndsWhereItsLastBlockSays)
{
    for (const CodedFrame& coded : CodedFrames()) {
        Bytes longer = coded.bytes, shorter = coded.bytes;
        longer.insert(longer.end(), 2, 0);
        shorter.resize(shorter.size() - 2);
        for (const Bytes& other : {longer, shorter})
            EXPECT_NE(coded.Check(other).fault, "") << coded.name << other.size();

        // The last 15 bytes are zeros; at an even end there is one more byte, which is free.
        const size_t size = coded.bytes.size();
        int free = 0;
        for (size_t at = size - 16; at < size; ++at) {
            Bytes changed = coded.bytes;
            changed[at] ^= 0x11;
            free += coded.Check(changed).fault.empty();
        }
        EXPECT_LE(free, 1) << coded.name;
    }
}

TEST_F(PayloadCheckTest, PredictorsAndBlocksWithoutPayloadAreNamed)
{
    const size_t offset = structure.blocks[4].offset;
    for (const int predictor : {4, 9, 255})
        EXPECT_EQ(FaultAfter([&](Bytes& bytes) { bytes[offset + 1] = static_cast<uint8_t>(predictor); }),
                  "damaged in block 4 (U, rows 28-55): unknown predictor " + std::to_string(predictor));
    EXPECT_EQ(FaultAfter([&](Bytes& bytes) { bytes[offset + 1] = 0; }), "") << "0 acts as Median";

    const auto moveNext = [&](uint32_t size) {
        return FaultAfter([&](Bytes& bytes) {
            const uint32_t next = structure.blocks[4].offset - kFrameHeaderSize + size;
            std::memcpy(bytes.data() + kFrameHeaderSize + 4 * 6, &next, sizeof next);
        });
    };
    EXPECT_TRUE(moveNext(0).starts_with("damaged in block 4 (U, rows 28-55): it is empty")) << moveNext(0);
    EXPECT_TRUE(moveNext(2).starts_with("damaged in block 4 (U, rows 28-55): it has no payload"))
        << moveNext(2);
}

TEST_F(PayloadCheckTest, CodeLengthsAreInRange)
{
    const size_t tables = structure.blocks[0].offset; // the last table ends before the first block
    EXPECT_TRUE(Contains(FaultAfter([&](Bytes& bytes) { bytes[tables - 1] = 0; }), "make no code"));
    const size_t coders = kFrameHeaderSize + 4 * (structure.blocks.size() + 1);
    EXPECT_TRUE(
        Contains(FaultAfter([&](Bytes& bytes) { bytes[coders] = 2; }), "numbers of coders are out of range"));
}

TEST_F(PayloadCheckTest, WhatReadersRepairOrPassOverIsARemark)
{
    const size_t words = kFrameHeaderSize;
    const size_t ids = words + 4 * (structure.blocks.size() + 1) + 1;
    const struct {
        size_t at;
        uint8_t value;
        const char* remark;
    } cases[] = {{ids + 2, 7, "numbers of coders are out of range: each block has the coder of its plane"},
                 {words + 1, 99, "the unused first word of the offset table is not its second"},
                 {24, 1, "values in the frame header that no reader uses"},
                 {15, 0x80, "values in the frame header that no reader uses"},
                 {structure.blocks[2].offset, 0x80, "block flags that no reader uses"}};
    for (const auto& [at, value, remark] : cases) {
        Bytes changed = frame.bytes;
        changed[at] |= value;
        const FrameFindings findings = frame.Check(changed);
        EXPECT_EQ(findings.fault, "");
        EXPECT_EQ(findings.remarks, std::vector<std::string>{remark});
    }
}

TEST_F(PayloadCheckTest, BlockHeightOfItsOwnIsARemark)
{
    CodedFrame other = FrameNamed("yuv444_gradient");
    const FrameFindings before = other.Check();
    EXPECT_TRUE(before.remarks.empty());
    const uint32_t height = 20; // three bands as well
    std::memcpy(other.record.data() + 28, &height, sizeof height);
    const FrameFindings after = other.Check();
    EXPECT_EQ(after.fault, "");
    EXPECT_EQ(after.remarks, std::vector<std::string>{"blocks of 28 rows, not of the stream's 20"});
}

TEST_F(PayloadCheckTest, CoderTypesWithoutTablesHoldNoPicture)
{
    for (const uint8_t type : {uint8_t{0}, uint8_t{3}, uint8_t{9}}) {
        CodedFrame other = frame;
        for (Bytes* bytes : {&other.record, &other.bytes})
            (*bytes)[14] = static_cast<uint8_t>(((*bytes)[14] & 0x0F) | type << 4);
        EXPECT_EQ(other.Check().fault, "damaged, coded without tables, so that it holds no picture");
    }
}

TEST_F(PayloadCheckTest, TablesOfTheConfigurationRecordServeItsFrames)
{
    // The same frame with its tables moved to the record, as coder type 1 has it.
    const size_t words = structure.blocks.size() + 1;
    const size_t section = kFrameHeaderSize + 4 * words, tables = section + words;
    const size_t first = structure.blocks[0].offset;
    CodedFrame other = frame;
    other.record.insert(other.record.end(), frame.bytes.begin() + static_cast<ptrdiff_t>(tables),
                        frame.bytes.begin() + static_cast<ptrdiff_t>(first));
    const auto size = static_cast<uint32_t>(other.record.size());
    std::memcpy(other.record.data() + 4, &size, sizeof size);
    other.record[14] = other.bytes[14] = static_cast<uint8_t>((frame.bytes[14] & 0x0F) | 1 << 4);
    other.bytes.erase(other.bytes.begin() + static_cast<ptrdiff_t>(section),
                      other.bytes.begin() + static_cast<ptrdiff_t>(first));
    const auto removed = static_cast<uint32_t>(first - section);
    for (size_t i = 0; i < words; ++i) {
        const uint32_t moved = Get<uint32_t>(other.bytes, kFrameHeaderSize + 4 * i) - removed;
        std::memcpy(other.bytes.data() + kFrameHeaderSize + 4 * i, &moved, sizeof moved);
    }
    const auto withoutTail = [](const std::string& fault) { // an odd number of bytes moves the even size
        return fault.empty() || Contains(fault, "the frame does not end where its samples do");
    };
    EXPECT_TRUE(withoutTail(other.Check().fault)) << other.Check().fault;
    other.record.resize(size - 1);
    EXPECT_EQ(other.Check().fault, "damaged, the code length tables are cut off");
}

TEST_F(PayloadCheckTest, WildBytesNeverLeadOutOfTheFrame)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    for (int round = 0; round < 20000; ++round) {
        Bytes bytes = frame.bytes;
        for (size_t n = 1 + random() % 4; n > 0; --n)
            bytes[random() % (n % 2 ? 200 : bytes.size())] = static_cast<uint8_t>(random());
        if (random() % 4 == 0)
            bytes.resize(random() % (bytes.size() + 1));
        PayloadCheck check(frame.Format(), frame.record);
        check.Check(bytes);
    }
}
