// Frames that are cut, foreign or made to harm. Every frame and every picture ends where its allocation ends,
// so that the address sanitizer sees a byte too many on either side.

#include "support/codec_run.h"
#include "support/long_tests.h"
#include "support/picture_maker.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kTable = 32;

uint32_t WordAt(const Bytes& frame, size_t offset)
{
    uint32_t word;
    std::memcpy(&word, frame.data() + offset, sizeof word);
    return word;
}

void SetWord(Bytes& frame, size_t offset, uint32_t word)
{
    std::memcpy(frame.data() + offset, &word, sizeof word);
}

/// A 4:2:0 stream of three bands, nine blocks.
class DamagedFrame : public testing::Test
{
  protected:
    static constexpr size_t kBlocks = 9;
    static constexpr size_t kSection = kTable + 4 * (kBlocks + 1);

    CodecRun run{{.width = 64, .height = 60}};
    Bytes picture = MakePicture(Content::Smooth, run.InputBytes(), 64, 1);
    Bytes good = run.Encode(picture);

    /// Decodes a damaged copy; a refused frame must leave the picture alone, and the next good frame must
    /// decode.
    void Expect(FrameStatus status, const std::function<void(Bytes&)>& damage, const std::string& what)
    {
        Bytes frame = good;
        damage(frame);
        const auto decoded = run.Decode(frame);
        EXPECT_EQ(decoded.status, status) << what;
        if (decoded.status != FrameStatus::Ok) {
            EXPECT_TRUE(SameBytes(decoded.picture, Bytes(picture.size(), 0xEE))) << what;
        }
        EXPECT_TRUE(SameBytes(run.Decode(good).picture, picture)) << "after " << what;
    }
};

TEST_F(DamagedFrame, EveryCutGivesTheCodeOfTheStructureItBreaks)
{
    // All structure lies in front of the first block; a cut behind it makes a block end behind the frame,
    // until only the last block, which ends with the frame, gets shorter.
    const size_t lastBlock = kTable + WordAt(good, kTable + 4 * kBlocks);
    for (size_t size = 0; size < good.size(); ++size) {
        const Bytes frame(good.begin(), good.begin() + static_cast<ptrdiff_t>(size));
        const auto decoded = run.Decode(frame);
        EXPECT_EQ(decoded.status, size < lastBlock ? FrameStatus::DamagedFrame : FrameStatus::Ok) << size;
        if (size < lastBlock) {
            ASSERT_TRUE(SameBytes(decoded.picture, Bytes(picture.size(), 0xEE))) << size;
        }
    }
    EXPECT_TRUE(SameBytes(run.Decode(good).picture, picture));
}

TEST_F(DamagedFrame, ForeignHeaders)
{
    const auto set = [](size_t offset, int value) {
        return [=](Bytes& frame) { frame[offset] = static_cast<uint8_t>(value); };
    };
    Expect(FrameStatus::ForeignFrame, set(8, 8), "version 8");
    Expect(FrameStatus::ForeignFrame, set(8, 255), "version 255");
    Expect(FrameStatus::ForeignFrame, set(9, 104), "another format");
    Expect(FrameStatus::ForeignFrame, set(10, 11), "another code limit");
    Expect(FrameStatus::ForeignFrame, set(11, 1), "another matrix");
    Expect(FrameStatus::Ok, set(11, 0), "matrix 0 means 2");
    Expect(FrameStatus::ForeignFrame, set(11, 3), "matrix 3");
    Expect(FrameStatus::ForeignFrame, set(12, 2), "interlaced");
    Expect(FrameStatus::ForeignFrame, set(12, 4), "full range");
    Expect(FrameStatus::Ok, set(12, 1), "old coder bit in a version 7 frame");
    Expect(FrameStatus::Ok, set(14, 0x20), "bit 17 clear");
    Expect(FrameStatus::ForeignFrame, set(14, 0x12), "coder type 1");
    Expect(FrameStatus::ForeignFrame, set(14, 0xF2), "coder type 15");
    Expect(FrameStatus::ForeignFrame, set(16, 65), "width one more");
    Expect(FrameStatus::ForeignFrame, set(16, 63), "width one less");
    Expect(FrameStatus::ForeignFrame, set(20, 61), "height one more");
    Expect(FrameStatus::ForeignFrame, set(23, 0x80), "height beyond 31 bits");
    Expect(FrameStatus::Ok, set(24, 1), "coded width is read by nobody");
    Expect(FrameStatus::Ok, set(28, 0), "block height 0: the configured one holds");
    // Versions below 7 say with bit 0 that the tables are in the frame.
    for (int version = 0; version < 7; ++version) {
        Expect(FrameStatus::ForeignFrame, set(8, version), "old version without the coder bit");
        Expect(
            FrameStatus::Ok,
            [=](Bytes& frame) {
                frame[8] = static_cast<uint8_t>(version);
                frame[12] |= 1;
            },
            "old version");
    }
}

