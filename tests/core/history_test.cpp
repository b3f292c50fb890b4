// What is decoded depends on the frame alone: never on an earlier stream, an earlier frame or other blocks.
// Only rows of the host's own planes keep what they held.

#include "support/codec_run.h"
#include "support/picture_maker.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using Bytes = std::vector<uint8_t>;

/// Streams of every code to packed and planar layouts, converters included.
std::vector<StreamSpec> Streams()
{
    std::vector<StreamSpec> streams;
    const auto add = [&](FormatId host, FormatId code, FormatId output) {
        for (const bool interlaced : {false, true})
            streams.push_back({.host = host,
                               .code = code,
                               .width = 36,
                               .height = 60,
                               .interlaced = interlaced,
                               .threads = interlaced ? 1 : 3,
                               .output = output});
    };
    add(kHostBgrx, kCodeRgb, kHostBgr);
    add(kHostBgra, kCodeRgba, kHostBgra);
    add(kHostYv24, kCodeYuv444, kHostV308);
    add(kHostYuy2, kCodeYuv422, kHostBgrx);
    add(kHostYuy2, kCodeYuv422, kHostYuy2);
    add(kHostI420, kCodeYuv420, kHostBgr);
    add(kHostI420, kCodeYuv420, kHostUyvy);
    add(kHostI420, kCodeYuv420, kHostI444);
    add(kHostAyuvOrderAyuv, kCodeYuva, kHostV408);
    add(kHostY8, kCodeGray, kHostYuy2);
    add(kHostY8, kCodeGray, kHostI420);
    return streams;
}

/// Decodes `frame` on a fresh codec and on `used`, which begins another run.
void ExpectSame(CodecRun& used, const Bytes& frame, const char* what)
{
    CodecRun fresh(used.streamSpec);
    fresh.record = used.record;
    fresh.BeginDecompress();
    used.BeginDecompress();
    const auto expected = fresh.Decode(frame);
    const auto decoded = used.Decode(frame);
    ASSERT_EQ(decoded.status, expected.status) << what;
    ASSERT_TRUE(SameBytes(decoded.picture, expected.picture)) << what;
    // Once more in the same run.
    ASSERT_TRUE(SameBytes(used.Decode(frame).picture, used.Decode(frame).picture)) << what;
}

TEST(History, HollowFramesShowNoEarlierStream)
{
    for (const StreamSpec& spec : Streams())
        for (const uint32_t coderType : {0U, 3U, 1U}) {
            CodecRun run(spec);
            run.Decode(run.Encode(MakePicture(Content::Busy, run.InputBytes(), 36, 1)));
            run.record.flags = (run.record.flags & ~(15U << kCoderTypeShift)) | coderType << kCoderTypeShift;
            run.BeginCompress();
            const Bytes hollow = run.Encode(MakePicture(Content::Busy, run.InputBytes(), 36, 2));
            SCOPED_TRACE(testing::Message() << "code " << spec.code << " output " << spec.output);
            ExpectSame(run, hollow, "no payload");
        }
}

TEST(History, FramesOfAnyBlockHeightAndDamageDecodeAsOnAFreshCodec)
{
    std::mt19937 random(TestSeed());
    for (const StreamSpec& spec : Streams()) {
        CodecRun run(spec);
        const Bytes good = run.Encode(MakePicture(Content::Busy, run.InputBytes(), 36, 1));
        SCOPED_TRACE(testing::Message() << "code " << spec.code << " output " << spec.output);
        for (int round = 0; round < 8; ++round) {
            Bytes frame = good;
            const uint32_t rows = 1 + static_cast<uint32_t>(random() % 61);
            if (round % 3 == 0)
                std::memcpy(&frame[28], &rows, sizeof rows);
            for (uint32_t i = 0; i < random() % 6; ++i)
                frame[32 + random() % (frame.size() - 32)] = static_cast<uint8_t>(random());
            if (round % 5 == 0)
                run.record.blockHeight = rows;
            ExpectSame(run, frame, "damaged");
            run.Decode(good);
        }
    }
}

TEST(History, RowsThatNoBlockCoversShowNoEarlierFrame)
{
    // Blocks of 5 rows have 2 rows of 4:2:0 chroma: 24 of 30 rows are covered, and six are open.
    CodecRun run({.width = 36, .height = 60, .output = kHostBgr});
    const auto encode = [&](uint32_t blockHeight, uint32_t seed) {
        run.record.blockHeight = blockHeight;
        run.BeginCompress();
        return run.Encode(MakePicture(Content::Busy, run.InputBytes(), 36, seed));
    };
    const Bytes open = encode(5, 1);
    const Bytes full = encode(60, 2);
    const auto first = run.Decode(open);
    ASSERT_EQ(first.status, FrameStatus::Ok);
    ASSERT_EQ(run.Decode(full).status, FrameStatus::Ok);
    const auto second = run.Decode(open);
    ASSERT_EQ(second.status, FrameStatus::Ok);
    EXPECT_TRUE(SameBytes(second.picture, first.picture));
}

} // namespace
