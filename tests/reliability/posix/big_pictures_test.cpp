// Whole frames of pictures as large as they get, and what they cost. Minutes and gigabytes: long tests only.
#include "reliability/streams.h"
#include "support/long_tests.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>

namespace {

constexpr double kGiB = 1 << 30;
constexpr double kMostGiB = 12;

/// From now on PeakGiB tells the most memory that the process has held.
void ForgetPeak()
{
    std::ofstream("/proc/self/clear_refs") << 5;
}

double PeakGiB()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (word == "VmHWM:") {
            double kilobytes = 0;
            status >> kilobytes;
            return kilobytes * 1024 / kGiB;
        }
    return -1;
}

/// Bytes without initial value: a host's frame buffer, of which only the used part becomes memory.
using RawBytes = std::unique_ptr<uint8_t[], void (*)(void*)>;

RawBytes MakeRawBytes(size_t size)
{
    return {static_cast<uint8_t*>(std::aligned_alloc(64, (size + 63) / 64 * 64)), std::free};
}

/// Real-looking content, made quickly: stretches of one smooth picture from changing places.
void FillPicture(uint8_t* picture, size_t size)
{
    static const std::vector<uint8_t> tile = MakePicture(Content::Smooth, 3 << 20, 4096, 1);
    std::mt19937 random(7);
    for (size_t done = 0; done < size;) {
        const size_t count = std::min<size_t>(size - done, 1 << 20);
        std::memcpy(picture + done, tile.data() + random() % (2U << 20), count);
        done += count;
    }
}

double SecondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// One frame there and back. Only one side of the codec is open at a time, as in programs that write or play.
void ExpectWholeRoad(const HostStream& stream)
{
    const TestStore store;
    StoredChoice choice;
    choice.encodeThreads = choice.decodeThreads = 2;
    StoreChoice(stream.variant->fourCC, choice);
    ForgetPeak();
    const size_t size = stream.header.biSizeImage;
    RawBytes picture = MakeRawBytes(size);
    ASSERT_TRUE(picture) << "no memory for the picture";
    FillPicture(picture.get(), size);

    StreamHeader coded;
    size_t frameSize = 0;
    RawBytes frame{nullptr, std::free};
    auto start = std::chrono::steady_clock::now();
    {
        const Instance compressor(stream.variant->fourCC);
        coded = compressor.GetStream(stream.header);
        frame = MakeRawBytes(coded.header.biSizeImage);
        StreamHeader out = coded;
        BITMAPINFOHEADER in = stream.header;
        DWORD flags = 0;
        ICCOMPRESS params{};
        params.lpbiOutput = &out.header;
        params.lpOutput = frame.get();
        params.lpbiInput = &in;
        params.lpInput = picture.get();
        params.lpdwFlags = &flags;
        ASSERT_EQ(compressor.Send(ICM_COMPRESS, &params, LPARAM{sizeof params}), ICERR_OK);
        frameSize = out.header.biSizeImage;
    }
    const double compressSeconds = SecondsSince(start);
    const double compressPeak = PeakGiB();

    ForgetPeak();
    start = std::chrono::steady_clock::now();
    RawBytes back = MakeRawBytes(size);
    {
        const Instance decompressor;
        BITMAPINFOHEADER out = stream.header;
        ASSERT_EQ(decompressor.Decompress(coded, {frame.get(), frameSize}, out, back.get()), ICERR_OK);
    }
    const double decompressSeconds = SecondsSince(start);
    const double decompressPeak = PeakGiB();
    EXPECT_EQ(std::memcmp(picture.get(), back.get(), size), 0) << "the picture came back changed";
    EXPECT_LT(compressPeak, kMostGiB);
    EXPECT_LT(decompressPeak, kMostGiB);
    std::printf(
        "%s: %.2f GiB in, %.2f GiB frame; compress %.1f s, peak %.2f GiB; decompress %.1f s, peak %.2f GiB\n",
        stream.Name().c_str(), static_cast<double>(size) / kGiB, static_cast<double>(frameSize) / kGiB,
        compressSeconds, compressPeak, decompressSeconds, decompressPeak);
}

} // namespace

TEST(BigPictures, OfSixteenThousandSquaredComeBackInEveryFormat)
{
    if (!LongTests())
        GTEST_SKIP() << "takes minutes and gigabytes";
    constexpr int kSide = 16384;
    for (const HostStream& stream :
         {MakeHostStream("O8RG", "RGB", 24, kSide, kSide), MakeHostStream("O8RA", "RGB", 32, kSide, kSide),
          MakeHostStream("O8Y4", "I444", 24, kSide, kSide), MakeHostStream("O8YA", "AYUV", 32, kSide, kSide),
          MakeHostStream("O8Y2", "YUY2", 16, kSide, kSide), MakeHostStream("O8Y0", "I420", 12, kSide, kSide),
          MakeHostStream("O8G0", "Y800", 8, kSide, kSide)})
        ExpectWholeRoad(stream);
}

TEST(BigPictures, OneStepBelowTheLimitOfOffsetsComeBack)
{
    if (!LongTests())
        GTEST_SKIP() << "takes minutes and gigabytes";
    // Rows of 512 MiB, four of them: one sample more would not be taken.
    for (const HostStream& stream : {MakeHostStream("O8G0", "Y800", 8, 536'870'908, 4),
                                     MakeHostStream("O8RA", "RGB", 32, 134'217'724, 4),
                                     MakeHostStream("O8RG", "RGB", 24, 178'956'968, 4),
                                     MakeHostStream("O8Y2", "YUY2", 16, 268'435'452, 4),
                                     // as many blocks as a frame's bound has room for: 7 bytes for each of
                                     // 256 KiB without tables and ends
                                     MakeHostStream("O8G0", "Y800", 8, 4, 37'368 * 28)})
        ExpectWholeRoad(stream);
}
