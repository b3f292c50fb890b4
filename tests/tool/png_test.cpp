// PNG pictures: what the format allows is read, and what is damaged is found.
#include "files/png_format.h"
#include "files/still_image.h"
#include "support/picture_maker.h"
#include "support/test_seed.h"
#include "tool/tool_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <zlib.h>

namespace {

void PutBigEndian(Bytes& bytes, uint32_t value, int count)
{
    for (int i = count - 1; i >= 0; --i)
        bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

Bytes Deflated(const Bytes& bytes, int level)
{
    uLongf size = compressBound(static_cast<uLong>(bytes.size()));
    Bytes packed(size);
    EXPECT_EQ(compress2(packed.data(), &size, bytes.data(), static_cast<uLong>(bytes.size()), level), Z_OK);
    packed.resize(size);
    return packed;
}

/// A file, chunk by chunk.
struct PngFile {
    Bytes bytes{std::begin(png::kSignature), std::end(png::kSignature)};

    PngFile& Add(const std::string& type, const Bytes& payload)
    {
        PutBigEndian(bytes, static_cast<uint32_t>(payload.size()), 4);
        const size_t start = bytes.size();
        bytes.insert(bytes.end(), type.begin(), type.end());
        bytes.insert(bytes.end(), payload.begin(), payload.end());
        const auto checksum = crc32(0, bytes.data() + start, static_cast<uInt>(bytes.size() - start));
        PutBigEndian(bytes, static_cast<uint32_t>(checksum), 4);
        return *this;
    }
    PngFile& AddHeader(uint32_t width, uint32_t height, uint8_t depth, uint8_t type, uint8_t interlace = 0)
    {
        Bytes header;
        PutBigEndian(header, width, 4);
        PutBigEndian(header, height, 4);
        for (const uint8_t field : {depth, type, uint8_t{0}, uint8_t{0}, interlace})
            header.push_back(field);
        return Add("IHDR", header);
    }
    PngFile& AddRows(const Bytes& rows) { return Add("IDAT", Deflated(rows, 6)).Add("IEND", {}); }
};

/// A picture of one gray row: 0, 1, 2.
PngFile Simple()
{
    return PngFile().AddHeader(3, 1, 8, png::kGray);
}
const Bytes kSimpleRows = {0, 0, 1, 2};

std::string ErrorOf(const Bytes& bytes)
{
    try {
        DecodeStill(bytes, "test");
    } catch (const ToolError& error) {
        return ErrorLine(error);
    }
    return "none";
}

void ExpectDamage(const PngFile& file, const std::string& what)
{
    EXPECT_NE(ErrorOf(file.bytes).find("damaged: " + what), std::string::npos)
        << what << ": " << ErrorOf(file.bytes);
}

Bytes EncodedPicture(const char* layout, int width, int height)
{
    VideoInfo info;
    info.layout = &LayoutNamed(layout);
    info.width = width;
    info.height = height;
    return EncodeStill(
        StillKind::Png, info,
        MakePicture(Content::Smooth, info.FrameBytes(), info.FrameBytes() / static_cast<size_t>(height), 7));
}

/// A picture of random samples in one form of the format, and the pixels that it means.
class RandomPng
{
  public:
    RandomPng(uint8_t type_, uint8_t depth_, bool interlaced_, bool transparent_, std::mt19937& random_)
        : type(type_), depth(depth_), interlaced(interlaced_), transparent(transparent_), random(random_),
          channels(type == png::kRgb         ? 3
                   : type == png::kRgba      ? 4
                   : type == png::kGrayAlpha ? 2
                                             : 1),
          width(static_cast<uint32_t>(1 + random() % 19)), height(static_cast<uint32_t>(1 + random() % 19)),
          samples(size_t{width} * height * channels)
    {
        for (uint8_t& sample : samples)
            sample = static_cast<uint8_t>(random() % (1U << depth));
        for (uint8_t& byte : palette)
            byte = static_cast<uint8_t>(random());
    }

    Bytes File()
    {
        PngFile file;
        file.AddHeader(width, height, depth, type, interlaced);
        if (type == png::kIndexed)
            file.Add("PLTE", {palette.begin(), palette.begin() + (3 << depth)});
        if (transparent)
            file.Add("tRNS", Transparency());
        return file.AddRows(Rows()).bytes;
    }

    /// B G R and, with alpha, A; one byte for gray.
    Bytes Pixels() const
    {
        Bytes pixels;
        for (size_t i = 0; i < samples.size(); i += channels) {
            const uint8_t* const at = samples.data() + i;
            const auto scaled = static_cast<uint8_t>(at[0] * 255 / ((1 << depth) - 1));
            switch (type) {
            case png::kGray:
                pixels.insert(pixels.end(), transparent ? 3 : 1, scaled);
                break;
            case png::kGrayAlpha:
                pixels.insert(pixels.end(), {at[0], at[0], at[0], at[1]});
                break;
            case png::kIndexed:
                pixels.insert(pixels.end(),
                              {palette[3 * at[0] + 2u], palette[3 * at[0] + 1u], palette[3 * at[0]]});
                break;
            default:
                pixels.insert(pixels.end(), {at[2], at[1], at[0]});
                if (type == png::kRgba)
                    pixels.push_back(at[3]);
            }
            if (transparent)
                pixels.push_back(AlphaOf(at));
        }
        return pixels;
    }

  private:
    /// Alpha of the first palette entry, or the first pixel's color.
    Bytes Transparency() const
    {
        if (type == png::kIndexed)
            return {77};
        Bytes payload;
        for (size_t i = 0; i < channels; ++i)
            PutBigEndian(payload, samples[i], 2);
        return payload;
    }
    uint8_t AlphaOf(const uint8_t* pixel) const
    {
        if (type == png::kIndexed)
            return pixel[0] == 0 ? 77 : 255;
        return std::equal(pixel, pixel + channels, samples.begin()) ? 0 : 255;
    }

    Bytes Rows()
    {
        static constexpr uint32_t kPasses[7][4] = {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4},
                                                   {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}};
        Bytes rows;
        if (!interlaced)
            PutPass(rows, 0, 0, 1, 1);
        for (const auto& pass : kPasses)
            if (interlaced && pass[0] < width && pass[1] < height)
                PutPass(rows, pass[0], pass[1], pass[2], pass[3]);
        return rows;
    }

    void PutPass(Bytes& rows, uint32_t startX, uint32_t startY, uint32_t stepX, uint32_t stepY)
    {
        Bytes above;
        for (uint32_t y = startY; y < height; y += stepY) {
            Bytes row;
            uint32_t bits = 0;
            for (uint32_t x = startX; x < width; x += stepX)
                for (size_t c = 0; c < channels; ++c, bits += depth) {
                    if (bits % 8 == 0)
                        row.push_back(0);
                    row.back() =
                        static_cast<uint8_t>(row.back() | samples[(size_t{y} * width + x) * channels + c]
                                                              << (8 - depth - bits % 8));
                }
            above.resize(row.size());
            PutFiltered(rows, row, above);
            above = row;
        }
    }

    void PutFiltered(Bytes& rows, const Bytes& row, const Bytes& above)
    {
        const size_t distance = std::max<size_t>(1, channels * depth / 8);
        const auto filter = static_cast<uint8_t>(random() % 5);
        rows.push_back(filter);
        for (size_t i = 0; i < row.size(); ++i) {
            const int left = i < distance ? 0 : row[i - distance], up = above[i];
            const int corner = i < distance ? 0 : above[i - distance];
            // The prediction that is closest to left + up - corner, in this order.
            const int goal = left + up - corner;
            int paeth = left;
            for (const int other : {up, corner})
                if (std::abs(goal - other) < std::abs(goal - paeth))
                    paeth = other;
            const int predictions[] = {0, left, up, (left + up) / 2, paeth};
            rows.push_back(static_cast<uint8_t>(row[i] - predictions[filter]));
        }
    }

    uint8_t type, depth;
    bool interlaced, transparent;
    std::mt19937& random;
    size_t channels;
    uint32_t width, height;
    Bytes samples;
    std::array<uint8_t, 768> palette{};
};

struct Form {
    uint8_t type;
    std::vector<uint8_t> depths;
    bool mayBeTransparent;
};
const Form kForms[] = {{png::kGray, {1, 2, 4, 8}, true},
                       {png::kRgb, {8}, true},
                       {png::kIndexed, {1, 2, 4, 8}, true},
                       {png::kGrayAlpha, {8}, false},
                       {png::kRgba, {8}, false}};

} // namespace

