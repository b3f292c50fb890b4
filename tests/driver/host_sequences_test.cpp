// Message sequences of real hosts, odd values included.
#include "driver/driver_session.h"
#include "driver/process_state.h"
#include "driver/test_log.h"

#include "common/settings_records.h"
#include "support/exact_buffer.h"
#include "support/picture_maker.h"
#include "support/same_bytes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

constexpr int kWidth = 64;
constexpr int kHeight = 48;

LRESULT System(UINT message, DWORD_PTR id = 0, LPARAM second = 0)
{
    return Instance::Raw(id, message, 0, second);
}

BITMAPINFOHEADER RgbHeader(uint32_t imageSize = kWidth * kHeight * 3)
{
    return MakeHeader("RGB", 24, kWidth, kHeight, imageSize);
}

std::vector<uint8_t> RgbPicture(uint32_t seed)
{
    return MakePicture(Content::Smooth, kWidth * kHeight * 3, kWidth * 3, seed);
}

/// Decodes with an instance of its own.
void ExpectPicture(const StreamHeader& stream, std::span<const uint8_t> frame, BITMAPINFOHEADER out,
                   std::span<const uint8_t> picture)
{
    const Instance decoder;
    ExactBuffer target(picture.size(), 0, 0xEE);
    ASSERT_EQ(decoder.Decompress(stream, frame, out, target.data()), 0);
    EXPECT_TRUE(SameBytes(target.Bytes(), picture));
}

/// The frames of `count` pictures, each from ICM_COMPRESS as `send` fills it in.
template <class Fill>
void CompressSequence(const Instance& instance, const StreamHeader& stream, uint32_t bufferSize, int count,
                      Fill fill)
{
    const BITMAPINFOHEADER in = RgbHeader();
    StreamHeader out = stream;
    for (int i = 0; i < count; ++i) {
        const std::vector<uint8_t> picture = RgbPicture(static_cast<uint32_t>(i));
        ExactBuffer buffer(bufferSize, 8, 0xA5);
        BITMAPINFOHEADER source = in;
        DWORD chunkId = 0, flags = 0;
        ICCOMPRESS params{};
        params.lpbiOutput = &out.header;
        params.lpOutput = buffer.data();
        params.lpbiInput = &source;
        params.lpInput = const_cast<uint8_t*>(picture.data());
        params.lpckid = &chunkId;
        params.lpdwFlags = &flags;
        params.lFrameNum = i;
        fill(params, i);
        ASSERT_EQ(instance.Send(ICM_COMPRESS, &params, LPARAM{0}), 0) << "frame " << i;
        EXPECT_EQ(flags, 16U);
        ExpectPicture(stream, {buffer.data(), out.header.biSizeImage}, in, picture);
    }
}

} // namespace

TEST(HostSequence, LifeOfADriverUnderTheSystem)
{
    const TestUser user;
    EXPECT_EQ(System(DRV_LOAD), 1);
    EXPECT_EQ(System(DRV_ENABLE), 1);
    const auto session = static_cast<DWORD_PTR>(System(DRV_OPEN));
    ASSERT_NE(session, 0U);
    DWORD_PTR opened = 0;
    {
        const Instance instance("O8Y2", ICMODE_COMPRESS);
        opened = static_cast<DWORD_PTR>(instance.Id());
        EXPECT_NE(opened, session);
    }
    EXPECT_EQ(System(DRV_CLOSE, session), 1);
    EXPECT_EQ(System(DRV_DISABLE, opened), 1) << "the id is gone, and nothing is read through it";
    EXPECT_EQ(System(DRV_FREE, opened), 1);
}

TEST(HostSequence, EveryOpenModeServesEveryMessage)
{
    const TestUser user;
    for (uint32_t mode = 0; mode <= 8; ++mode) {
        const Instance instance("O8Y2", mode);
        EXPECT_EQ(instance.Send(ICM_CONFIGURE, LPARAM{-1}), 0);
        EXPECT_EQ(instance.Send(ICM_GETSTATE), 44);
        const BITMAPINFOHEADER in = MakeHeader("YUY2", 16, kWidth, kHeight);
        EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in), 0);
        const StreamHeader stream = MakeStream(104, kWidth, kHeight);
        EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &stream, &in), 0);
    }
}

