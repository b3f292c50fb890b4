#include "reliability/streams.h"

#include "support/test_store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <ostream>

namespace {

int AcrossOf(int hostId)
{
    return hostId == 4 || hostId == 5 || hostId == 6 || hostId == 10 ? 2 : 1;
}

int DownOf(int hostId)
{
    return hostId == 6 || hostId == 10 ? 2 : 1;
}

int IdOf(const HostStream& stream)
{
    return IdFor(*stream.format, *stream.variant);
}

HostStream Make(const Variant& variant, const HostFormat& format, int width, int height)
{
    const int id = IdFor(format, variant);
    const auto columns = static_cast<uint32_t>(width);
    const auto rows = static_cast<uint32_t>(std::abs(height));
    // Rows of v308 are of whole four bytes.
    const uint32_t bytes = id == 44 ? (columns * 3 + 3) / 4 * 4 * rows : PictureBytes(id, columns, rows);
    return {&variant, &format, MakeHeader(format, width, height, bytes)};
}

} // namespace

std::string HostStream::Name() const
{
    return std::string(variant->fourCC) + " from " + format->name + " " + std::to_string(format->bits) +
           ", " + std::to_string(header.biWidth) + " x " + std::to_string(header.biHeight) +
           (interlaced ? " interlaced" : "");
}

ExactBuffer HostStream::Picture(uint32_t seed) const
{
    const auto rows = static_cast<size_t>(std::abs(header.biHeight));
    return ExactBuffer(
        MakePicture(content, header.biSizeImage, std::max<size_t>(1, header.biSizeImage / rows), seed));
}

bool HostStream::IsLossless() const
{
    return variant->lossless.contains(IdOf(*this));
}

bool HostStream::IsIdentical() const
{
    const int id = IdOf(*this);
    return IsLossless() && id != 1 && id != 45 && header.biWidth % 4 == 0;
}

HostStream MakeHostStream(const char* fourCC, const char* layout, int bits, int width, int height,
                          bool interlaced)
{
    const auto& variant = *std::ranges::find_if(
        kVariants, [&](const Variant& row) { return std::string(row.fourCC) == fourCC; });
    const auto& format = *std::ranges::find_if(kHostFormats, [&](const HostFormat& row) {
        return std::string(row.name) == layout && row.bits == bits;
    });
    HostStream stream = Make(variant, format, width, height);
    stream.interlaced = interlaced;
    return stream;
}

std::vector<HostStream> StreamsOfAllRoads(int width, int height)
{
    return {
        MakeHostStream("O8RG", "RGB", 24, width, height),
        MakeHostStream("O8RA", "RGB", 32, width, -height),
        MakeHostStream("O8Y4", "I444", 24, width, height),
        MakeHostStream("O8YA", "AYUV", 32, width, height),
        MakeHostStream("O8Y2", "YUY2", 16, width, height),
        MakeHostStream("O8Y2", "RGB", 24, width, height),
        MakeHostStream("O8Y0", "I420", 12, width, height),
        MakeHostStream("O8Y0", "I420", 12, width, height, true),
        MakeHostStream("O8Y0", "RGB", 32, width, height, true),
        MakeHostStream("O8Y0", "UYVY", 16, width, height),
        MakeHostStream("O8G0", "Y800", 8, width, height),
        MakeHostStream("O8G0", "v308", 24, width, height),
    };
}

HostStream RandomStream(std::mt19937& random, int largest)
{
    const auto below = [&](size_t count) { return static_cast<int>(random() % count); };
    for (;;) {
        const Variant& variant = kVariants[below(std::size(kVariants))];
        const HostFormat& format = kHostFormats[below(std::size(kHostFormats))];
        const int id = IdFor(format, variant);
        if (!variant.lossless.contains(id) && !variant.converted.contains(id))
            continue;
        const bool interlaced = below(4) == 0;
        const int across = std::max(AcrossOf(id), variant.id == 104 || variant.id == 105 ? 2 : 1);
        const int down = std::max(DownOf(id), variant.id == 105 ? 2 : 1) * (interlaced ? 2 : 1);
        const auto multiple = [&](int of) {
            return std::max(4, 4 + below(static_cast<size_t>(largest - 3))) / of * of;
        };
        const bool topDown = format.name == std::string("RGB") && below(2) == 0;
        HostStream stream = Make(variant, format, multiple(across), multiple(down) * (topDown ? -1 : 1));
        stream.interlaced = interlaced;
        stream.content = kAllContents[below(std::size(kAllContents))];
        return stream;
    }
}