TEST_F(DamagedFrame, HeaderSizes)
{
    const auto set = [](uint32_t size) { return [=](Bytes& frame) { SetWord(frame, 4, size); }; };
    Expect(FrameStatus::DamagedFrame, set(static_cast<uint32_t>(good.size()) + 1), "behind the end");
    Expect(FrameStatus::DamagedFrame, set(0xFFFFFFFF), "far behind the end");
    Expect(FrameStatus::DamagedFrame, set(static_cast<uint32_t>(good.size())),
           "no room for the offset table");
    Expect(FrameStatus::DamagedFrame, set(static_cast<uint32_t>(good.size()) - 4), "nor here");

    // A header size of 0 passes and puts the offset table over the header.
    Bytes zero = good;
    SetWord(zero, 4, 0);
    const auto decoded = run.Decode(zero);
    EXPECT_EQ(decoded.status,
              FrameStatus::DamagedFrame); // word 2 is version and format: far behind the frame
    EXPECT_TRUE(SameBytes(run.Decode(good).picture, picture));
}

TEST_F(DamagedFrame, HeaderSizeZeroReadsTheTableOverTheHeader)
{
    // 4:0:0 of one band: the one offset is word 1, the header size field itself, so that the block starts at
    // 0. With tables in the frame the coder section would be the version byte on; it is 7 coders with ids
    // from format 107 on.
    CodecRun gray({.host = kHostY8, .code = kCodeGray, .width = 4, .height = 4, .coderType = 0});
    Bytes frame = gray.Encode(Bytes(16, 9));
    SetWord(frame, 4, 0);
    const auto decoded = gray.Decode(frame);
    // No coders: the rows are left as they were, then undone by predictor 'R', which acts as Median.
    EXPECT_EQ(decoded.status, FrameStatus::Ok);
}

TEST_F(DamagedFrame, HeaderlessFramesTakeAllFieldsFromTheRecord)
{
    const Bytes headerless(good.begin() + kTable, good.end());
    EXPECT_EQ(run.Decode(headerless).status, FrameStatus::Ok);
    EXPECT_TRUE(SameBytes(run.Decode(headerless).picture, picture));
    for (size_t size = 0; size < 60; ++size)
        EXPECT_EQ(run.Decode(Bytes(size, 0)).status, FrameStatus::DamagedFrame) << size << " zeros";
}

TEST_F(DamagedFrame, Offsets)
{
    const size_t first = kTable + 4;
    const auto size = static_cast<uint32_t>(good.size() - kTable);
    const auto set = [&](size_t block, uint32_t value) {
        return [=](Bytes& frame) { SetWord(frame, first + 4 * block, value); };
    };
    Expect(
        FrameStatus::Ok, [&](Bytes& frame) { SetWord(frame, kTable, 0xFFFFFFFF); }, "word 0 is never read");
    Expect(FrameStatus::DamagedFrame, set(8, size + 1), "the last block starts behind the frame");
    Expect(FrameStatus::Ok, set(8, size), "the last block is empty");
    Expect(FrameStatus::DamagedFrame, set(0, 0xFFFFFFFF),
           "a block that ends before it starts ends with the frame");
    Expect(FrameStatus::DamagedFrame, set(4, 0x80000000), "behind the frame");
    Expect(FrameStatus::Ok, set(4, 0), "a block over the offset table");
    Expect(FrameStatus::Ok, set(0, WordAt(good, first + 4)), "two equal offsets");
    Expect(
        FrameStatus::Ok,
        [&](Bytes& frame) {
            for (size_t block = 0; block < 8; ++block)
                SetWord(frame, first + 4 * block, 0xFFFFFFF0);
            SetWord(frame, first + 4 * 7, size);
            SetWord(frame, first + 4 * 6, size);
            for (size_t block = 0; block < 6; ++block)
                SetWord(frame, first + 4 * block, size);
        },
        "equal offsets at the frame's end");
    Expect(
        FrameStatus::DamagedFrame,
        [&](Bytes& frame) {
            for (size_t block = 0; block < 8; ++block)
                SetWord(frame, first + 4 * block, 0xFFFFFFF0);
        },
        "equal offsets behind the frame, and one that runs to its end");
}

