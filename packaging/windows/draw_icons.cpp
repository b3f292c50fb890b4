// Draws the two icons of the notification area and writes them as compressing.ico and decompressing.ico into
// the folder given. A program of the building machine.
//
// Both show a plate with two white arrows at a bar: pressed together while compressing, apart while
// decompressing. The plate's own colour, with a darker rim, stands out on light and on dark panels.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

constexpr int kSize = 16;    // pixels, each way
constexpr int kSamples = 16; // for one pixel, each way

struct Color {
    double red, green, blue; // 0 to 255
};

struct Theme {
    Color top, bottom, rim;
};

constexpr Theme kOrange = {{255, 158, 44}, {226, 92, 0}, {150, 54, 0}};
constexpr Theme kBlue = {{64, 168, 255}, {10, 98, 196}, {4, 54, 122}};
constexpr Color kWhite = {255, 255, 255};

/// Which way the arrows point.
enum class Arrows { Inward, Outward };

/// Distance from (x, y) to the edge of a square with round corners in the middle of the icon, negative
/// inside.
double PlateDistance(double x, double y, double halfWidth, double radius)
{
    const double dx = std::abs(x - kSize / 2.0) - (halfWidth - radius);
    const double dy = std::abs(y - kSize / 2.0) - (halfWidth - radius);
    return std::hypot(std::max(dx, 0.0), std::max(dy, 0.0)) + std::min(std::max(dx, dy), 0.0) - radius;
}

/// The sign in the upper half; the lower half is its mirror. `height` counts from the middle upward. All
/// edges lie between pixels, so that they are sharp.
bool InSign(double x, double height, Arrows arrows)
{
    const double side = std::abs(x - kSize / 2.0);
    if (height < 1)
        return side < 5;                // the bar
    constexpr double low = 2, high = 6; // where the arrow head lies, as wide as high
    if (height < low || height > high)
        return false;
    const double fromTip = arrows == Arrows::Inward ? height - low : high - height;
    return side < std::floor(fromTip) + 1;
}

Color Mix(const Color& a, const Color& b, double share)
{
    return {a.red + (b.red - a.red) * share, a.green + (b.green - a.green) * share,
            a.blue + (b.blue - a.blue) * share};
}

struct Pixel {
    uint8_t blue, green, red, alpha;
};

/// The mean of the samples of one pixel; the colour counts only where the icon is.
Pixel DrawPixel(int column, int row, const Theme& theme, Arrows arrows)
{
    Color sum = {0, 0, 0};
    int covered = 0;
    for (int i = 0; i < kSamples * kSamples; ++i) {
        const double x = column + (i % kSamples + 0.5) / kSamples;
        const double y = row + (i / kSamples + 0.5) / kSamples;
        const double distance = PlateDistance(x, y, 8, 3.2);
        if (distance > 0)
            continue;
        Color color = Mix(theme.top, theme.bottom, y / kSize);
        if (distance > -1)
            color = theme.rim;
        if (InSign(x, std::abs(y - kSize / 2.0), arrows))
            color = kWhite;
        sum = {sum.red + color.red, sum.green + color.green, sum.blue + color.blue};
        ++covered;
    }
    const auto byte = [](double value) { return static_cast<uint8_t>(std::lround(value)); };
    const double count = std::max(covered, 1);
    return {byte(sum.blue / count), byte(sum.green / count), byte(sum.red / count),
            byte(255.0 * covered / (kSamples * kSamples))};
}

/// Appends values of 16 or 32 bits, little-endian.
void Append(std::string& bytes, int width, std::initializer_list<uint32_t> values)
{
    for (const uint32_t value : values)
        for (int i = 0; i < width; ++i)
            bytes += static_cast<char>(value >> 8 * i & 0xFF);
}

/// One image of 32 bits: the pixels from the lowest row up, then a mask of one bit for each pixel, which the
/// alpha values make unused.
std::string MakeIcon(const Theme& theme, Arrows arrows)
{
    constexpr uint32_t maskRowBytes = 4;
    constexpr uint32_t imageBytes = 40 + kSize * kSize * 4 + kSize * maskRowBytes;
    std::string bytes;
    Append(bytes, 2, {0, 1, 1});                        // a file of icons, with one
    Append(bytes, 1, {kSize, kSize, 0, 0});             // width, height, no palette
    Append(bytes, 2, {1, 32});                          // planes, bits
    Append(bytes, 4, {imageBytes, 22});                 // size and place of the image
    Append(bytes, 4, {40, kSize, 2 * kSize});           // header; the height counts the mask too
    Append(bytes, 2, {1, 32});                          // planes, bits
    Append(bytes, 4, {0, imageBytes - 40, 0, 0, 0, 0}); // not compressed, size, no resolution, no palette
    for (int row = kSize - 1; row >= 0; --row)
        for (int column = 0; column < kSize; ++column) {
            const Pixel pixel = DrawPixel(column, row, theme, arrows);
            Append(bytes, 1, {pixel.blue, pixel.green, pixel.red, pixel.alpha});
        }
    bytes.append(kSize * maskRowBytes, '\0');
    return bytes;
}

bool Write(const std::string& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    return file.flush().good();
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::fputs("usage: draw_icons FOLDER\n", stderr);
        return 2;
    }
    const std::string folder = std::string(arguments[1]) + '/';
    const bool written = Write(folder + "compressing.ico", MakeIcon(kOrange, Arrows::Inward)) &&
                         Write(folder + "decompressing.ico", MakeIcon(kBlue, Arrows::Outward));
    if (!written)
        std::fprintf(stderr, "draw_icons: error: cannot write icons to %s\n", folder.c_str());
    return written ? 0 : 1;
}