TEST(HostSequence, FileWriterGivesUninitialisedHeadersAndAsksTheSizeAfterBegin)
{
    const TestUser user;
    const Instance instance("O8RG", ICMODE_COMPRESS);
    uint64_t quality = 0;
    ICINFO info;
    EXPECT_EQ(instance.Send(ICM_GETDEFAULTQUALITY, &quality, LPARAM{4}), 0);
    EXPECT_EQ(instance.Send(ICM_GETINFO, &info, LPARAM{568}), 568);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_FRAMES_INFO, LPARAM{0xBAD}, LPARAM{120}), ICERR_UNSUPPORTED);
    const BITMAPINFOHEADER in = RgbHeader();
    EXPECT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, &in), 72);
    StreamHeader stream;
    std::memset(&stream, 0xCC, sizeof stream);
    ASSERT_EQ(instance.Send(ICM_COMPRESS_GET_FORMAT, &in, &stream), 0);
    ASSERT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in, &stream), 0);
    const LRESULT size = instance.Send(ICM_COMPRESS_GET_SIZE, &in, &stream);
    EXPECT_EQ(size, stream.header.biSizeImage);
    CompressSequence(instance, stream, static_cast<uint32_t>(size), 3, [](ICCOMPRESS& params, int frame) {
        params.dwFlags = 1;
        *params.lpdwFlags = 0x10;
        params.dwFrameSize = frame == 0 ? 0 : 0x1000000;
    });
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
}

TEST(HostSequence, SequenceWriterKeepsLastFramesSizeInTheHeader)
{
    const TestUser user;
    const Instance instance("O8RG", ICMODE_COMPRESS);
    const BITMAPINFOHEADER in = RgbHeader();
    const StreamHeader stream = instance.GetStream(in);
    ASSERT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in, &stream), 0);
    BITMAPINFOHEADER junkHeader;
    std::memset(&junkHeader, 0xCC, sizeof junkHeader);
    CompressSequence(instance, stream, stream.header.biSizeImage, 4, [&](ICCOMPRESS& params, int frame) {
        params.dwFlags = frame == 0 ? 1 : 0;
        params.dwQuality = 0xFFFFFFFF;
        params.lpbiPrev = &junkHeader;
        params.lpPrev = reinterpret_cast<void*>(0xBAD);
        params.lFrameNum = -1;
        if (frame == 2)
            params.lpbiOutput->biSizeImage = 1;
        if (frame == 3)
            params.lpbiOutput->biSizeImage = 0xFFFFFFFF;
    });
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0) << "END twice";
}

TEST(HostSequence, CaptureFilterNeverSendsBeginAndWantsNoChunkId)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8RG", ICMODE_COMPRESS);
    const BITMAPINFOHEADER in = RgbHeader();
    EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in), 0);
    const StreamHeader stream = instance.GetStream(in);
    user.NewLines();
    DWORD flags = 0;
    std::vector<uint8_t> picture = RgbPicture(7), frame(stream.header.biSizeImage);
    StreamHeader out = stream;
    BITMAPINFOHEADER source = in;
    ICCOMPRESS params{};
    params.lpbiOutput = &out.header;
    params.lpOutput = frame.data();
    params.lpbiInput = &source;
    params.lpInput = picture.data();
    params.lpdwFlags = &flags;
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(instance.Send(ICM_COMPRESS, &params), 0);
    const auto lines = user.NewLines();
    ASSERT_EQ(lines.size(), 7U) << "one opening block for both frames";
    EXPECT_EQ(lines[1], "Compress begin:");
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
    EXPECT_EQ(user.NewLines().at(1), "    Compressed:         2 frames");
    ExpectPicture(stream, {frame.data(), out.header.biSizeImage}, in, picture);
}

TEST(HostSequence, ImplicitBeginGivesBackItsRefusal)
{
    const TestUser user;
    const Instance instance("O8Y2");
    const std::vector<uint8_t> picture(kWidth * kHeight * 4);
    StreamHeader stream = MakeStream(104, kWidth, kHeight);
    stream.header.biSizeImage = 1 << 20;
    EXPECT_EQ(
        instance
            .Compress(MakeHeader("AYUV", 32, kWidth, kHeight, kWidth * kHeight * 4), stream, picture.data())
            .result,
        ICERR_BADFORMAT);
    BITMAPINFOHEADER out = MakeHeader("AYUV", 32, kWidth, kHeight);
    std::vector<uint8_t> target(picture.size());
    EXPECT_EQ(instance.Decompress(stream, picture, out, target.data()), ICERR_BADFORMAT);
}