TEST_F(DamagedFrame, EmptyBlockTakesItsHeadFromTheNextAndDecodesZeroBits)
{
    // Zero bits are the first of the longest codes; the picture is garbage in those rows alone.
    Bytes frame = good;
    SetWord(frame, kTable + 4, WordAt(good, kTable + 8));
    const auto decoded = run.Decode(frame);
    ASSERT_EQ(decoded.status, FrameStatus::Ok);
    EXPECT_FALSE(std::equal(picture.begin(), picture.begin() + 28 * 64, decoded.picture.begin()));
    EXPECT_TRUE(std::equal(picture.begin() + 28 * 64, picture.end(), decoded.picture.begin() + 28 * 64));
}

TEST_F(DamagedFrame, CoderSection)
{
    Expect(
        FrameStatus::Ok, [](Bytes& frame) { frame[kSection + 1] = 3; },
        "an id of 3 with 3 coders is repaired");
    Expect(
        FrameStatus::Ok, [](Bytes& frame) { frame[kSection + 9] = 255; }, "so is the last id");
    Expect(
        FrameStatus::DamagedFrame, [](Bytes& frame) { frame[kSection] = 2; },
        "two coders, and a block with id 2");
    Expect(
        FrameStatus::DamagedFrame, [](Bytes& frame) { frame[kSection] = 0; }, "no coders");
    Expect(
        FrameStatus::DamagedFrame, [](Bytes& frame) { frame[kSection] = 255; }, "tables run out of lengths");
    Expect(
        FrameStatus::DamagedFrame, [](Bytes& frame) { frame[kSection + 10] = 0; }, "a length of 0");
    Expect(
        FrameStatus::DamagedFrame, [](Bytes& frame) { frame[kSection + 10] = 13; }, "a length of 13");
    Expect(
        FrameStatus::DamagedFrame,
        [](Bytes& frame) {
            frame[kSection + 10] = 0x81;
            frame[kSection + 11] = 255;
        },
        "256 lengths of 1 oversubscribe");
}

TEST_F(DamagedFrame, MoreCodersThanPlanesAreTakenWhenAllIdsAreValid)
{
    // The three tables once more, and every block on the second set.
    const size_t tables = kSection + 1 + kBlocks;
    const size_t firstBlock = kTable + WordAt(good, kTable + 4);
    const Bytes once(good.begin() + tables, good.begin() + static_cast<ptrdiff_t>(firstBlock));
    Bytes frame = good;
    frame.insert(frame.begin() + static_cast<ptrdiff_t>(firstBlock), once.begin(), once.end());
    frame[kSection] = 6;
    for (size_t block = 0; block < kBlocks; ++block) {
        frame[kSection + 1 + block] = static_cast<uint8_t>(3 + block / 3);
        SetWord(frame, kTable + 4 + 4 * block,
                WordAt(good, kTable + 4 + 4 * block) + static_cast<uint32_t>(once.size()));
    }
    const auto decoded = run.Decode(frame);
    EXPECT_EQ(decoded.status, FrameStatus::Ok);
    EXPECT_TRUE(SameBytes(decoded.picture, picture));
}

