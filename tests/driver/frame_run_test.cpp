// Frames through messages: every layout there and back, padded rows, statistics, and what frames are refused.
#include "driver/driver_session.h"
#include "driver/test_log.h"

#include "support/exact_buffer.h"
#include "support/picture_maker.h"
#include "support/same_bytes.h"

#include <gtest/gtest.h>

namespace {

constexpr int kWidth = 68;
constexpr int kHeight = 60;

std::vector<uint8_t> Picture(int hostId, int width = kWidth, int height = kHeight, uint32_t seed = 1)
{
    const auto bytes = PictureBytes(hostId, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
    return MakePicture(Content::Smooth, bytes, bytes / static_cast<size_t>(height), seed);
}

/// Bytes that a decoded picture cannot have: the fourth of a pixel without alpha, of which frames keep
/// nothing.
bool IsKept(int hostId, size_t byte)
{
    return (hostId != 1 && hostId != 45) || byte % 4 != 3;
}

::testing::AssertionResult SamePicture(int hostId, std::span<const uint8_t> actual,
                                       std::span<const uint8_t> expected)
{
    for (size_t i = 0; i < expected.size(); ++i)
        if (IsKept(hostId, i) && actual[i] != expected[i])
            return ::testing::AssertionFailure()
                   << "byte " << i << " is " << int{actual[i]} << ", not " << int{expected[i]};
    return ::testing::AssertionSuccess();
}

/// A line of the log that ends in a time of day's form, hh:mm:ss.mmm; how long it is depends on the machine.
void ExpectTime(const std::string& line, const std::string& label)
{
    std::string form = line;
    std::ranges::replace_if(
        form, [](char c) { return c >= '0' && c <= '9'; }, 'd');
    EXPECT_EQ(form, label + "dd:dd:dd.ddd") << line;
}

void AllowAllConversions()
{
    for (const char* mask :
         {"DecompSettings_YUV400", "DecompSettings_YUV420", "DecompSettings_YUV422", "DecompSettings_YUV444"})
        TestUser::Set(mask, 0x7F);
}

struct Stream {
    StreamHeader header;
    std::vector<uint8_t> frame;
    std::vector<uint8_t> picture; ///< in the layout of `format`
    const HostFormat* format;
    int id;
};

/// A frame of the variant's first layout.
Stream MakeFrame(const Variant& variant, int width = kWidth, int height = kHeight)
{
    const Instance instance(variant.fourCC);
    const HostFormat& format = NativeFormatOf(variant);
    Stream stream{{}, {}, Picture(IdFor(format, variant), width, height), &format, IdFor(format, variant)};
    const BITMAPINFOHEADER in =
        MakeHeader(format, width, height, static_cast<uint32_t>(stream.picture.size()));
    stream.header = instance.GetStream(in);
    const Instance::Frame frame = instance.Compress(in, stream.header, stream.picture.data());
    if (frame.result != 0)
        throw std::runtime_error("no frame");
    stream.frame = frame.bytes;
    return stream;
}

} // namespace

TEST(Frames, EveryLayoutComesBackAsItWasOrConverts)
{
    const TestUser user;
    AllowAllConversions();
    for (const Variant& variant : kVariants) {
        const Instance encoder(variant.fourCC), decoder;
        for (const HostFormat& format : kHostFormats)
            for (const int height : {kHeight, -kHeight}) {
                const int id = IdFor(format, variant);
                const bool lossless = variant.lossless.contains(id);
                if (!lossless && !variant.converted.contains(id))
                    continue;
                const std::vector<uint8_t> picture = Picture(id);
                const auto bytes = static_cast<uint32_t>(picture.size());
                BITMAPINFOHEADER header = MakeHeader(format, kWidth, height, bytes);
                const StreamHeader stream = encoder.GetStream(header);
                ASSERT_EQ(encoder.Send(ICM_COMPRESS_BEGIN, &header, &stream), 0);
                const ExactBuffer source(picture, 8); // 8 modulo 16, as one host of files has it
                const Instance::Frame frame = encoder.Compress(header, stream, source.data());
                ASSERT_EQ(frame.result, 0) << variant.fourCC << " from " << format.name;
                EXPECT_EQ(frame.chunkId, FourCCOf("dcdc"));
                EXPECT_EQ(frame.flags, 16U);
                EXPECT_TRUE(SameBytes(source.Bytes(), picture)) << "input pixels stay";
                EXPECT_EQ(encoder.Send(ICM_COMPRESS_END), 0);

                ExactBuffer target(bytes, 8, 0xEE);
                ASSERT_EQ(decoder.Send(ICM_DECOMPRESS_BEGIN, &stream, &header), 0);
                ASSERT_EQ(decoder.Decompress(stream, frame.bytes, header, target.data()), 0)
                    << variant.fourCC << " to " << format.name;
                EXPECT_EQ(decoder.Send(ICM_DECOMPRESS_END), 0);
                EXPECT_EQ(header.biSizeImage, bytes);
                if (lossless) {
                    EXPECT_TRUE(SamePicture(id, target.Bytes(), picture))
                        << variant.fourCC << " as " << format.name;
                }
            }
    }
}

TEST(Frames, OfRgbAreTheSameForBothRowOrders)
{
    const TestUser user;
    for (const auto& [fourCC, bits] : {std::pair{"O8RG", 24}, {"O8RG", 32}, {"O8RA", 32}}) {
        const Instance instance(fourCC);
        const std::vector<uint8_t> topDown = Picture(bits == 24 ? 3 : 2);
        const size_t row = topDown.size() / kHeight;
        std::vector<uint8_t> bottomUp(topDown.size());
        for (size_t y = 0; y < kHeight; ++y)
            std::memcpy(bottomUp.data() + y * row, topDown.data() + (kHeight - 1 - y) * row, row);
        const auto bytes = static_cast<uint32_t>(topDown.size());
        const auto compress = [&](int height, const std::vector<uint8_t>& picture) {
            const BITMAPINFOHEADER in = MakeHeader("RGB", bits, kWidth, height, bytes);
            const StreamHeader stream = instance.GetStream(in);
            EXPECT_EQ(stream.header.biHeight, kHeight);
            EXPECT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in, &stream), 0);
            return instance.Compress(in, stream, picture.data()).bytes;
        };
        EXPECT_EQ(compress(kHeight, bottomUp), compress(-kHeight, topDown)) << fourCC << bits;
    }
}