TEST(Png, EveryColorTypeDepthInterlacingAndTransparencyIsRead)
{
    const uint32_t seed = TestSeed();
    std::mt19937 random(seed);
    for (const Form& form : kForms)
        for (const uint8_t depth : form.depths)
            for (const bool interlaced : {false, true})
                for (const bool transparent : {false, true})
                    for (int round = 0; round < 20 && (!transparent || form.mayBeTransparent); ++round) {
                        RandomPng png(form.type, depth, interlaced, transparent, random);
                        const StillImage read = DecodeStill(png.File(), "test");
                        ASSERT_EQ(read.pixels, png.Pixels())
                            << "type " << int{form.type} << " depth " << int{depth} << " interlaced "
                            << interlaced << " transparent " << transparent << " seed " << seed;
                        EXPECT_TRUE(read.warnings.empty());
                    }
}

TEST(Png, EveryFlippedBitIsFound)
{
    Bytes bytes = EncodedPicture("RGBA", 17, 9);
    ASSERT_EQ(ErrorOf(bytes), "none");
    for (size_t bit = 0; bit < bytes.size() * 8; ++bit) {
        bytes[bit / 8] = static_cast<uint8_t>(bytes[bit / 8] ^ 1 << bit % 8);
        EXPECT_NE(ErrorOf(bytes), "none") << "bit " << bit;
        bytes[bit / 8] = static_cast<uint8_t>(bytes[bit / 8] ^ 1 << bit % 8);
    }
}