TEST_F(DamagedFrame, PredictorBytesBeyondTwoActAsMedian)
{
    CodecRun median({.width = 64, .height = 60, .method = PredictMethod::Median});
    const Bytes frame = median.Encode(picture);
    for (const int predictor : {0, 4, 77, 255}) {
        Bytes changed = frame;
        for (size_t block = 0; block < kBlocks; ++block)
            changed[kTable + WordAt(frame, kTable + 4 + 4 * block) + 1] = static_cast<uint8_t>(predictor);
        EXPECT_TRUE(SameBytes(median.Decode(changed).picture, picture)) << predictor;
    }
}

TEST_F(DamagedFrame, OtherBlockFlagsAreIgnored)
{
    Bytes frame = good;
    for (size_t block = 0; block < kBlocks; ++block)
        frame[kTable + WordAt(good, kTable + 4 + 4 * block)] |= 0xFE;
    EXPECT_TRUE(SameBytes(run.Decode(frame).picture, picture));
}

TEST_F(DamagedFrame, RawBlocksThatAreTooShortReadOnAndThenZeros)
{
    // The last block (plane 2, 2 rows of 32) becomes raw and is cut: what it lacks reads as zero.
    Bytes frame = good;
    const size_t last = kTable + WordAt(good, kTable + 4 * kBlocks);
    frame.resize(last + 2);
    frame[last] = 1;
    frame[last + 1] = 1;
    for (int value = 1; value <= 10; ++value)
        frame.push_back(static_cast<uint8_t>(value));
    const auto decoded = run.Decode(frame);
    ASSERT_EQ(decoded.status, FrameStatus::Ok);
    const size_t start = picture.size() - 2 * 32;
    Bytes expected(64);
    for (size_t i = 0; i < 32; ++i)
        expected[i] = static_cast<uint8_t>(i < 10 ? (i + 1) * (i + 2) / 2 : 55); // running sum, Left
    for (size_t i = 0; i < 32; ++i)
        expected[32 + i] = expected[0]; // residuals 0: column 0 from above, then from the left
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(),
                           decoded.picture.begin() + static_cast<ptrdiff_t>(start)));
}

TEST_F(DamagedFrame, PayloadDamageStaysInItsBlock)
{
    const size_t start = kTable + WordAt(good, kTable + 8); // second band of plane 0
    Bytes frame = good;
    for (size_t i = 0; i < 20; ++i)
        frame[start + 2 + i] = static_cast<uint8_t>(~frame[start + 2 + i]);
    const auto decoded = run.Decode(frame);
    ASSERT_EQ(decoded.status, FrameStatus::Ok);
    for (size_t i = 0; i < picture.size(); ++i)
        if (i < 28 * 64 || i >= 56 * 64) {
            ASSERT_EQ(decoded.picture[i], picture[i]) << i;
        }
    EXPECT_NE(decoded.picture, picture);
}

TEST_F(DamagedFrame, AnyMutationIsSafeAndTheNextGoodFrameDecodes)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    const size_t structure = kTable + WordAt(good, kTable + 4) + 2;
    for (int round = 0; round < (LongTests() ? 100000 : 3000); ++round) {
        Bytes frame = good;
        for (uint32_t i = 0; i <= random() % 4; ++i)
            frame[random() % (random() % 3 ? structure : frame.size())] = static_cast<uint8_t>(random());
        if (random() % 4 == 0)
            frame.resize(random() % frame.size());
        const auto decoded = run.Decode(frame);
        if (decoded.status != FrameStatus::Ok) {
            ASSERT_TRUE(SameBytes(decoded.picture, Bytes(picture.size(), 0xEE))) << "round " << round;
        }
        // Block heights of their own leave their list behind; a new run starts afresh.
        run.BeginDecompress();
        ASSERT_TRUE(SameBytes(run.Decode(good).picture, picture)) << "round " << round << " seed " << seed;
    }
}

// Block heights

struct TallRun {
    CodecRun run{{.width = 40, .height = 100}};
    Bytes picture = MakePicture(Content::Smooth, run.InputBytes(), 40, 3);

