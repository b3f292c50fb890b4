// Pictures through the frame calls of msvfw32: single messages, the sequence calls, and those for one
// picture.
#include "hosts/codec_handle.h"
#include "hosts/installed_driver.h"
#include "support/test_store.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>

namespace {

constexpr int kWidth = 70; // rows of 24-bit RGB are padded
constexpr int kHeight = 60;

class FrameCalls : public testing::Test
{
  protected:
    TestStore store;
};

std::vector<Bytes> DecompressBack(const LosslessRoute& route, const Clip& clip, const Stream& stream)
{
    const CodecHandle codec(route.variant->fourCC, ICMODE_DECOMPRESS);
    return DecompressStream(codec, stream, clip.header, clip.header.biSizeImage);
}

/// A packed bitmap in global memory: header and pixels behind one another.
class PackedBitmap
{
  public:
    explicit PackedBitmap(HANDLE memory) : handle(memory) {}
    ~PackedBitmap() { GlobalFree(handle); }
    PackedBitmap(const PackedBitmap&) = delete;
    PackedBitmap& operator=(const PackedBitmap&) = delete;

    explicit operator bool() const { return handle != nullptr; }
    const BITMAPINFOHEADER& Header() const
    {
        return *static_cast<const BITMAPINFOHEADER*>(GlobalLock(handle));
    }

  private:
    HANDLE handle;
};

} // namespace

TEST_F(FrameCalls, LosslessLayoutsComeBackIdentical)
{
    for (const LosslessRoute& route : LosslessRoutes()) {
        SCOPED_TRACE(route.Name());
        const Clip clip = MakeClip(route, kWidth, kHeight, 3);
        const CodecHandle codec(route.variant->fourCC, ICMODE_COMPRESS);
        const Stream stream = CompressClip(codec, clip);
        EXPECT_TRUE(AreSamePictures(clip, DecompressBack(route, clip, stream)));
    }
}

TEST_F(FrameCalls, OneInstanceCompressesAndDecompressesByTurns)
{
    const LosslessRoute route = RgbRoute("O8RG", 24);
    const Clip clip = MakeClip(route, kWidth, kHeight, 2);
    const CodecHandle codec("O8RG", ICMODE_COMPRESS);
    for (int turn = 0; turn < 3; ++turn) {
        const Stream stream = CompressClip(codec, clip);
        EXPECT_TRUE(
            AreSamePictures(clip, DecompressStream(codec, stream, clip.header, clip.header.biSizeImage)));
    }
}

TEST_F(FrameCalls, ThreadsDoNotChangeAFrame)
{
    const LosslessRoute route = RgbRoute("O8RG", 24);
    const Clip clip = MakeClip(route, 128, 240, 2);
    std::vector<std::vector<Bytes>> frames;
    TestStore::Write("Software\\Orvane\\O8RG", "AutoEncodeThreads", 0);
    for (const uint32_t threads : {1U, 2U, 3U, 7U}) {
        TestStore::Write("Software\\Orvane\\O8RG", "NumEncodeThreads", threads);
        frames.push_back(CompressClip(CodecHandle("O8RG", ICMODE_COMPRESS), clip).frames);
    }
    for (const std::vector<Bytes>& other : frames)
        EXPECT_EQ(other, frames.front());
}

TEST_F(FrameCalls, DecompressionIsSuggestedInTheStreamsOwnLayout)
{
    const std::map<std::string, std::pair<std::string, int>> suggestions = {
        {"O8RG", {"RGB", 24}},  {"O8RA", {"RGB", 32}},  {"O8YA", {"AYUV", 32}}, {"O8Y4", {"YV24", 24}},
        {"O8Y2", {"HDYC", 16}}, {"O8Y0", {"YV12", 12}}, {"O8G0", {"Y8  ", 8}},
    };
    for (const Variant& variant : kVariants) {
        const CodecHandle codec(variant.fourCC, ICMODE_DECOMPRESS);
        StreamHeader in = MakeStream(variant.id, kWidth, kHeight);
        BITMAPINFOHEADER out;
        std::memset(&out, 0xEE, sizeof out); // hosts hand over whatever was there
        ASSERT_EQ(ICDecompressGetFormatSize(codec, &in), static_cast<LONG>(sizeof out));
        Require(ICDecompressGetFormat(codec, &in, &out), "ICDecompressGetFormat");
        const auto& [fourCC, bits] = suggestions.at(variant.fourCC);
        EXPECT_EQ(out.biCompression, FourCCOf(fourCC)) << variant.fourCC;
        EXPECT_EQ(out.biBitCount, bits) << variant.fourCC;
        EXPECT_EQ(out.biSize, sizeof out);
        EXPECT_EQ(out.biHeight, kHeight);
        EXPECT_EQ(ICDecompressQuery(codec, &in, &out), ICERR_OK) << variant.fourCC;
    }
}