TEST(Frames, FitTheBoundThatGetFormatTells)
{
    const TestUser user;
    for (const Variant& variant : kVariants) {
        const Instance instance(variant.fourCC);
        const HostFormat& format = NativeFormatOf(variant);
        const auto bytes = PictureBytes(IdFor(format, variant), 64, 300);
        const std::vector<uint8_t> noise = MakePicture(Content::Noise, bytes, bytes / 300, 5);
        const BITMAPINFOHEADER in = MakeHeader(format, 64, 300, bytes);
        const StreamHeader stream = instance.GetStream(in);
        const Instance::Frame frame = instance.Compress(in, stream, noise.data());
        ASSERT_EQ(frame.result, 0);
        EXPECT_GT(frame.bytes.size(), bytes) << variant.fourCC << ": noise does not shrink";
        EXPECT_LE(frame.bytes.size(), stream.header.biSizeImage);
    }
}

TEST(Frames, OfGreyTakeRowsPaddedToFourBytesWhenTheImageIsLargeEnough)
{
    const TestUser user;
    const Instance encoder("O8G0"), decoder;
    constexpr uint32_t width = 61, stride = 64;
    for (const char* fourCC : {"Y800", "Y8  ", "GREY"}) {
        const std::vector<uint8_t> tight = Picture(9, width);
        ExactBuffer padded(stride * kHeight, 0, 0x55);
        for (uint32_t y = 0; y < kHeight; ++y)
            std::memcpy(padded.data() + y * stride, tight.data() + y * width, width);

        // Frames may differ in their choices; what counts is that both say the same picture.
        const auto decode = [&](const StreamHeader& stream, const std::vector<uint8_t>& frame) {
            BITMAPINFOHEADER out = MakeHeader(fourCC, 8, width, kHeight, width * kHeight);
            std::vector<uint8_t> target(width * kHeight);
            EXPECT_EQ(decoder.Send(ICM_DECOMPRESS_BEGIN, &stream, &out), 0);
            EXPECT_EQ(decoder.Decompress(stream, frame, out, target.data()), 0);
            return target;
        };
        const auto compress = [&](uint32_t imageSize, const uint8_t* picture) {
            const BITMAPINFOHEADER in = MakeHeader(fourCC, 8, width, kHeight, imageSize);
            const StreamHeader stream = encoder.GetStream(in);
            EXPECT_EQ(encoder.Send(ICM_COMPRESS_BEGIN, &in, &stream), 0);
            return std::pair{stream, encoder.Compress(in, stream, picture).bytes};
        };
        const auto [stream, frame] = compress(width * kHeight, tight.data());
        EXPECT_EQ(decode(stream, frame), tight);
        EXPECT_EQ(decode(stream, compress(stride * kHeight, padded.data()).second), tight);
        EXPECT_EQ(compress(stride * kHeight - 1, tight.data()).second, frame) << "one byte less: tight";

        for (const uint32_t imageSize : {0U, width * kHeight, stride * kHeight - 1, stride * kHeight}) {
            const bool isPadded = imageSize == stride * kHeight;
            BITMAPINFOHEADER out = MakeHeader(fourCC, 8, width, kHeight, imageSize);
            ExactBuffer target(isPadded ? padded.size() : tight.size(), 0, 0x55);
            ASSERT_EQ(decoder.Send(ICM_DECOMPRESS_BEGIN, &stream, &out), 0);
            ASSERT_EQ(decoder.Decompress(stream, frame, out, target.data()), 0);
            EXPECT_TRUE(SameBytes(target.Bytes(), isPadded ? padded.Bytes() : tight)) << imageSize;
        }
    }
}