    /// The frame of the same picture in blocks of another height.
    Bytes EncodeWithBlockHeight(uint32_t blockHeight)
    {
        CodecRun other(run.streamSpec);
        other.record.blockHeight = blockHeight;
        other.BeginCompress();
        return other.Encode(picture);
    }
};

TEST(ForeignBlockHeight, FramesOfAnyBlockHeightDecode)
{
    TallRun tall;
    for (const uint32_t blockHeight : {2U, 4U, 10U, 24U, 28U, 34U, 50U, 64U, 98U, 100U, 200U, 0xFFFFFFFFU}) {
        const Bytes frame = tall.EncodeWithBlockHeight(blockHeight);
        ASSERT_FALSE(frame.empty());
        tall.run.BeginDecompress();
        const auto decoded = tall.run.Decode(frame);
        EXPECT_EQ(decoded.status, FrameStatus::Ok) << blockHeight;
        EXPECT_TRUE(SameBytes(decoded.picture, tall.picture)) << blockHeight;
        EXPECT_EQ(tall.run.decompressInfo.header.blockHeight, 28U) << "the configured height returns";
    }
}

TEST(ForeignBlockHeight, TheNextFrameFindsTheCountOfTheListThatWasMade)
{
    TallRun tall;
    const Bytes usual = tall.EncodeWithBlockHeight(28);   // four bands
    const Bytes single = tall.EncodeWithBlockHeight(100); // one band
    EXPECT_EQ(tall.run.Decode(usual).status, FrameStatus::Ok);
    EXPECT_EQ(tall.run.Decode(single).status, FrameStatus::Ok);
    EXPECT_EQ(tall.run.decoder.Blocks().size(), 3U);
    // Twelve offsets are read as three now: safe, whatever comes out.
    const auto decoded = tall.run.Decode(usual);
    if (decoded.status != FrameStatus::Ok) {
        EXPECT_TRUE(SameBytes(decoded.picture, Bytes(tall.picture.size(), 0xEE)));
    }
    EXPECT_TRUE(SameBytes(tall.run.Decode(single).picture, tall.picture));
    tall.run.BeginDecompress();
    EXPECT_TRUE(SameBytes(tall.run.Decode(usual).picture, tall.picture));
}

TEST(ForeignBlockHeight, AListOfTheSameCountStays)
{
    // 26 rows a block makes four bands of 100 rows, as 28 does: the frame is read with the rows of the list.
    TallRun tall;
    const auto decoded = tall.run.Decode(tall.EncodeWithBlockHeight(26));
    EXPECT_EQ(decoded.status, FrameStatus::Ok);
    EXPECT_EQ(tall.run.decoder.Blocks()[1].firstRow, 28);
    EXPECT_NE(decoded.picture, tall.picture);
    EXPECT_TRUE(SameBytes(tall.run.Decode(tall.EncodeWithBlockHeight(28)).picture, tall.picture));
}

TEST(ForeignBlockHeight, ConfiguredZeroGivesNoBlocksAndLeavesThePicture)
{
    TallRun tall;
    const Bytes frame = tall.EncodeWithBlockHeight(28);
    tall.run.record.blockHeight = 0;
    tall.run.BeginDecompress();
    const auto decoded = tall.run.Decode(tall.EncodeWithBlockHeight(0));
    EXPECT_EQ(decoded.status, FrameStatus::Ok);
    EXPECT_TRUE(SameBytes(decoded.picture, Bytes(tall.picture.size(), 0xEE)));
    EXPECT_TRUE(SameBytes(tall.run.Decode(frame).picture, tall.picture))
        << "a frame's own height still counts";
}

TEST(ForeignBlockHeight, NoListIsBuiltForAFrameWithoutRoomForItsTable)
{
    TallRun tall;
    Bytes frame = tall.EncodeWithBlockHeight(28);
    SetWord(frame, 28, 1); // 300 blocks: a table of 1,204 bytes
    ASSERT_LT(frame.size(), 32U + 1204U + 20000U);
    frame.resize(32 + 1203);
    EXPECT_EQ(tall.run.Decode(frame).status, FrameStatus::DamagedFrame);
    EXPECT_EQ(tall.run.decoder.Blocks().size(), 12U);
}

