#include "drawing/canvas.h"

#include <algorithm>
#include <array>

#include <stb/stb_easy_font.h>

namespace {

std::string Printable(std::string text)
{
    for (char& c : text)
        if (c < 0x20 || c > 0x7E)
            c = '?';
    return text;
}

/// Two greys for what shows through transparent pixels.
constexpr int CheckerAt(int x, int y)
{
    return ((x >> 3) + (y >> 3)) % 2 == 0 ? 255 : 215;
}

/// The source rows or columns that a row or column of the scaled picture covers, at least one.
struct Span {
    int first, end;
};
Span SourceSpan(int at, int outputSize, int inputSize)
{
    const auto scaled = [&](int position) {
        return static_cast<int>(int64_t{position} * inputSize / outputSize);
    };
    const int first = std::min(scaled(at), inputSize - 1);
    return {first, std::max(first + 1, scaled(at + 1))};
}

/// The mean of pixels: blue, green and red, then alpha, 255 where the picture has none.
std::array<int, 4> MeanPixel(const StillImage& image, Span rows, Span columns)
{
    const auto samples = static_cast<size_t>(image.info.layout->bitCount / 8);
    const auto width = static_cast<size_t>(image.info.width);
    std::array<uint64_t, 4> sum{};
    for (auto row = static_cast<size_t>(rows.first); row < static_cast<size_t>(rows.end); ++row)
        for (auto column = static_cast<size_t>(columns.first); column < static_cast<size_t>(columns.end);
             ++column)
            for (size_t i = 0; i < samples; ++i)
                sum[i] += image.pixels[(row * width + column) * samples + i];

    const auto count =
        static_cast<uint64_t>(rows.end - rows.first) * static_cast<uint64_t>(columns.end - columns.first);
    std::array<int, 4> mean{0, 0, 0, 255};
    for (size_t i = 0; i < std::max(samples, size_t{3}); ++i)
        mean[i] = static_cast<int>(sum[samples == 1 ? 0 : i] / count);
    return mean;
}

} // namespace

Canvas::Canvas(int width_, int height_, Color ground)
    : width(static_cast<size_t>(width_)), height(static_cast<size_t>(height_)), pixels(width * height * 3)
{
    Fill({0, 0, width_, height_}, ground);
}

Rect Canvas::Inside(const Rect& area) const
{
    const int left = std::max(area.x, 0), top = std::max(area.y, 0);
    const int right = std::min(area.Right(), static_cast<int>(width));
    const int bottom = std::min(area.Bottom(), static_cast<int>(height));
    return {left, top, std::max(right - left, 0), std::max(bottom - top, 0)};
}

void Canvas::Set(int x, int y, Color color)
{
    uint8_t* const pixel = At(x, y);
    pixel[0] = color.blue;
    pixel[1] = color.green;
    pixel[2] = color.red;
}

void Canvas::Fill(const Rect& area, Color color)
{
    const Rect in = Inside(area);
    for (int y = in.y; y < in.Bottom(); ++y)
        for (int x = in.x; x < in.Right(); ++x)
            Set(x, y, color);
}

void Canvas::Hatch(const Rect& area, Color color)
{
    constexpr int kPeriod = 10, kWidth = 3;
    const Rect in = Inside(area);
    for (int y = in.y; y < in.Bottom(); ++y)
        for (int x = in.x; x < in.Right(); ++x)
            if ((x + y) % kPeriod < kWidth)
                Set(x, y, color);
}

void Canvas::Tint(const Rect& area, Color color)
{
    const Rect in = Inside(area);
    for (int y = in.y; y < in.Bottom(); ++y)
        for (int x = in.x; x < in.Right(); ++x) {
            uint8_t* const pixel = At(x, y);
            Set(x, y,
                {static_cast<uint8_t>((pixel[2] + color.red) / 2),
                 static_cast<uint8_t>((pixel[1] + color.green) / 2),
                 static_cast<uint8_t>((pixel[0] + color.blue) / 2)});
        }
}

void Canvas::Outline(const Rect& area, Color color)
{
    Fill({area.x, area.y, area.width, 1}, color);
    Fill({area.x, area.Bottom() - 1, area.width, 1}, color);
    Fill({area.x, area.y, 1, area.height}, color);
    Fill({area.Right() - 1, area.y, 1, area.height}, color);
}

void Canvas::Text(int x, int y, const std::string& text, Color color, int scale)
{
    // The font gives each glyph as rectangles in whole units: four corners of x, y, z and a colour.
    struct Corner {
        float x, y, z;
        uint8_t color[4];
    };
    using Quad = std::array<Corner, 4>;
    std::string line = Printable(text);
    std::vector<Quad> quads(line.size() * 32);
    const int count = stb_easy_font_print(0, 0, line.data(), nullptr, quads.data(),
                                          static_cast<int>(quads.size() * sizeof(Quad)));
    for (int i = 0; i < count; ++i) {
        const Corner &from = quads[static_cast<size_t>(i)][0], &to = quads[static_cast<size_t>(i)][2];
        const auto scaled = [&](float value) { return static_cast<int>(value) * scale; };
        Fill({x + scaled(from.x), y + scaled(from.y), scaled(to.x - from.x), scaled(to.y - from.y)}, color);
    }
}

int Canvas::TextWidth(const std::string& text, int scale)
{
    std::string line = Printable(text);
    return stb_easy_font_width(line.data()) * scale;
}

void Canvas::Image(const Rect& area, const StillImage& image)
{
    const Rect in = Inside(area);
    for (int y = in.y; y < in.Bottom(); ++y) {
        const Span rows = SourceSpan(y - area.y, area.height, image.info.height);
        for (int x = in.x; x < in.Right(); ++x) {
            const Span columns = SourceSpan(x - area.x, area.width, image.info.width);
            const std::array<int, 4> mean = MeanPixel(image, rows, columns);
            const int ground = CheckerAt(x - area.x, y - area.y) * (255 - mean[3]);
            for (size_t i = 0; i < 3; ++i)
                At(x, y)[i] = static_cast<uint8_t>((mean[i] * mean[3] + ground) / 255);
        }
    }
}

std::vector<uint8_t> Canvas::EncodePng() const
{
    VideoInfo info;
    info.layout = &LayoutNamed("RGB24");
    info.width = static_cast<int>(width);
    info.height = static_cast<int>(height);
    return EncodeStill(StillKind::Png, info, pixels);
}