TEST_F(FrameCalls, PicturesOfASequenceComeBackIdentical)
{
    for (const LosslessRoute& route : LosslessRoutes()) {
        SCOPED_TRACE(route.Name());
        const Clip clip = MakeClip(route, kWidth, kHeight, 3);
        const CodecHandle codec(route.variant->fourCC, ICMODE_COMPRESS);
        BITMAPINFO in{clip.header, {}};
        COMPVARS vars{};
        vars.cbSize = sizeof vars;
        vars.dwFlags = ICMF_COMPVARS_VALID;
        vars.hic = codec;
        vars.fccType = ICTYPE_VIDEO;
        vars.fccHandler = FourCCOf(route.variant->fourCC);
        vars.lQ = -1;
        vars.lKey = 1;
        Stream stream{};
        Require(ICCompressGetFormat(codec, &in, &stream.header), "ICCompressGetFormat");
        vars.lpbiOut = reinterpret_cast<BITMAPINFO*>(&stream.header);
        ASSERT_TRUE(ICSeqCompressFrameStart(&vars, &in));
        for (size_t i = 0; i < clip.pictures.size(); ++i) {
            Bytes source = clip.pictures[i];
            WINBOOL key = FALSE;
            auto size = static_cast<LONG>(clip.header.biSizeImage);
            const auto* const bytes =
                static_cast<const uint8_t*>(ICSeqCompressFrame(&vars, 0, source.data(), &key, &size));
            ASSERT_TRUE(bytes) << "frame " << i;
            stream.frames.emplace_back(bytes, bytes + size);
        }
        ICSeqCompressFrameEnd(&vars);
        EXPECT_TRUE(AreSamePictures(clip, DecompressBack(route, clip, stream)));
    }
}

TEST_F(FrameCalls, OnePictureDecompressesByOneCall)
{
    for (const LosslessRoute& route : LosslessRoutes()) {
        SCOPED_TRACE(route.Name());
        const Clip clip = MakeClip(route, kWidth, kHeight, 1);
        Stream stream = CompressClip(CodecHandle(route.variant->fourCC, ICMODE_COMPRESS), clip);
        stream.header.header.biSizeImage = static_cast<DWORD>(stream.frames[0].size());
        BITMAPINFO out{clip.header, {}};
        // The codec is found by the stream alone.
        const PackedBitmap bitmap(ICImageDecompress(nullptr, 0, reinterpret_cast<BITMAPINFO*>(&stream.header),
                                                    stream.frames[0].data(), &out));
        ASSERT_TRUE(bitmap);
        EXPECT_EQ(bitmap.Header().biCompression, clip.header.biCompression);
        EXPECT_TRUE(AreSamePictures(clip, {PixelsOf(bitmap.Header())}));
    }
}

TEST_F(FrameCalls, OnePictureDecompressesToWhatTheCodecSuggests)
{
    const Clip clip = MakeClip(RgbRoute("O8RG", 24), kWidth, kHeight, 1);
    const CodecHandle codec("O8RG", ICMODE_DECOMPRESS);
    Stream stream = CompressClip(codec, clip);
    stream.header.header.biSizeImage = static_cast<DWORD>(stream.frames[0].size());
    const PackedBitmap bitmap(ICImageDecompress(codec, 0, reinterpret_cast<BITMAPINFO*>(&stream.header),
                                                stream.frames[0].data(), nullptr));
    ASSERT_TRUE(bitmap);
    EXPECT_TRUE(AreSamePictures(clip, {PixelsOf(bitmap.Header())}));
}

TEST_F(FrameCalls, DisplayFormatIsRgbThatTheStreamDecompressesTo)
{
    for (const Variant& variant : kVariants) {
        SCOPED_TRACE(variant.fourCC);
        const CodecHandle codec(variant.fourCC, ICMODE_DECOMPRESS);
        StreamHeader in = MakeStream(variant.id, kWidth, kHeight);
        BITMAPINFO out{};
        ASSERT_TRUE(ICGetDisplayFormat(codec, &in.header, &out.bmiHeader, 0, 0, 0));
        EXPECT_EQ(out.bmiHeader.biCompression, static_cast<DWORD>(BI_RGB));
        EXPECT_EQ(out.bmiHeader.biWidth, kWidth);
        EXPECT_EQ(ICDecompressQuery(codec, &in, &out), ICERR_OK);
    }
}
