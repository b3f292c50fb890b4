// The smallest pictures and blocks, and where the largest ones end.
#include "reliability/streams.h"
#include "support/long_tests.h"
#include "support/same_bytes.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

bool Takes(const HostStream& stream, int width, int height)
{
    const Instance instance(stream.variant->fourCC);
    BITMAPINFOHEADER header = stream.header;
    header.biWidth = width;
    header.biHeight = height;
    return instance.Send(ICM_COMPRESS_QUERY, &header) == ICERR_OK;
}

/// Whether what Takes lets in comes out again, to the same layout.
bool GivesBack(const HostStream& stream, int width, int height)
{
    const Instance instance;
    BITMAPINFOHEADER out = stream.header;
    out.biWidth = width;
    out.biHeight = height;
    const StreamHeader coded = MakeStream(stream.variant->id, width, height);
    return instance.Send(ICM_DECOMPRESS_QUERY, &coded, &out) == ICERR_OK;
}

bool Is(const HostStream& stream, const char* fourCC)
{
    return std::string(stream.variant->fourCC) == fourCC;
}

/// Bytes of the largest plane's rows.
int64_t LargestRowBytes(const HostStream& stream, int64_t width)
{
    const std::string name = stream.format->name;
    if (name == "I420" || name == "I444" || name == "Y800")
        return width;
    const int64_t bytes = width * stream.format->bits / 8;
    return name == "RGB" ? (bytes + 3) / 4 * 4 : bytes;
}

int64_t PlanesOf(const HostStream& stream)
{
    return Is(stream, "O8G0") ? 1 : Is(stream, "O8RA") || Is(stream, "O8YA") ? 4 : 3;
}

/// Both directions take a picture of the first size, and none takes one of the second.
void ExpectLimit(const HostStream& stream, int width, int height, int tooWide, int tooHigh)
{
    EXPECT_TRUE(Takes(stream, width, height)) << stream.Name() << ": " << width << " x " << height;
    EXPECT_TRUE(GivesBack(stream, width, height)) << stream.Name() << ": " << width << " x " << height;
    EXPECT_FALSE(Takes(stream, tooWide, tooHigh)) << stream.Name() << ": " << tooWide << " x " << tooHigh;
    EXPECT_FALSE(GivesBack(stream, tooWide, tooHigh)) << stream.Name() << ": " << tooWide << " x " << tooHigh;
}

constexpr int64_t kLargestPlane = (int64_t{1} << 31) - 1; // what signed 32-bit offsets reach
constexpr int64_t kMostBlocks = int64_t{1} << 20;
constexpr int64_t kBlockRows = 28;
constexpr int kStep = 4; // a multiple that suits every format

} // namespace

TEST(SmallPictures, OfFourByFourComeBackFromEveryLayout)
{
    const TestStore store;
    for (const int threads : {1, LongTests() ? 64 : 3})
        for (const bool interlaced : {false, true})
            for (const Variant& variant : kVariants)
                for (const HostFormat& format : kHostFormats) {
                    const int id = IdFor(format, variant);
                    if (!variant.lossless.contains(id) && !variant.converted.contains(id))
                        continue;
                    HostStream stream =
                        MakeHostStream(variant.fourCC, format.name, format.bits, 4, 4, interlaced);
                    StoredChoice choice;
                    choice.encodeThreads = choice.decodeThreads = threads;
                    choice.interlaced = interlaced;
                    StoreChoice(variant.fourCC, choice);
                    const Instance compressor(variant.fourCC);
                    const Instance decompressor;
                    for (const Content content : kAllContents) {
                        stream.content = content;
                        ExpectRoundTrip(stream, compressor, decompressor, 3);
                    }
                }
}

TEST(SmallPictures, BlocksOfFewRowsComeBack)
{
    const TestStore store;
    for (HostStream stream : StreamsOfAllRoads(32, 24)) {
        StoredChoice choice;
        choice.interlaced = stream.interlaced;
        StoreChoice(stream.variant->fourCC, choice);
        // A block has a whole row of every plane and, interlaced, of both fields.
        const uint32_t least = (Is(stream, "O8Y0") ? 2U : 1U) * (stream.interlaced ? 2U : 1U);
        const Instance compressor(stream.variant->fourCC);
        const Instance decompressor;
        const ExactBuffer picture = stream.Picture();
        const StreamHeader usual = compressor.GetStream(stream.header);
        BITMAPINFOHEADER out = stream.header;
        ExactBuffer expected(picture.size());
        ASSERT_EQ(decompressor.Decompress(usual,
                                          compressor.Compress(stream.header, usual, picture.data()).bytes,
                                          out, expected.data()),
                  ICERR_OK);
        EXPECT_EQ(compressor.Send(ICM_COMPRESS_END), 0);
        for (uint32_t rows = least; rows <= 26; rows += least) {
            SCOPED_TRACE(stream.Name() + ", blocks of " + std::to_string(rows) + " rows");
            StreamHeader coded = usual;
            coded.record.blockHeight = rows;
            ASSERT_EQ(compressor.Send(ICM_COMPRESS_BEGIN, &stream.header, &coded), ICERR_OK);
            const auto frame = compressor.Compress(stream.header, coded, picture.data());
            ASSERT_EQ(frame.result, ICERR_OK);
            // Under a configuration of the same height, and under one of another.
            for (const StreamHeader& configuration : {coded, usual}) {
                ExactBuffer back(picture.size());
                ASSERT_EQ(decompressor.Send(ICM_DECOMPRESS_BEGIN, &configuration, &stream.header), ICERR_OK);
                ASSERT_EQ(decompressor.Decompress(configuration, frame.bytes, out, back.data()), ICERR_OK);
                EXPECT_TRUE(SameBytes(back.Bytes(), expected.Bytes()));
            }
        }
    }
}

TEST(LargestPictures, EndWhereSignedOffsetsDo)
{
    const TestStore store;
    for (const HostStream& stream : StreamsOfAllRoads()) {
        if (stream.interlaced || stream.header.biHeight < 0)
            continue; // the same planes as others
        StoreChoice(stream.variant->fourCC, {});
        int64_t width = 4;
        while (4 * LargestRowBytes(stream, width + (int64_t{1} << 20)) <= kLargestPlane)
            width += int64_t{1} << 20;
        while (4 * LargestRowBytes(stream, width + kStep) <= kLargestPlane)
            width += kStep;
        ExpectLimit(stream, static_cast<int>(width), 4, static_cast<int>(width + kStep), 4);
    }
}

TEST(LargestPictures, EndWhereTheNumberOfBlocksDoes)
{
    const TestStore store;
    for (const HostStream& stream : StreamsOfAllRoads()) {
        if (stream.interlaced || stream.header.biHeight < 0)
            continue;
        StoreChoice(stream.variant->fourCC, {});
        const int64_t height = kMostBlocks / PlanesOf(stream) * kBlockRows;
        ExpectLimit(stream, 4, static_cast<int>(height), 4, static_cast<int>(height + kStep));
    }
}