TEST(HostSequence, EditorAsksHundredsOfQuestionsPerClick)
{
    const TestUser user;
    const Instance instance("O8Y0", ICMODE_QUERY);
    const int threads = ThreadsInProcess();
    const size_t handles = HandleMark();
    const auto start = std::chrono::steady_clock::now();
    int asked = 0, taken = 0;
    for (const int width : {160, 176, 320, 352, 640, 720})
        for (const int height : {120, 144, 240, 288, 480, 576})
            for (const HostFormat& format : kHostFormats) {
                const BITMAPINFOHEADER in = MakeHeader(format, width, height);
                taken += instance.Send(ICM_COMPRESS_QUERY, &in) == 0;
                ++asked;
            }
    for (const int change : {1, 2, 4, 8}) {
        const BITMAPINFOHEADER in = MakeHeader("YV12", 12, 320 + change, 240);
        EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in), change % 2 == 0 ? 0 : -2);
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_GE(asked, 800);
    EXPECT_GT(taken, 0);
    EXPECT_LT(elapsed.count(), 1.0) << asked << " queries";
    EXPECT_EQ(ThreadsInProcess(), threads);
    EXPECT_EQ(HandleMark(), handles);
    EXPECT_TRUE(user.NewLogs().empty());
}

TEST(HostSequence, EnumerationOpensEveryVariantQuicklyAndSilently)
{
    const TestUser user;
    const int threads = ThreadsInProcess();
    const size_t handles = HandleMark();
    const auto start = std::chrono::steady_clock::now();
    for (int round = 0; round < 10; ++round)
        for (const Variant& variant : kVariants) {
            const Instance instance(variant.fourCC);
            ICINFO info;
            EXPECT_EQ(instance.Send(ICM_GETINFO, &info, LPARAM{568}), 568);
            const BITMAPINFOHEADER in = MakeHeader(NativeFormatOf(variant), 320, 240);
            EXPECT_EQ(instance.Send(ICM_COMPRESS_QUERY, &in), 0);
            EXPECT_EQ(ThreadsInProcess(), threads);
        }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    EXPECT_LT(elapsed.count(), 7.0) << "70 opens";
    EXPECT_EQ(HandleMark(), handles);
    EXPECT_TRUE(user.NewLogs().empty());
}

TEST(HostSequence, EditorReopensRunsAndCarriesState)
{
    const TestUser user;
    const Instance instance("O8RG", ICMODE_COMPRESS);
    EncodeSettings state;
    EXPECT_EQ(instance.Send(ICM_GETSTATE, LPARAM{0}, LPARAM{0}), 44);
    EXPECT_EQ(instance.Send(ICM_GETSTATE, &state, LPARAM{44}), 0);
    state.CompMethod = 2;
    EXPECT_EQ(instance.Send(ICM_SETSTATE, &state, LPARAM{44}), 44);
    EXPECT_EQ(instance.Send(ICM_SETQUALITY, LPARAM{5000}), ICERR_UNSUPPORTED);
    const BITMAPINFOHEADER in = RgbHeader();
    const StreamHeader stream = instance.GetStream(in);
    for (int run = 0; run < 3; ++run) {
        ASSERT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in, &stream), 0);
        CompressSequence(instance, stream, stream.header.biSizeImage, 2, [](ICCOMPRESS& params, int frame) {
            params.dwFrameSize = frame == 0 ? 0xFFFFFF : 0;
            *params.lpdwFlags = 0x10;
        });
        EXPECT_EQ(instance.Send(ICM_SETSTATE, &state, LPARAM{44}), 44)
            << "settings may change while a run is open";
        if (run != 1) { // END + BEGIN as well as BEGIN alone
            EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
        }
    }
}