StoredChoice RandomChoice(std::mt19937& random)
{
    constexpr int kThreads[] = {0, 1, 1, 2, 3, 5, 8, 64};
    StoredChoice choice;
    choice.encodeThreads = kThreads[random() % std::size(kThreads)];
    choice.decodeThreads = kThreads[random() % std::size(kThreads)];
    choice.interlaced = random() % 4 == 0;
    choice.method = static_cast<uint32_t>(2 + random() % 3);
    choice.matrix = static_cast<uint32_t>(1 + random() % 2);
    choice.fullRange = random() % 2 != 0;
    choice.interpolate = random() % 2 != 0;
    return choice;
}

void StoreChoice(const char* fourCC, const StoredChoice& choice)
{
    using namespace platform;
    {
        const auto key = OpenSettingsKey("Software\\Orvane", SettingsAccess::ReadWrite);
        key->Write("NotificationSettings", 0);
        for (const char* mask : {"DecompSettings_YUV400", "DecompSettings_YUV420", "DecompSettings_YUV422",
                                 "DecompSettings_YUV444"})
            key->Write(mask, 0xFFFFFFFF);
        key->Write("AutoDecodeThreads", choice.decodeThreads == 0);
        key->Write("NumDecodeThreads", static_cast<uint32_t>(std::max(1, choice.decodeThreads)));
    }
    const auto key = OpenSettingsKey(std::string("Software\\Orvane\\") + fourCC, SettingsAccess::ReadWrite);
    key->Write("AutoEncodeThreads", choice.encodeThreads == 0);
    key->Write("NumEncodeThreads", static_cast<uint32_t>(std::max(1, choice.encodeThreads)));
    key->Write("Interlaced", choice.interlaced);
    key->Write("CompMethod", choice.method);
    key->Write("ColorMatrix", choice.matrix);
    key->Write("FullRangeYUV", choice.fullRange);
    key->Write("InterpolateDownscale", choice.interpolate);
}

void BeginRuns(const HostStream& stream, const Instance& compressor, const Instance& decompressor)
{
    const StreamHeader coded = compressor.GetStream(stream.header);
    EXPECT_EQ(compressor.Send(ICM_COMPRESS_BEGIN, &stream.header, &coded), ICERR_OK) << stream.Name();
    EXPECT_EQ(decompressor.Send(ICM_DECOMPRESS_BEGIN, &coded, &stream.header), ICERR_OK) << stream.Name();
}

void ExpectRoundTrip(const HostStream& stream, const Instance& compressor, const Instance& decompressor,
                     uint32_t seed)
{
    SCOPED_TRACE(stream.Name());
    const ExactBuffer picture = stream.Picture(seed);
    const StreamHeader coded = compressor.GetStream(stream.header);
    const auto frame = compressor.Compress(stream.header, coded, picture.data());
    ASSERT_EQ(frame.result, ICERR_OK);
    BITMAPINFOHEADER out = stream.header;
    ExactBuffer back(picture.size(), 0, 0xEE);
    ASSERT_EQ(decompressor.Decompress(coded, frame.bytes, out, back.data()), ICERR_OK);
    ASSERT_TRUE(!stream.IsIdentical() || std::ranges::equal(back.Bytes(), picture.Bytes()));
    if (!stream.IsLossless())
        return;
    const auto again = compressor.Compress(stream.header, coded, back.data());
    ASSERT_EQ(again.result, ICERR_OK);
    ASSERT_EQ(again.bytes, frame.bytes) << "the picture that came back is coded differently";
}