TEST(Frames, HeadersCannotWidenTheRowsOfTheirRun)
{
    const TestUser user;
    const Instance encoder("O8G0"), decoder;
    constexpr int width = 6, height = 4; // four rows of six bytes are as large as three of eight
    constexpr uint32_t tight = width * height, padded = 8 * height;
    const auto header = [](uint32_t imageSize) { return MakeHeader("Y800", 8, width, height, imageSize); };
    const std::vector<uint8_t> rows = MakePicture(Content::Busy, padded, width, 1);
    const StreamHeader stream = encoder.GetStream(header(tight));
    const auto compress = [&](uint32_t atBegin, const BITMAPINFOHEADER& frame) {
        const BITMAPINFOHEADER in = header(atBegin);
        EXPECT_EQ(encoder.Send(ICM_COMPRESS_BEGIN, &in, &stream), 0);
        return encoder.Compress(frame, stream, rows.data());
    };
    const auto asTight = compress(tight, header(tight)).bytes;
    const auto asPadded = compress(padded, header(padded)).bytes;
    ASSERT_NE(asTight, asPadded);
    EXPECT_EQ(compress(tight, header(padded)).bytes, asTight) << "begin had no room for more";
    EXPECT_EQ(compress(tight, header(0xFFFFFFFF)).bytes, asTight);
    EXPECT_EQ(compress(padded, header(tight)).bytes, asTight) << "a frame may choose";
    EXPECT_EQ(compress(0, header(padded)).bytes, asPadded) << "begin said nothing";
    EXPECT_EQ(compress(0, header(tight)).bytes, asTight);

    // A frame's own height scales what its image size means, and nothing else.
    for (const int otherRows : {0, 1, 2, 3, -4, 1 << 29, 1 << 30}) {
        SCOPED_TRACE(otherRows);
        BITMAPINFOHEADER out = header(tight);
        ExactBuffer target(padded, 0, 0x55);
        ASSERT_EQ(decoder.Send(ICM_DECOMPRESS_BEGIN, &stream, &out), 0);
        out.biHeight = otherRows;
        out.biSizeImage = padded;
        decoder.Decompress(stream, asTight, out, target.data());
        for (size_t i = tight; i < target.size(); ++i)
            ASSERT_EQ(target.Bytes()[i], 0x55) << "byte " << i << " is beyond what begin allowed";
    }
}