TEST(HostSequence, ScriptServerTakesTheFirstLayoutOfItsList)
{
    const TestUser user;
    const std::pair<const char*, int> list[] = {
        {"YV24", 24},      {"YV16", 16},      {"YV12", 12},      {"Y41B", 12},      {"YUY2", 16},
        {"G3[0][10]", 30}, {"r210", 30},      {"R10k", 30},      {"G3[0][12]", 36}, {"G3[0][14]", 42},
        {"G3[0][16]", 48}, {"G4[0][10]", 40}, {"G4[0][12]", 48}, {"G4[0][14]", 56}, {"G4[0][16]", 64},
        {"RGB", 32},       {"RGB", 24},       {"BGR[48]", 48},   {"b48r", 48},      {"BRA[64]", 64},
        {"b64a", 64},      {"Y800", 8},       {"Y8  ", 8},       {"GREY", 8},       {"Y1[0][10]", 10},
        {"v210", 30},      {"P210", 20},      {"P216", 32},      {"P010", 15},      {"P016", 24},
        {"Y416", 64},      {"v410", 32},      {"Y410", 32},      {"v308", 24},      {"v408", 32}};
    const std::pair<int, std::string> expected[] = {
        {103, "YV24"}, {104, "YUY2"}, {105, "YV12"}, {107, "YV12"}, {101, "RGB"}, {102, "RGB"}, {106, "RGB"}};
    for (const auto& [code, name] : expected) {
        const Instance instance;
        const StreamHeader stream = MakeStream(code, kWidth, kHeight);
        EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &stream), 0);
        std::string first;
        int bits = 0;
        for (const auto& [fourCC, count] : list) {
            const BITMAPINFOHEADER out = MakeHeader(fourCC, count, kWidth, kHeight, 1);
            if (first.empty() && instance.Send(ICM_DECOMPRESS_QUERY, &stream, &out) == 0) {
                first = fourCC;
                bits = count;
            }
        }
        EXPECT_EQ(first, name) << code;
        if (first == "RGB") {
            EXPECT_EQ(bits, 32);
        }
    }
}

TEST(HostSequence, FramesOfOneInstanceComeFromChangingThreads)
{
    const TestUser user;
    const Instance encoder("O8RG"), decoder;
    const BITMAPINFOHEADER in = RgbHeader();
    const StreamHeader stream = encoder.GetStream(in);
    for (uint32_t i = 0; i < 6; ++i)
        std::thread([&] {
            const std::vector<uint8_t> picture = RgbPicture(i);
            const auto frame = encoder.Compress(in, stream, picture.data());
            EXPECT_EQ(frame.result, 0);
            std::thread([&] {
                BITMAPINFOHEADER out = in;
                ExactBuffer target(picture.size());
                EXPECT_EQ(decoder.Decompress(stream, frame.bytes, out, target.data()), 0);
                EXPECT_TRUE(SameBytes(target.Bytes(), picture));
            }).join();
        }).join();
}

TEST(HostSequence, PlayerNeverSendsEnd)
{
    TestUser user;
    TestUser::EnableLog();
    {
        const Instance instance;
        StreamHeader stream = MakeStream(101, kWidth, kHeight);
        const BITMAPINFOHEADER out = MakeHeader("RGB", 32, kWidth, kHeight);
        EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &stream), 0);
        EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &stream, &out), 0);
        EXPECT_EQ(instance.Send(ICM_DECOMPRESS_BEGIN, &stream, &out), 0);
        user.NewLines();
    }
    EXPECT_EQ(user.NewLines(), (std::vector<std::string>{"--------------------------", "Log closed"}))
        << "a run that is open at the close gets no statistics";
}

TEST(HostSequence, NonsenseQueryIsRefused)
{
    const TestUser user;
    const Instance instance;
    BITMAPINFOHEADER nonsense{};
    nonsense.biSize = 40;
    nonsense.biWidth = 320;
    nonsense.biHeight = 240;
    nonsense.biPlanes = 1;
    nonsense.biBitCount = 24;
    nonsense.biCompression = 0x2E532E42;
    nonsense.biSizeImage = 320 * 240 * 3;
    const BITMAPINFOHEADER before = nonsense;
    EXPECT_EQ(instance.Send(ICM_DECOMPRESS_QUERY, &nonsense), ICERR_BADFORMAT);
    EXPECT_EQ(std::memcmp(&nonsense, &before, sizeof before), 0);
}

