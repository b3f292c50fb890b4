// Small frames with one byte after the other changed. What a reader has to answer is read off the changed
// bytes by support/frame_rules.h, which shares nothing with the codec; every frame and every picture ends
// where its allocation ends.

#include "support/codec_run.h"
#include "support/frame_rules.h"
#include "support/long_tests.h"
#include "support/picture_maker.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <map>
#include <ostream>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint32_t kWidth = 16;
constexpr uint32_t kHeight = 60; // two whole bands and one of four rows
constexpr size_t kBands = 3;
constexpr size_t kHeader = 32;
constexpr uint8_t kUntouched = 0xEE;

struct StreamKind {
    FormatId host;
    FormatId code;
    uint64_t planes;
    bool interlaced;

    friend void PrintTo(const StreamKind& kind, std::ostream* out)
    {
        *out << "format " << kind.code << (kind.interlaced ? " interlaced" : " progressive");
    }
};

std::vector<StreamKind> AllKinds()
{
    std::vector<StreamKind> kinds;
    for (const bool interlaced : {false, true})
        for (const auto& [host, code, planes] :
             std::initializer_list<std::tuple<FormatId, FormatId, uint64_t>>{
                 {kHostI420, kCodeYuv420, 3},
                 {kHostBgra, kCodeRgba, 4},
                 {kHostBgr, kCodeRgb, 3},
                 {kHostI444, kCodeYuv444, 3},
                 {kHostYuy2, kCodeYuv422, 3},
                 {kHostAyuvOrderAyuv, kCodeYuva, 4},
                 {kHostY8, kCodeGray, 1}})
            kinds.push_back({host, code, planes, interlaced});
    return kinds;
}

class FrameMutation : public testing::TestWithParam<StreamKind>
{
  protected:
    FrameMutation() { EXPECT_EQ(run.Decode(good).picture, picture); }

    size_t Blocks() const { return static_cast<size_t>(GetParam().planes) * kBands; }
    size_t OffsetTable() const { return kHeader; }
    size_t CoderSection() const { return OffsetTable() + 4 * (Blocks() + 1); }
    size_t FirstBlock() const { return kHeader + static_cast<size_t>(frame_rules::Word(good, kHeader)); }

    int Expected(const Bytes& frame) const
    {
        return ExpectedFrameStatus(frame, {{run.RecordBytes(), kHeader}, GetParam().planes, Blocks()});
    }

    /// Decodes the frame, then the good one.
    void Try(const Bytes& frame)
    {
        const int expected = Expected(frame);
        const auto decoded = run.Decode(frame);
        ++answers[expected];
        ASSERT_EQ(static_cast<int>(decoded.status), expected);
        if (expected != 0) {
            ASSERT_EQ(decoded.picture, Bytes(picture.size(), kUntouched))
                << "a refused frame changed the picture";
        }
        // A frame with a block height of its own leaves its list of blocks behind: a new run starts afresh.
        const uint64_t blockHeight = frame_rules::Word(frame, 28);
        if (expected != frame_rules::kForeign && blockHeight != 0 && blockHeight != 28)
            run.BeginDecompress();
        ASSERT_EQ(run.Decode(good).picture, picture) << "the next good frame";
    }

    /// Gives the bytes from `first` to `end` - 1 all other values, one byte at a time. `stride`: only some
    /// values are tried in a quick run, others for each byte.
    void ChangeBytes(size_t first, size_t end, unsigned stride)
    {
        if (LongTests())
            stride = 1;
        Bytes frame = good;
        for (size_t at = first; at < end; ++at) {
            for (unsigned change = 1 + static_cast<unsigned>(at) % stride; change < 256; change += stride) {
                frame[at] = static_cast<uint8_t>(good[at] ^ change);
                ASSERT_NO_FATAL_FAILURE(Try(frame))
                    << "byte " << at << " from " << +good[at] << " to " << +frame[at];
            }
            frame[at] = good[at];
        }
    }

    CodecRun run{{.host = GetParam().host,
                  .code = GetParam().code,
                  .width = kWidth,
                  .height = kHeight,
                  .interlaced = GetParam().interlaced}};
    const Bytes picture = [this] {
        // Bytes that stand in for nothing come back as the codec fills them.
        const Bytes made = MakePicture(Content::Smooth, run.InputBytes(), kWidth, 3);
        return run.Decode(run.Encode(made)).picture;
    }();
    const Bytes good = run.Encode(picture);
    std::map<int, size_t> answers;
};

TEST_P(FrameMutation, EveryByteOfTheHeader)
{
    ChangeBytes(0, kHeader, GetParam().code == kCodeYuv420 && !GetParam().interlaced ? 1 : 47);
    EXPECT_GT(answers[frame_rules::kOk], 0U) << "coded width, unused flags";
    EXPECT_GT(answers[frame_rules::kForeign], 0U) << "size, format, version";
    EXPECT_GT(answers[frame_rules::kDamaged], 0U) << "magic, header size, block height";
}

TEST_P(FrameMutation, EveryByteOfTheOffsetTable)
{
    ChangeBytes(OffsetTable(), CoderSection(),
                GetParam().code == kCodeYuv420 && !GetParam().interlaced ? 5 : 83);
    EXPECT_GT(answers[frame_rules::kOk], 0U) << "word 0, other starts inside the frame";
    EXPECT_GT(answers[frame_rules::kDamaged], 0U);
    EXPECT_EQ(answers[frame_rules::kForeign], 0U);
}

