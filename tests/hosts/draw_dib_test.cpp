// Compressed frames drawn by DrawDib, pixels read back from the bitmap that they were drawn to.
#include "hosts/codec_handle.h"
#include "hosts/installed_driver.h"
#include "support/test_store.h"
#include "surroundings/windows/test_registry.h"

#include <gtest/gtest.h>

namespace {

constexpr int kWidth = 72;
constexpr int kHeight = 48;

/// A bitmap of 32-bit pixels, bottom-up, with a device context that draws to it.
class Canvas
{
  public:
    Canvas() : context(CreateCompatibleDC(nullptr))
    {
        BITMAPINFO info{MakeHeader("RGB", 32, kWidth, kHeight), {}};
        bitmap = CreateDIBSection(context, &info, DIB_RGB_COLORS, &pixels, nullptr, 0);
        if (!bitmap)
            throw std::runtime_error("no bitmap");
        std::memset(pixels, 0x5A, sizeof(uint32_t) * kWidth * kHeight);
        before = SelectObject(context, bitmap);
    }
    ~Canvas()
    {
        SelectObject(context, before);
        DeleteObject(bitmap);
        DeleteDC(context);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    /// Draws a frame by DrawDibBegin and DrawDibDraw; false if either fails.
    bool Draw(const Stream& stream, size_t number)
    {
        StreamHeader in = stream.header;
        Bytes frame = stream.frames.at(number);
        in.header.biSizeImage = static_cast<DWORD>(frame.size());
        const HDRAWDIB drawing = DrawDibOpen();
        const bool drawn = DrawDibBegin(drawing, context, kWidth, kHeight, &in.header, kWidth, kHeight, 0) &&
                           DrawDibDraw(drawing, context, 0, 0, kWidth, kHeight, &in.header, frame.data(), 0,
                                       0, kWidth, kHeight, 0);
        DrawDibEnd(drawing);
        DrawDibClose(drawing);
        GdiFlush();
        return drawn;
    }

    /// What the canvas shows, three bytes a pixel.
    Bytes Colours() const
    {
        const auto* const bytes = static_cast<const uint8_t*>(pixels);
        Bytes colours;
        for (size_t i = 0; i < sizeof(uint32_t) * kWidth * kHeight; ++i)
            if (i % 4 != 3)
                colours.push_back(bytes[i]);
        return colours;
    }

  private:
    HDC context;
    HBITMAP bitmap = nullptr;
    HGDIOBJ before = nullptr;
    void* pixels = nullptr;
};

/// The stream's first picture as 24-bit RGB. The width needs no padding.
Bytes RgbOf(const Stream& stream, const char* fourCC)
{
    const uint32_t size = PictureBytes(3, kWidth, kHeight);
    return DecompressStream(CodecHandle(fourCC, ICMODE_DECOMPRESS), stream,
                            MakeHeader("RGB", 24, kWidth, kHeight, size), size)
        .front();
}

Clip NativeClip(const char* fourCC)
{
    for (const LosslessRoute& route : LosslessRoutes())
        if (std::string(fourCC) == route.variant->fourCC)
            return MakeClip(route, kWidth, kHeight, 2);
    throw std::out_of_range(fourCC);
}

} // namespace

TEST(DrawDib, DrawsRgbStreamsAsTheyWere)
{
    const TestStore store;
    const Clip clip = MakeClip(RgbRoute("O8RG", 24), kWidth, kHeight, 2);
    const Stream stream = CompressClip(CodecHandle("O8RG", ICMODE_COMPRESS), clip);
    for (size_t i = 0; i < clip.pictures.size(); ++i) {
        Canvas canvas;
        ASSERT_TRUE(canvas.Draw(stream, i));
        EXPECT_TRUE(canvas.Colours() == clip.pictures[i]) << "frame " << i;
    }
}

TEST(DrawDib, DrawsTheColoursOfStreamsWithAlpha)
{
    const TestStore store;
    const Clip clip = MakeClip(RgbRoute("O8RA", 32), kWidth, kHeight, 1);
    const Stream stream = CompressClip(CodecHandle("O8RA", ICMODE_COMPRESS), clip);
    Bytes colours;
    for (size_t i = 0; i < clip.pictures[0].size(); ++i)
        if (i % 4 != 3)
            colours.push_back(clip.pictures[0][i]);
    Canvas canvas;
    ASSERT_TRUE(canvas.Draw(stream, 0));
    EXPECT_TRUE(canvas.Colours() == colours);
}

TEST(DrawDib, DrawsYuvStreamsWhenRgbIsSuggested)
{
    const TestStore store;
    TestStore::Write("Software\\Orvane", "SuggestRGB", 1);
    for (const char* fourCC : {"O8Y4", "O8Y2", "O8Y0", "O8G0"}) {
        SCOPED_TRACE(fourCC);
        const Stream stream = CompressClip(CodecHandle(fourCC, ICMODE_COMPRESS), NativeClip(fourCC));
        Canvas canvas;
        ASSERT_TRUE(canvas.Draw(stream, 0));
        EXPECT_TRUE(canvas.Colours() == RgbOf(stream, fourCC));
    }
}

TEST(DrawDib, FollowsTheUsersRegistry)
{
    const TestRegistry registry;
    const Stream stream = CompressClip(CodecHandle("O8Y0", ICMODE_COMPRESS), NativeClip("O8Y0"));
    for (const uint32_t suggest : {0U, 1U}) {
        TestRegistry::Write("Software\\Orvane", "SuggestRGB", suggest);
        Canvas canvas;
        canvas.Draw(stream, 0);
        EXPECT_EQ(canvas.Colours() == RgbOf(stream, "O8Y0"), suggest == 1);
    }
}