TEST(Frames, OfV308HaveRowsOfWholeFourBytes)
{
    const TestUser user;
    const Instance encoder("O8Y4"), decoder;
    constexpr uint32_t width = 61, row = 183, stride = 184;
    std::vector<uint8_t> picture = MakePicture(Content::Smooth, stride * kHeight, stride, 1);
    BITMAPINFOHEADER header = MakeHeader("v308", 24, width, kHeight, stride * kHeight);
    const StreamHeader stream = encoder.GetStream(header);
    const auto frame = encoder.Compress(header, stream, picture.data());
    ASSERT_EQ(frame.result, 0);
    ExactBuffer target(picture.size());
    ASSERT_EQ(decoder.Decompress(stream, frame.bytes, header, target.data()), 0);
    EXPECT_TRUE(SamePlane({target.data(), int{stride}}, {picture.data(), int{stride}}, row, kHeight));
    EXPECT_EQ(encoder.Compress(MakeHeader("v308", 24, width, kHeight, row * kHeight), stream, picture.data())
                  .result,
              ICERR_BADSIZE);
}

TEST(Frames, OfPlanarLayoutsAreTightWhateverTheImageSizeSays)
{
    const TestUser user;
    const Instance encoder("O8Y0"), decoder;
    const int width = 62;
    const std::vector<uint8_t> picture = Picture(6, width);
    const BITMAPINFOHEADER in =
        MakeHeader("YV12", 12, width, kHeight, static_cast<uint32_t>(picture.size()) + 4096);
    const StreamHeader stream = encoder.GetStream(in);
    const auto frame = encoder.Compress(in, stream, picture.data());
    ASSERT_EQ(frame.result, 0);
    BITMAPINFOHEADER out = in;
    ExactBuffer target(picture.size(), 0, 0x55);
    ASSERT_EQ(decoder.Decompress(stream, frame.bytes, out, target.data()), 0);
    EXPECT_TRUE(SameBytes(target.Bytes(), picture));
}

TEST(Compress, RefusesImagesThatAreTooSmall)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    const std::vector<uint8_t> picture = Picture(4);
    const auto bytes = static_cast<uint32_t>(picture.size());
    const StreamHeader stream = instance.GetStream(MakeHeader("YUY2", 16, kWidth, kHeight, bytes));
    const auto result = [&](uint32_t imageSize) {
        return instance.Compress(MakeHeader("YUY2", 16, kWidth, kHeight, imageSize), stream, picture.data())
            .result;
    };
    EXPECT_EQ(result(bytes), 0);
    user.NewLines();
    EXPECT_EQ(result(0), ICERR_BADSIZE) << "a legal DIB, and yet not enough for this codec";
    EXPECT_EQ(result(bytes - 1), ICERR_BADSIZE);
    EXPECT_EQ(result(bytes), 0) << "a refused frame leaves the run open";
    EXPECT_EQ(result(bytes + 1), 0);
    const auto line = [&](uint32_t size) {
        return "FRAME ENCODE ERROR: Input image size (" + std::to_string(size) +
               ") is less than expected size (" + std::to_string(bytes) + ")";
    };
    EXPECT_EQ(user.NewLines(), (std::vector<std::string>{line(0), line(bytes - 1)}));
}

