#include "support/codec_run.h"
#include "support/long_tests.h"
#include "support/picture_maker.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

namespace {

struct Pair {
    FormatId host;
    FormatId code;
};

/// All pairs that must come back bit for bit.
std::vector<Pair> LosslessPairs()
{
    const Orvane codec(true, true);
    std::vector<Pair> pairs;
    for (const auto& [key, route] : codec.Routes())
        if (route.kind == RouteKind::Compress && !route.lossy && key.second != kAnyFormat)
            pairs.push_back({key.first, key.second});
    return pairs;
}

/// The bytes of a picture that a layout keeps: a 32-bit layout without alpha gives its fourth byte back as
/// 255, and the padding of 24-bit rows is not kept.
void ForgetUnkept(std::vector<uint8_t>& picture, const StreamSpec& streamSpec)
{
    const auto fill = [&](size_t position) {
        for (size_t i = position; i < picture.size(); i += 4)
            picture[i] = 255;
    };
    switch (streamSpec.host) {
    case kHostBgrx:
    case kHostRgbx:
    case kHostV408X:
    case kHostVuyx:
        fill(3);
        break;
    case kHostXrgb:
    case kHostXbgr:
        fill(0);
        break;
    case kHostBgr:
    case kHostRgb:
    case kHostV308: {
        const size_t pitch = (size_t{3} * streamSpec.width + 3) / 4 * 4;
        for (size_t row = 0; row < streamSpec.height; ++row)
            std::fill(picture.begin() + static_cast<ptrdiff_t>(row * pitch + 3 * streamSpec.width),
                      picture.begin() + static_cast<ptrdiff_t>((row + 1) * pitch), uint8_t{0});
        break;
    }
    default:
        break;
    }
}

void ExpectRoundTrip(const StreamSpec& streamSpec, Content content, uint32_t seed)
{
    CodecRun run(streamSpec);
    std::vector<uint8_t> picture = MakePicture(content, run.InputBytes(), streamSpec.width, seed);
    const std::vector<uint8_t> frame = run.Encode(picture);
    ASSERT_FALSE(frame.empty()) << "error " << run.encoder.LastError();
    CodecRun::Decoded decoded = run.Decode(frame);
    ASSERT_EQ(decoded.status, FrameStatus::Ok);
    ForgetUnkept(picture, streamSpec);
    ForgetUnkept(decoded.picture, streamSpec);
    ASSERT_TRUE(SameBytes(decoded.picture, picture))
        << "host " << streamSpec.host << " code " << streamSpec.code << " " << streamSpec.width << "x"
        << streamSpec.height << " method " << static_cast<int>(streamSpec.method) << " interlaced "
        << streamSpec.interlaced << " content " << static_cast<int>(content);
}

TEST(RoundTrip, EveryLosslessPairMethodAndContentComesBackBitForBit)
{
    const uint32_t seed = TestSeed();
    const auto pairs = LosslessPairs();
    ASSERT_GE(pairs.size(), 5U);
    for (const Pair& pair : pairs)
        for (const auto method :
             {PredictMethod::Left, PredictMethod::Gradient, PredictMethod::Median, PredictMethod::Dynamic})
            for (const Content content : kAllContents)
                for (const bool interlaced : {false, true}) {
                    ExpectRoundTrip({.host = pair.host,
                                     .code = pair.code,
                                     .width = 72,
                                     .height = 60,
                                     .method = method,
                                     .interlaced = interlaced},
                                    content, seed);
                    ASSERT_FALSE(HasFatalFailure());
                }
}

TEST(RoundTrip, EverySizeComesBackBitForBit)
{
    const uint32_t seed = TestSeed();
    const uint32_t step = LongTests() ? 1 : 7;
    const FormatId pairs[][2] = {{kHostY8, kCodeGray}, {kHostYv24, kCodeYuv444}, {kHostI420, kCodeYuv420}};
    for (const auto& [host, code] : pairs)
        for (uint32_t width = 4; width <= 160; width += (width < 40 && LongTests() ? 1 : step))
            for (const uint32_t height : {4U, 26U, 27U, 28U, 29U, 30U, 56U, 57U, 62U, 100U}) {
                const uint32_t multiple = code == kCodeYuv420 ? 2 : 1;
                ExpectRoundTrip({.host = host,
                                 .code = code,
                                 .width = width / multiple * multiple,
                                 .height = height / multiple * multiple},
                                Content::Smooth, seed + width);
                ASSERT_FALSE(HasFatalFailure());
            }
}

TEST(RoundTrip, FramesDoNotDependOnTheThreadCount)
{
    const uint32_t seed = TestSeed();
    for (const Pair& pair : LosslessPairs()) {
        StreamSpec streamSpec{.host = pair.host, .code = pair.code, .width = 96, .height = 200};
        CodecRun single(streamSpec);
        const auto picture = MakePicture(Content::Busy, single.InputBytes(), streamSpec.width, seed);
        const auto frame = single.Encode(picture);
        ASSERT_FALSE(frame.empty());
        const auto expected = single.Decode(frame);
        for (const int threads : {2, 3, 5, 64}) {
            streamSpec.threads = threads;
            CodecRun many(streamSpec);
            ASSERT_EQ(many.encoder.ThreadCount(), threads);
            ASSERT_TRUE(SameBytes(many.Encode(picture), frame)) << threads << " threads, host " << pair.host;
            ASSERT_TRUE(SameBytes(many.Decode(frame).picture, expected.picture))
                << threads << " threads, host " << pair.host;
        }
    }
}

TEST(RoundTrip, HostPitchesMayExceedTheirRows)
{
    const uint32_t seed = TestSeed();
    const StreamSpec streamSpec{.host = kHostI444, .code = kCodeYuv444, .width = 50, .height = 40};
    CodecRun run(streamSpec);
    const int pitches[] = {50, 51, 67, 128};
    for (const int pitch : pitches) {
        const size_t planeBytes = static_cast<size_t>(pitch) * (streamSpec.height - 1) + streamSpec.width;
        ExactBuffer picture(MakePicture(Content::Smooth, 3 * planeBytes, streamSpec.width, seed), 5);
        ExactBuffer back(3 * planeBytes, 9, 0xCC);
        std::vector<uint8_t> frame(run.encoder.MaxCompressedSize(streamSpec.host, streamSpec.width,
                                                                 streamSpec.height, streamSpec.code));
        const auto place = [&](auto& image, auto* base) {
            for (size_t i = 0; i < 3; ++i)
                image[i] = {{base + i * planeBytes, pitch}, static_cast<uint32_t>(pitch) * streamSpec.height};
        };
        place(run.compressInfo.source, picture.data());
        run.compressInfo.output = frame.data();
        frame.resize(run.encoder.Compress(run.compressInfo));
        ASSERT_FALSE(frame.empty());
        place(run.decompressInfo.image, back.data());
        run.decompressInfo.frame = frame;
        ASSERT_EQ(run.decoder.Decompress(run.decompressInfo), FrameStatus::Ok);
        for (size_t i = 0; i < back.size(); ++i) {
            const bool inPicture = i % planeBytes % static_cast<size_t>(pitch) < streamSpec.width;
            ASSERT_EQ(back.data()[i], inPicture ? picture.data()[i] : 0xCC)
                << "pitch " << pitch << " byte " << i;
        }
    }
}

TEST(RoundTrip, CompressingLeavesTheHostPictureUntouched)
{
    const uint32_t seed = TestSeed();
    for (const Pair& pair : LosslessPairs()) {
        CodecRun run({.host = pair.host, .code = pair.code});
        const auto picture = MakePicture(Content::Busy, run.InputBytes(), 64, seed);
        ExactBuffer source(picture, 4);
        std::vector<uint8_t> frame(run.encoder.MaxCompressedSize(pair.host, 64, 60, pair.code));
        run.encoder.SetSource(run.compressInfo, source.data());
        run.compressInfo.output = frame.data();
        ASSERT_GT(run.encoder.Compress(run.compressInfo), 0U);
        EXPECT_TRUE(SameBytes(source.Bytes(), picture)) << "host " << pair.host;
    }
}

TEST(RoundTrip, OneObjectServesRunsOfChangingFormatsAndSizesInBothDirections)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    const auto pairs = LosslessPairs();
    Orvane codec(true, true);
    CompressInfo info;
    for (int i = 0; i < (LongTests() ? 2000 : 60); ++i) {
        const Pair pair = pairs[random() % pairs.size()];
        const uint32_t width = 4 + static_cast<uint32_t>(random() % 60) * 2;
        const uint32_t height = 4 + static_cast<uint32_t>(random() % 60) * 2;
        FrameHeader record;
        ASSERT_TRUE(codec.FillConfig(record, pair.host, width, height, pair.code));
        const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
        PlaneRecords planes;
        uint32_t total = 0;
        codec.ComputePlanes(planes, nullptr, pair.host, width, height, &total);
        ExactBuffer picture(MakePicture(Content::Smooth, total, width, seed), 0);
        std::vector<uint8_t> frame(codec.MaxCompressedSize(pair.host, width, height, pair.code));

        codec.SetThreadCount(1 + static_cast<int>(random() % 3));
        codec.BeginCompress(info, bytes, sizeof record, pair.host);
        codec.SetSource(info, picture.data());
        info.output = frame.data();
        const uint32_t size = codec.Compress(info);
        ASSERT_GT(size, 0U);

        ExactBuffer back(total, 0, 0);
        codec.BeginDecompress(info, bytes, sizeof record, pair.host);
        codec.SetImage(info, back.data());
        info.frame = {frame.data(), size};
        ASSERT_EQ(codec.Decompress(info), FrameStatus::Ok);
        std::vector<uint8_t> sent(picture.Bytes().begin(), picture.Bytes().end());
        std::vector<uint8_t> got(back.Bytes().begin(), back.Bytes().end());
        const StreamSpec streamSpec{.host = pair.host, .code = pair.code, .width = width, .height = height};
        ForgetUnkept(sent, streamSpec);
        ForgetUnkept(got, streamSpec);
        ASSERT_TRUE(sent == got) << "run " << i << " host " << pair.host << " " << width << "x" << height;
    }
}

} // namespace