TEST(ForeignBlockHeight, OddHeightsAreSafeInEveryFormatAndField)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    const Orvane codec(true, true);
    std::vector<std::pair<FormatId, FormatId>> outputs;
    for (const auto& [key, route] : codec.Routes())
        if (route.kind == RouteKind::Decompress && key.second != kAnyFormat)
            outputs.push_back({key.second, key.first});
    for (const auto& [output, code] : outputs)
        for (const bool interlaced : {false, true}) {
            const FormatId host =
                codec.Routes().at({code, kAnyFormat}).kind == RouteKind::Decompress
                    ? Orvane::NativeFormat({{}, 32, 7, static_cast<uint8_t>(code), 12, 2, 0, 0, 0, 0, 0})
                    : output;
            CodecRun run({.host = host,
                          .code = code,
                          .width = 36,
                          .height = 60,
                          .interlaced = interlaced,
                          .threads = 2,
                          .output = output == host ? 0 : output});
            const Bytes picture = MakePicture(Content::Smooth, run.InputBytes(), 36, seed);
            const Bytes good = run.Encode(picture);
            const Bytes expected = run.Decode(good).picture;
            for (int round = 0; round < 8; ++round) {
                Bytes frame = good;
                SetWord(frame, 28, 1 + static_cast<uint32_t>(random() % 61));
                frame.resize(frame.size() + 2000); // room for any table
                run.Decode(frame);
                run.Decode(good);
            }
            run.BeginDecompress();
            EXPECT_EQ(run.Decode(good).picture, expected) << "code " << code << " output " << output;
        }
}

// Coder types

TEST(CoderTypes, WithoutTablesBlocksHaveNoPayloadAndRowsStay)
{
    for (const uint32_t coderType : {0U, 3U}) {
        CodecRun run({.width = 64, .height = 60, .method = PredictMethod::Left, .coderType = coderType});
        const Bytes frame = run.Encode(MakePicture(Content::Smooth, run.InputBytes(), 64, 1));
        ASSERT_EQ(frame.size(), 32U + 4 * 10 + 2 * 9 + 16U) << "two bytes a block";
        const auto decoded = run.Decode(frame, 0, 0);
        EXPECT_EQ(decoded.status, FrameStatus::Ok);
        EXPECT_TRUE(SameBytes(decoded.picture, Bytes(run.OutputBytes(), 0))) << "zeros unpredict to zeros";
    }
}

/// A record with the tables of all planes behind it, as only other writers make it, and its frames.
class StreamTables : public testing::Test
{
  protected:
    CodecRun run{{.width = 64, .height = 60}};
    Bytes picture = MakePicture(Content::Smooth, run.InputBytes(), 64, 1);
    Bytes record;
    Bytes frame;

    void SetUp() override
    {
        const Bytes good = run.Encode(picture);
        const size_t section = kTable + 4 * 10;
        const size_t tables = section + 1 + 9;
        const size_t firstBlock = kTable + WordAt(good, kTable + 4);

        record.assign(good.begin(), good.begin() + 32);
        record.insert(record.end(), good.begin() + tables, good.begin() + static_cast<ptrdiff_t>(firstBlock));
        SetWord(record, 4, static_cast<uint32_t>(record.size()));
        record[14] = 0x12; // coder type 1

        frame = good;
        frame[14] = 0x12;
        frame.erase(frame.begin() + section, frame.begin() + static_cast<ptrdiff_t>(firstBlock));
        for (size_t block = 0; block < 9; ++block)
            SetWord(frame, kTable + 4 + 4 * block,
                    WordAt(good, kTable + 4 + 4 * block) - static_cast<uint32_t>(firstBlock - section));
    }

    void Begin(const Bytes& bytes)
    {
        run.decoder.BeginDecompress(run.decompressInfo, bytes.data(), bytes.size(), run.Output());
    }
};

TEST_F(StreamTables, AreReadOnceFromTheRecord)
{
    Begin(record);
    EXPECT_TRUE(SameBytes(run.Decode(frame).picture, picture));
    EXPECT_TRUE(SameBytes(run.Decode(frame).picture, picture));
}