TEST(Compress, RefusesNullPointers)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    BITMAPINFOHEADER in = MakeHeader("YUY2", 16, kWidth, kHeight, PictureBytes(4, kWidth, kHeight));
    StreamHeader out = MakeStream(104, kWidth, kHeight);
    uint8_t pixel = 0;
    const ICCOMPRESS good{0, &out.header, &pixel, &in, &pixel, nullptr, nullptr, 0, 0, 0, nullptr, nullptr};
    EXPECT_EQ(instance.Send(ICM_COMPRESS), ICERR_BADPARAM);
    for (int i = 0; i < 4; ++i) {
        ICCOMPRESS params = good;
        if (i == 0)
            params.lpbiInput = nullptr;
        else if (i == 1)
            params.lpbiOutput = nullptr;
        else if (i == 2)
            params.lpInput = nullptr;
        else
            params.lpOutput = nullptr;
        EXPECT_EQ(instance.Send(ICM_COMPRESS, &params), ICERR_BADPARAM) << i;
    }
    EXPECT_EQ(user.NewLines(),
              std::vector<std::string>(
                  5, "#### APPLICATION ERROR #### : ICM_COMPRESS: Codec received NULL params"));
}

TEST(Compress, RefusesPicturesThatCannotBeReachedWithTheCoresCode)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8G0");
    // The frame's own header promises fewer rows than the run has: padded rows then hold too little.
    const std::vector<uint8_t> picture = Picture(9);
    const StreamHeader stream =
        instance.GetStream(MakeHeader("Y800", 8, kWidth, kHeight, static_cast<uint32_t>(picture.size())));
    const BITMAPINFOHEADER in = MakeHeader("Y800", 8, kWidth, kHeight, static_cast<uint32_t>(picture.size()));
    ASSERT_EQ(instance.Compress(in, stream, picture.data()).result, 0);
    user.NewLines();
    const BITMAPINFOHEADER lower = MakeHeader("Y800", 8, kWidth, 8, static_cast<uint32_t>(picture.size()));
    EXPECT_EQ(instance.Compress(lower, stream, picture.data()).result, ICERR_BADSIZE);
    EXPECT_EQ(user.NewLines(),
              std::vector<std::string>{
                  "#### FRAME ENCODE ERROR #### : Internal error: Compress failed, code: 555"});
    EXPECT_EQ(instance.Compress(in, stream, picture.data()).result, 0);
}

TEST(Compress, IsGovernedByTheRecordBehindTheOutput)
{
    const TestUser user;
    const Instance instance("O8Y2");
    const std::vector<uint8_t> picture = Picture(4);
    const BITMAPINFOHEADER in =
        MakeHeader("YUY2", 16, kWidth, kHeight, static_cast<uint32_t>(picture.size()));
    StreamHeader stream = instance.GetStream(in);
    stream.record.colorMatrix = 1;
    stream.record.flags |= 6;
    stream.record.blockHeight = 12;
    const auto frame = instance.Compress(in, stream, picture.data());
    ASSERT_EQ(frame.result, 0);
    EXPECT_EQ(std::memcmp(frame.bytes.data(), &stream.record, sizeof stream.record), 0)
        << "the frame begins with the record as it came";
    BITMAPINFOHEADER out = in;
    ExactBuffer target(picture.size());
    EXPECT_EQ(Instance().Decompress(stream, frame.bytes, out, target.data()), 0);
    EXPECT_TRUE(SameBytes(target.Bytes(), picture));
}

TEST(Decompress, RefusesNullPointers)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance;
    StreamHeader in = MakeStream(104, kWidth, kHeight);
    BITMAPINFOHEADER out = MakeHeader("YUY2", 16, kWidth, kHeight);
    uint8_t pixel = 0;
    const ICDECOMPRESS good{0, &in.header, &pixel, &out, &pixel, 0};
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS), ICERR_BADPARAM);
    for (int i = 0; i < 4; ++i) {
        ICDECOMPRESS params = good;
        if (i == 0)
            params.lpbiInput = nullptr;
        else if (i == 1)
            params.lpbiOutput = nullptr;
        else if (i == 2)
            params.lpInput = nullptr;
        else
            params.lpOutput = nullptr;
        EXPECT_EQ(instance.Send(ICM_DECOMPRESS, &params), ICERR_BADPARAM) << i;
    }
    EXPECT_EQ(user.NewLines(),
              std::vector<std::string>(
                  5, "#### APPLICATION ERROR #### : ICM_DECOMPRESS: Codec received NULL params"));
}