TEST(Png, EveryTruncatedFileIsFound)
{
    const Bytes bytes = EncodedPicture("RGB24", 9, 5);
    for (size_t size = 0; size < bytes.size(); ++size)
        EXPECT_NE(ErrorOf({bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(size)}), "none") << size;
}

TEST(Png, WrongChecksumOfAChunkWithoutSamplesIsAWarning)
{
    PngFile file = Simple().Add("tEXt", {'a', 0, 'b'});
    file.bytes.back() ^= 1;
    const StillImage read = DecodeStill(file.AddRows(kSimpleRows).bytes, "test");
    EXPECT_EQ(read.pixels, (Bytes{0, 1, 2}));
    ASSERT_EQ(read.warnings.size(), 1u);
    EXPECT_EQ(WarningLine(read.warnings[0]),
              "orvane: warning: wrong checksum of the chunk tEXt, test, it holds no "
              "samples and is left out\n");
}

TEST(Png, WrongChecksumOfTransparencyIsDamage)
{
    PngFile file = Simple().Add("tRNS", {0, 1});
    file.bytes.back() ^= 1;
    ExpectDamage(file.AddRows(kSimpleRows), "wrong checksum of the chunk tRNS");
}

TEST(Png, ChecksumOfTheSamplesIsLookedAt)
{
    Bytes data = Deflated(kSimpleRows, 6);
    data.back() ^= 1;
    ExpectDamage(Simple().Add("IDAT", data).Add("IEND", {}), "its samples cannot be decompressed");
    data.resize(data.size() - 1);
    ExpectDamage(Simple().Add("IDAT", data).Add("IEND", {}), "it has too few samples");
}