TEST_F(StreamTables, OldVersionsSayItWithAClearBit)
{
    for (uint8_t version = 0; version < 7; ++version) {
        record[8] = frame[8] = version;
        record[14] = frame[14] = 2;
        Begin(record);
        EXPECT_TRUE(SameBytes(run.Decode(frame).picture, picture)) << static_cast<int>(version);
    }
}

TEST_F(StreamTables, ACutTableLeavesItsPlaneAndTheLaterOnesUnbuilt)
{
    for (const size_t cut : {record.size() - 1, size_t{32}}) {
        Bytes shorter(record.begin(), record.begin() + static_cast<ptrdiff_t>(cut));
        SetWord(shorter, 4, static_cast<uint32_t>(cut));
        Begin(shorter);
        const auto decoded = run.Decode(frame);
        EXPECT_EQ(decoded.status, FrameStatus::Ok);
        const bool lumaWhole =
            std::equal(picture.begin(), picture.begin() + 64 * 60, decoded.picture.begin());
        EXPECT_EQ(lumaWhole, cut != 32);
        EXPECT_NE(decoded.picture, picture);
    }
}

TEST_F(StreamTables, GovernACompressRunWithoutPayload)
{
    run.encoder.BeginCompress(run.compressInfo, record.data(), record.size(), run.streamSpec.host);
    const Bytes empty = run.Encode(picture);
    ASSERT_EQ(empty.size(), (record.size() + 4 * 10 + 2 * 9 + 16) / 2 * 2);
    EXPECT_TRUE(std::equal(record.begin(), record.end(), empty.begin()));
}

// Pictures

TEST(PictureCheck, GivesTheFirstFault)
{
    CodecRun run({.host = kHostI420, .code = kCodeYuv420, .width = 16, .height = 8});
    ExactBuffer picture(run.InputBytes(), 0, 1);
    Bytes frame(run.encoder.MaxCompressedSize(kHostI420, 16, 8, kCodeYuv420));
    const auto errorOf = [&](auto change) {
        run.encoder.SetSource(run.compressInfo, picture.data());
        change(run.compressInfo.source);
        run.compressInfo.output = frame.data();
        run.encoder.ClearLastError();
        const bool refused = run.encoder.Compress(run.compressInfo) == 0;
        EXPECT_EQ(refused, run.encoder.LastError() != kPictureOk);
        return run.encoder.LastError();
    };
    EXPECT_EQ(errorOf([](ConstPlaneRecords&) {}), kPictureOk);
    EXPECT_EQ(errorOf([](ConstPlaneRecords& image) { image[2].data = nullptr; }), kBadAddress);
    EXPECT_EQ(errorOf([](ConstPlaneRecords& image) { image[1].pitch = 0; }), kBadPitch);
    EXPECT_EQ(errorOf([](ConstPlaneRecords& image) { image[0].pitch = 15; }), kShortPitch);
    EXPECT_EQ(errorOf([](ConstPlaneRecords& image) { image[0].pitch = -16; }), kShortPitch);
    EXPECT_EQ(errorOf([](ConstPlaneRecords& image) { image[1].size = 31; }), kShortPlane);
    EXPECT_EQ(errorOf([](ConstPlaneRecords& image) { image[0].pitch = 0x7FFFFFF0; }), kShortPlane)
        << "rows beyond signed 32-bit offsets";
    EXPECT_EQ(errorOf([](ConstPlaneRecords&) {}), kPictureOk) << "the next frame works";
    run.compressInfo.imageFormat = 11;
    EXPECT_EQ(run.encoder.Compress(run.compressInfo), 0U);
    EXPECT_EQ(run.encoder.LastError(), kNoFrontend);
}

TEST(PictureCheck, FailsADecompressionWithoutLookingAtTheFrame)
{
    CodecRun run({.host = kHostY8, .code = kCodeGray, .width = 8, .height = 8});
    uint8_t nothing = 0;
    run.decompressInfo.frame = {&nothing, 0};
    run.decoder.SetImage(run.decompressInfo, nullptr);
    EXPECT_EQ(run.decoder.Decompress(run.decompressInfo), FrameStatus::BadPlanes);
}

} // namespace