TEST(Decompress, TellsWhyAFrameIsRefusedAndLeavesPictureAndRunAlone)
{
    TestUser user;
    TestUser::EnableLog();
    const Stream stream = MakeFrame(VariantOf(104));
    for (const auto& file : user.NewLogs())
        std::filesystem::remove(file);
    const Instance instance;
    BITMAPINFOHEADER out =
        MakeHeader("YUY2", 16, kWidth, kHeight, static_cast<uint32_t>(stream.picture.size()));
    ExactBuffer target(stream.picture.size(), 0, 0xEE);
    const ExactBuffer untouched = ExactBuffer(stream.picture.size(), 0, 0xEE);
    ASSERT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, &stream.header, &out), 0);
    user.NewLines();
    const auto decode = [&](const std::vector<uint8_t>& frame) {
        return instance.Decompress(stream.header, ExactBuffer(frame).Bytes(), out, target.data());
    };
    std::vector<uint8_t> foreign = stream.frame;
    foreign[9] = 103;
    EXPECT_EQ(decode(foreign), ICERR_BADSIZE);
    EXPECT_EQ(decode({stream.frame.begin(), stream.frame.begin() + 40}), ICERR_BADSIZE);
    EXPECT_EQ(decode({'O', 'R', 'V'}), ICERR_BADSIZE);
    EXPECT_EQ(decode({0x7F}), ICERR_BADSIZE) << "a delay marker of other codecs";
    EXPECT_TRUE(SameBytes(target.Bytes(), untouched.Bytes()));
    const std::string line =
        "#### FRAME DECODE ERROR #### : Bad frame or frame format doesn't match video format: "
        "code -";
    EXPECT_EQ(user.NewLines(), (std::vector<std::string>{line + "2", line + "3", line + "3", line + "3"}));
    EXPECT_EQ(decode(stream.frame), 0);
    EXPECT_TRUE(SameBytes(target.Bytes(), stream.picture));
}

TEST(Decompress, DoesNothingForEmptyAndNullFrames)
{
    TestUser user;
    const Stream stream = MakeFrame(VariantOf(105));
    const Instance instance;
    const auto bytes = static_cast<uint32_t>(stream.picture.size());
    BITMAPINFOHEADER out = MakeHeader("YV12", 12, kWidth, kHeight, bytes);
    ExactBuffer target(stream.picture.size(), 0, 0xEE);
    ASSERT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, &stream.header, &out), 0);
    out.biSizeImage = 1;
    const uint8_t nothing = 0;
    EXPECT_EQ(instance.Decompress(stream.header, {&nothing, 0}, out, target.data()), 0);
    EXPECT_EQ(out.biSizeImage, bytes) << "the size that BEGIN was told";
    out.biSizeImage = 1;
    EXPECT_EQ(instance.Decompress(stream.header, stream.frame, out, target.data(), ICDECOMPRESS_NULLFRAME),
              0);
    EXPECT_EQ(out.biSizeImage, bytes);
    EXPECT_EQ(target.data()[0], 0xEE);
    EXPECT_EQ(instance.Decompress(stream.header, stream.frame, out, target.data(),
                                  ICDECOMPRESS_PREROLL | ICDECOMPRESS_NOTKEYFRAME | ICDECOMPRESS_HURRYUP),
              0);
    EXPECT_TRUE(SameBytes(target.Bytes(), stream.picture));
}