TEST(Png, WhatTheFormatDoesNotAllowIsDamage)
{
    const Bytes data = Deflated(kSimpleRows, 6);
    ExpectDamage(PngFile().Add("IDAT", data).Add("IEND", {}), "the header is wrong");
    ExpectDamage(Simple().AddHeader(3, 1, 8, 0).AddRows(kSimpleRows), "the header is wrong");
    ExpectDamage(PngFile().AddHeader(3, 1, 3, 0).AddRows(kSimpleRows), "the header is wrong");
    ExpectDamage(PngFile().AddHeader(3, 1, 4, 2).AddRows(kSimpleRows), "the header is wrong");
    ExpectDamage(PngFile().AddHeader(3, 1, 8, 5).AddRows(kSimpleRows), "the header is wrong");
    ExpectDamage(PngFile().AddHeader(3, 1, 8, 0, 2).AddRows(kSimpleRows), "the header is wrong");
    ExpectDamage(PngFile().AddHeader(3, 1, 8, 3).AddRows(kSimpleRows), "its palette is missing");
    ExpectDamage(PngFile().AddHeader(3, 1, 8, 3).Add("PLTE", {1, 2, 3}).AddRows(kSimpleRows),
                 "a pixel has a color that the palette does not have");
    ExpectDamage(PngFile().AddHeader(3, 1, 8, 3).Add("PLTE", {1, 2}).AddRows(kSimpleRows),
                 "the palette is wrong");
    ExpectDamage(Simple().Add("tRNS", {1}).AddRows(kSimpleRows), "the transparency is wrong");
    ExpectDamage(Simple().Add("IEND", {}), "it has no samples");
    ExpectDamage(Simple().Add("XXXX", {}).AddRows(kSimpleRows), "the chunk XXXX is not known");
    ExpectDamage(Simple().Add("IDAT", {}).Add("tEXt", {}).AddRows(kSimpleRows),
                 "its samples are interrupted by other chunks");
    ExpectDamage(Simple().AddRows({0, 0, 1}), "it has too few samples");
    ExpectDamage(Simple().AddRows({0, 0, 1, 2, 3}), "it has too many samples");
    ExpectDamage(Simple().AddRows({5, 0, 1, 2}), "a row has an unknown filter");
    EXPECT_EQ(ErrorOf(Simple().Add("IDAT", {}).AddRows(kSimpleRows).bytes), "none")
        << "chunks without bytes are allowed";
}

TEST(Png, SixteenBitsAreRefused)
{
    EXPECT_NE(ErrorOf(PngFile().AddHeader(3, 1, 16, 2).AddRows(kSimpleRows).bytes).find("16 bits"),
              std::string::npos);
}

TEST(Png, SizesOfPicturesAreBelievedOnlyWhenTheFileIsLongEnough)
{
    ExpectDamage(PngFile().AddHeader(16384, 16384, 8, 6).AddRows(kSimpleRows), "it has too few samples");
    EXPECT_NE(
        ErrorOf(PngFile().AddHeader(16384, 16385, 8, 6).AddRows(kSimpleRows).bytes).find("--max-pixels"),
        std::string::npos);
    EXPECT_NE(ErrorOf(PngFile().AddHeader(0, 8, 8, 6).AddRows(kSimpleRows).bytes).find("not supported"),
              std::string::npos);
}

TEST(Png, WrittenSizeIsWithinTenPercentOfTheBestLevel)
{
    for (const char* layout : {"Y800", "RGB24", "RGBA"}) {
        const Bytes file = EncodedPicture(layout, 320, 240);
        // Signature, header chunk; one chunk of data, end chunk.
        constexpr size_t kDataStart = 8 + 25 + 8, kAfterData = 4 + 12;
        Bytes rows(4 << 20);
        auto size = static_cast<uLongf>(rows.size());
        ASSERT_EQ(uncompress(rows.data(), &size, file.data() + kDataStart,
                             static_cast<uLong>(file.size() - kDataStart - kAfterData)),
                  Z_OK);
        rows.resize(size);
        EXPECT_LE(static_cast<double>(file.size()), 1.1 * static_cast<double>(Deflated(rows, 9).size()))
            << layout;
    }
}