TEST_P(FrameMutation, EveryByteOfTheCoderSection)
{
    ASSERT_GT(FirstBlock(), CoderSection() + 1 + Blocks());
    ChangeBytes(CoderSection(), FirstBlock(),
                GetParam().code == kCodeYuv420 && !GetParam().interlaced ? 41 : 127);
    EXPECT_GT(answers[frame_rules::kOk], 0U) << "ids that are repaired, lengths that still are a code";
    EXPECT_GT(answers[frame_rules::kDamaged], 0U);
    EXPECT_EQ(answers[frame_rules::kForeign], 0U);
}

TEST_P(FrameMutation, RandomBitsOfPayloadsAreNoError)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    for (int round = 0; round < (LongTests() ? 20000 : 60); ++round) {
        Bytes frame = good;
        for (auto bits = 1 + random() % 8; bits > 0; --bits) {
            const size_t at = FirstBlock() + random() % (good.size() - FirstBlock());
            frame[at] ^= static_cast<uint8_t>(1 << random() % 8);
        }
        ASSERT_EQ(Expected(frame), frame_rules::kOk);
        ASSERT_NO_FATAL_FAILURE(Try(frame)) << "round " << round << " seed " << seed;
    }
}

TEST_P(FrameMutation, AnyBytesInFrontOfThePayload)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    for (int round = 0; round < (LongTests() ? 50000 : 150); ++round) {
        Bytes frame = good;
        // Words of the format in places of the format: more of them pass the first tests than random bytes
        // do.
        constexpr uint32_t kWords[] = {0,  1,  2,   7,          12,         28,        30,
                                       32, 60, 100, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
        for (auto changes = 1 + random() % 3; changes > 0; --changes) {
            const size_t at = random() % (FirstBlock() - 3);
            const auto word = random() % 4 == 0 ? static_cast<uint32_t>(good.size() - random() % 64)
                                                : kWords[random() % std::size(kWords)];
            std::memcpy(frame.data() + at, &word, 1 + random() % 4);
        }
        if (random() % 5 == 0)
            frame.resize(random() % frame.size());
        if (frame.size() < kHeader)
            frame.resize(kHeader);
        ASSERT_NO_FATAL_FAILURE(Try(frame)) << "round " << round << " seed " << seed;
    }
}

INSTANTIATE_TEST_SUITE_P(AllFormats, FrameMutation, testing::ValuesIn(AllKinds()));

/// The rules themselves, on frames whose answer is plain to see.
TEST(FrameRules, AnswerAsByHand)
{
    // A picture of 4 x 4 in 4:0:0: one block, and one table of two bytes behind its id.
    Bytes frame = {'O', 'R', 'V', 'N', 32, 0, 0, 0, 7, 107, 12,   2,    0,  0, 0x22, 0,
                   4,   0,   0,   0,   4,  0, 0, 0, 4, 0,   0,    0,    28, 0, 0,    0,
                   12,  0,   0,   0,   12, 0, 0, 0, 1, 0,   0x88, 0xFF, 0,  1, 0,    0};
    const Bytes record(frame.begin(), frame.begin() + 32);
    const auto answer = [&](size_t at, int value, size_t size = 48) {
        Bytes changed = frame;
        changed[at] = static_cast<uint8_t>(value);
        changed.resize(size);
        return ExpectedFrameStatus(changed, {record, 1, 1});
    };
    EXPECT_EQ(answer(0, 'O'), 0);
    EXPECT_EQ(answer(8, 8), -2) << "a later version";
    EXPECT_EQ(answer(8, 6), -2) << "version 6 says by bit 0 of the flags where tables are";
    EXPECT_EQ(answer(11, 0), 0) << "matrix 0 is 2";
    EXPECT_EQ(answer(11, 1), -2);
    EXPECT_EQ(answer(16, 5), -2) << "width";
    EXPECT_EQ(answer(24, 5), 0) << "coded width";
    EXPECT_EQ(answer(28, 0), 0) << "block height 0 is the configured one";
    EXPECT_EQ(answer(28, 2), -3) << "two blocks, whose second offset lies in the coder section";
    EXPECT_EQ(answer(4, 49), -3) << "header size behind the end";
    EXPECT_EQ(answer(0, 'o'), -3)
        << "headerless: the first offset would be 32 + 0, the coder count 7 with id 107";
    EXPECT_EQ(answer(36, 16), 0) << "an empty block at the end";
    EXPECT_EQ(answer(36, 17), -3) << "a block behind the end";
    EXPECT_EQ(answer(40, 2), -3) << "a second table that is not there";
    EXPECT_EQ(answer(41, 9), 0) << "as many coders as planes: ids are thrown away";
    EXPECT_EQ(answer(42, 0x80), -3) << "lengths of 0";
    EXPECT_EQ(answer(42, 0x87), -3) << "lengths of 7 are too many";
    EXPECT_EQ(answer(42, 0x8C), 0) << "lengths of 12 leave space unused";
    EXPECT_EQ(answer(42, 0x8D), -3) << "lengths of 13";
    EXPECT_EQ(answer(43, 0xFE), -3) << "the 256th length is taken from the block: 0";
    EXPECT_EQ(answer(0, 'O', 3), -3);
    EXPECT_EQ(answer(0, 'O', 31), -3);
    EXPECT_EQ(answer(0, 'O', 39), -3);
    EXPECT_EQ(answer(0, 'O', 43), -3);
    EXPECT_EQ(answer(0, 'O', 44), 0) << "an empty block once more";
}

} // namespace