TEST(Statistics, CountBytesAndFramesOfTheRun)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    const std::vector<uint8_t> picture = Picture(4);
    const auto raw = static_cast<uint32_t>(picture.size());
    BITMAPINFOHEADER header = MakeHeader("YUY2", 16, kWidth, kHeight, raw);
    const StreamHeader stream = instance.GetStream(header);
    ASSERT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &header, &stream), 0);
    std::vector<uint8_t> frame;
    for (int i = 0; i < 3; ++i)
        frame = instance.Compress(header, stream, picture.data()).bytes;
    instance.Compress(MakeHeader("YUY2", 16, kWidth, kHeight, 1), stream,
                      picture.data()); // fails, does not count
    user.NewLines();
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);

    const auto bytesText = [](size_t bytes) {
        char text[100];
        std::snprintf(text, sizeof text, "%llu bytes (%.2f MBytes)", static_cast<unsigned long long>(bytes),
                      static_cast<double>(bytes) / 1048576);
        return std::string(text);
    };
    const auto ratioText = [](size_t rawBytes, size_t compressed) {
        char text[100];
        std::snprintf(text, sizeof text, "%.2f",
                      static_cast<double>(rawBytes) / static_cast<double>(compressed));
        return std::string(text);
    };
    auto lines = user.NewLines();
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0], "Compress end:");
    EXPECT_EQ(lines[1], "    Compressed:         3 frames");
    EXPECT_EQ(lines[2], "    Raw data (input):   " + bytesText(3 * raw));
    EXPECT_EQ(lines[3], "    Compressed data:    " + bytesText(3 * frame.size()));
    EXPECT_EQ(lines[4], "    Compression ratio:  " + ratioText(raw, frame.size()));
    ExpectTime(lines[5], "    Encode-only time:   ");
    double milliseconds = 0, framesPerSecond = 0, megapixels = 0;
    ASSERT_EQ(std::sscanf(lines[6].c_str(), "    Encode speed (avg): %lf ms/frame (%lf fps, %lf MPix/sec)",
                          &milliseconds, &framesPerSecond, &megapixels),
              3)
        << lines[6];
    EXPECT_GT(framesPerSecond, 0);
    EXPECT_NEAR(milliseconds * framesPerSecond, 1000, 0.01 * framesPerSecond + 0.01 * milliseconds + 10);
    EXPECT_NEAR(megapixels, framesPerSecond * kWidth * kHeight / 1e6, 0.02 + megapixels * 0.01);

    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
    EXPECT_TRUE(user.NewLines().empty()) << "a second END has nothing to end";

    ExactBuffer target(picture.size());
    ASSERT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, &stream, &header), 0);
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(instance.Decompress(stream, frame, header, target.data()), 0);
    user.NewLines();
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_END), 0);
    lines = user.NewLines();
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0], "Decompress end:");
    EXPECT_EQ(lines[1], "    Decompressed:       2 frames");
    EXPECT_EQ(lines[2], "    Compressed data:    " + bytesText(2 * frame.size()));
    EXPECT_EQ(lines[3], "    Raw data (output):  " + bytesText(2 * raw));
    EXPECT_EQ(lines[4], "    Compression ratio:  " + ratioText(raw, frame.size()));
    ExpectTime(lines[5], "    Decode-only time:   ");
    EXPECT_EQ(lines[6].substr(0, 24), "    Decode speed (avg): ");
}

TEST(Statistics, OfARunWithoutFramesDivideByZero)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8Y2");
    const BITMAPINFOHEADER in = MakeHeader("YUY2", 16, kWidth, kHeight);
    const StreamHeader stream = MakeStream(104, kWidth, kHeight);
    ASSERT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in, &stream), 0);
    user.NewLines();
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
    char notANumber[16];
    volatile double zero = 0; // divided when the program runs: compilers fold the other sign of it
    std::snprintf(notANumber, sizeof notANumber, "%.2f", zero / zero);
    const std::string nan = notANumber;
    EXPECT_EQ(
        user.NewLines(),
        (std::vector<std::string>{
            "Compress end:", "    Compressed:         0 frames",
            "    Raw data (input):   0 bytes (0.00 MBytes)", "    Compressed data:    0 bytes (0.00 MBytes)",
            "    Compression ratio:  " + nan, "    Encode-only time:   00:00:00.000",
            "    Encode speed (avg): " + nan + " ms/frame (" + nan + " fps, " + nan + " MPix/sec)"}));
}
