// Frames of earlier versions decode to the pictures that they came from, and the encoder gives them byte for
// byte.

#include "golden/golden_data.h"
#include "golden/golden_frames.h"
#include "support/same_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace {

/// What a failure means. Golden files never change.
constexpr const char* kFrozen = "\nThe format is frozen: files that people have must stay readable and "
                                "comparable. docs/frame-format.md describes "
                                "it; the code is wrong, not the golden file.";

class Golden : public testing::TestWithParam<GoldenFrame>
{
  protected:
    const GoldenFrame& golden = GetParam();
    const Bytes file = ReadGolden(golden.name + ".frame");
    const Bytes record{file.begin(), file.begin() + kFrameHeaderSize};
    const Bytes frame{file.begin() + kFrameHeaderSize, file.end()};
    const Bytes picture = ReadGolden(golden.picture + ".raw");
    const Bytes decoded = ReadGolden(golden.decoded + ".raw");
};

TEST_P(Golden, FrameDecodesAsItDid)
{
    // The record is the one that was stored, not one that today's codec would make.
    Orvane codec(true, true);
    CodecRun run(golden.stream); // for its settings
    codec.ApplyDecodeSettings(run.decoder.GetDecodeSettings());
    codec.ApplyEncodeSettings(run.decoder.GetEncodeSettings());
    codec.SetBottomUp(golden.stream.bottomUp);
    for (const int threads : {1, 3}) {
        codec.SetThreadCount(threads);
        CompressInfo info;
        codec.BeginDecompress(info, record.data(), record.size(), golden.stream.host);
        ExactBuffer bytes(frame), into(decoded.size());
        info.frame = bytes.Bytes();
        codec.SetImage(info, into.data());
        ASSERT_EQ(codec.Decompress(info), FrameStatus::Ok);
        ASSERT_TRUE(SameBytes(into.Bytes(), decoded)) << threads << " threads" << kFrozen;
    }
}

TEST_P(Golden, EncoderMakesTheSameBytes)
{
    for (const int threads : {1, 3}) {
        StreamSpec stream = golden.stream;
        stream.threads = threads;
        CodecRun run(stream);
        ASSERT_TRUE(SameBytes(std::span(run.RecordBytes(), kFrameHeaderSize), record))
            << "configuration record" << kFrozen;
        ASSERT_EQ(run.InputBytes(), picture.size());
        ASSERT_TRUE(SameBytes(run.Encode(picture), frame)) << threads << " threads" << kFrozen;
    }
}

INSTANTIATE_TEST_SUITE_P(Frames, Golden, testing::ValuesIn(GoldenFrames()),
                         [](const auto& value) { return value.param.name; });

TEST(GoldenFrames, CoverEveryFormatByEveryMethod)
{
    std::set<std::pair<int, int>> stored; // format and predictor of a block
    for (const GoldenFrame& golden : GoldenFrames()) {
        const Bytes file = ReadGolden(golden.name + ".frame");
        const Bytes frame(file.begin() + kFrameHeaderSize, file.end());
        uint32_t firstBlock;
        std::memcpy(&firstBlock, frame.data() + kFrameHeaderSize, sizeof firstBlock);
        stored.insert({frame[9], frame[kFrameHeaderSize + firstBlock + 1]});
    }
    for (int format = kCodeRgb; format <= kCodeGray; ++format)
        for (int predictor = 1; predictor <= 3; ++predictor)
            EXPECT_TRUE(stored.contains({format, predictor})) << format << " predictor " << predictor;
}

} // namespace