TEST(HostSequence, EveryEndAndBeginEndsTheOpenRunInItsOwnForm)
{
    TestUser user;
    TestUser::EnableLog();
    const Instance instance("O8RG");
    const BITMAPINFOHEADER in = RgbHeader();
    const StreamHeader stream = MakeStream(101, kWidth, kHeight);
    user.NewLines();
    const auto firstLine = [&](UINT message, const void* first, const void* second, LRESULT result) {
        EXPECT_EQ(instance.Send(message, first, second), result);
        const auto lines = user.NewLines();
        return lines.empty() ? "" : lines[0];
    };
    const std::string rule = "--------------------------";
    EXPECT_EQ(firstLine(ICM_COMPRESS_BEGIN, &in, &stream, 0), rule);
    EXPECT_EQ(firstLine(ICM_COMPRESS_BEGIN, &in, &stream, 0), "Compress end:") << "BEGIN twice";
    EXPECT_EQ(firstLine(ICM_DECOMPRESS_BEGIN, &stream, &in, 0), "Decompress end:")
        << "the form is that of the new direction";
    EXPECT_EQ(firstLine(ICM_COMPRESS_END, nullptr, nullptr, 0), "Compress end:")
        << "and an END of the other direction ends the run, too";
    EXPECT_EQ(firstLine(ICM_DECOMPRESS_END, nullptr, nullptr, 0), "");
    EXPECT_EQ(firstLine(ICM_DECOMPRESS_BEGIN, &stream, &in, 0), rule);
    EXPECT_EQ(firstLine(ICM_COMPRESS_BEGIN, nullptr, &stream, -6), "Compress end:")
        << "the run ends even if the message then fails";
    EXPECT_EQ(firstLine(ICM_COMPRESS_END, nullptr, nullptr, 0), "");
}

TEST(HostSequence, FramesOfTheOtherDirectionOpenARunOfTheirOwn)
{
    const TestUser user;
    const Instance instance("O8RG");
    const BITMAPINFOHEADER in = RgbHeader();
    const StreamHeader stream = instance.GetStream(in);
    ExactBuffer target(kWidth * kHeight * 3);
    for (uint32_t i = 0; i < 3; ++i) {
        const std::vector<uint8_t> picture = RgbPicture(i);
        const auto frame = instance.Compress(in, stream, picture.data());
        ASSERT_EQ(frame.result, 0);
        BITMAPINFOHEADER out = in;
        ASSERT_EQ(instance.Decompress(stream, frame.bytes, out, target.data()), 0);
        EXPECT_TRUE(SameBytes(target.Bytes(), picture));
    }
}

TEST(CodecLog, FilesOfOneSecondAreNumberedUpToAHundred)
{
    const TestUser user;
    TestUser::EnableLog();
    std::vector<std::unique_ptr<Instance>> instances;
    for (int i = 0; i < 3; ++i)
        instances.push_back(std::make_unique<Instance>("O8Y2"));
    const auto files = user.NewLogs();
    ASSERT_EQ(files.size(), 3U) << "each open makes a file";
    for (const auto& file : files) {
        // orvane_20241103_142207_00.log
        const std::string name = file.filename().string();
        EXPECT_EQ(name.size(), 29U) << name;
        EXPECT_EQ(name.substr(0, 7), "orvane_");
        EXPECT_EQ(name.substr(15, 1), "_");
        EXPECT_EQ(name.substr(22, 2), "_0");
        EXPECT_EQ(name.substr(25), ".log");
        const auto lines = TestUser::ReadLog(file);
        ASSERT_GE(lines.size(), 4U);
        EXPECT_EQ(lines[0], "Log opened - Orvane lossless video codec 2.4.1 (Standard) (64 bit)");
        EXPECT_EQ(lines[1], "Codec variant: Orvane - YUV 4:2:2");
        EXPECT_EQ(lines[2].substr(0, 13), "Application: ");
        EXPECT_NE(lines[2].find("driver_tests"), std::string::npos);
    }
}

TEST(CodecLog, StartsInTheMiddleOfARunWhenTheUserTurnsItOn)
{
    TestUser user;
    const Instance instance("O8RG");
    const BITMAPINFOHEADER in = RgbHeader();
    const StreamHeader stream = MakeStream(101, kWidth, kHeight);
    ASSERT_EQ(instance.Send(ICM_COMPRESS_BEGIN, &in, &stream), 0);
    EXPECT_TRUE(user.NewLogs().empty());
    TestUser::EnableLog();
    EXPECT_EQ(instance.Send(ICM_SETSTATE), 0);
    EXPECT_EQ(user.Lines().at(1), "Setting codec preferences (client app reset-request to global config):");
    EXPECT_EQ(instance.Send(ICM_COMPRESS_END), 0);
    EXPECT_EQ(user.NewLines().at(0), "Compress end:");
}
