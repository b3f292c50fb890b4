// Writes a clip for demonstrations to standard output, as Y4M 4:2:0: a landscape filmed from a passing train,
// with the fine grain that every real camera leaves in its pictures. The same arguments always give the same
// bytes.
#include "landscape.h"
#include "value_noise.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

namespace {

constexpr int kFramesPerSecond = 25;

struct Size {
    int width;
    int height;
};

/// One frame in Rec.709 limited range, planes behind one another as Y4M has them.
std::vector<uint8_t> DrawFrame(Size size, int number)
{
    const auto width = static_cast<size_t>(size.width);
    const auto height = static_cast<size_t>(size.height);
    std::vector<uint8_t> frame(width * height * 3 / 2);
    std::vector<float> chroma(width * height / 2); // sums of four pixels: Cb, then Cr
    const auto toByte = [](float value) {
        return static_cast<uint8_t>(std::clamp(value + 0.5F, 0.0F, 255.0F));
    };
    // Grain: the sum of four even random numbers is close enough to a bell curve; deviation about 1.2 steps.
    const auto grain = [number](int x, int y) {
        const uint32_t random = HashPoint(x, y, 7000 + static_cast<uint32_t>(number));
        const uint32_t sum = (random & 255) + (random >> 8 & 255) + (random >> 16 & 255) + (random >> 24);
        return (static_cast<float>(sum) - 510) * (1.2F / 148);
    };

    Landscape landscape(static_cast<float>(number) / kFramesPerSecond);
    const float unit = 1 / static_cast<float>(size.width);
    const size_t quarter = width * height / 4;
    for (int x = 0; x < size.width; ++x) {
        landscape.TurnTo(static_cast<float>(x) * unit);
        for (int y = 0; y < size.height; ++y) {
            // 16:9 is what the scene is composed for; other shapes see it squeezed.
            const Colour colour =
                landscape.Look(static_cast<float>(y) / static_cast<float>(size.height) * 0.5625F);
            const float luma = 0.2126F * colour.red + 0.7152F * colour.green + 0.0722F * colour.blue;
            const auto column = static_cast<size_t>(x);
            const auto row = static_cast<size_t>(y);
            frame[row * width + column] = toByte(16 + 219 * luma + grain(x, y));
            const size_t at = row / 2 * (width / 2) + column / 2;
            chroma[at] += (colour.blue - luma) / 1.8556F;
            chroma[quarter + at] += (colour.red - luma) / 1.5748F;
        }
    }
    for (size_t i = 0; i < chroma.size(); ++i) {
        const float noise = 0.5F * grain(static_cast<int>(i), -1);
        frame[width * height + i] = toByte(128 + 224 * 0.25F * chroma[i] + noise);
    }
    return frame;
}

/// A whole number from `least` to `most` at `text`, which moves behind it; 0 if there is none.
int TakeNumber(const char*& text, int least, int most)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text, text + std::strlen(text), value);
    text = end;
    return error == std::errc{} && value >= least && value <= most ? value : 0;
}

} // namespace

int main(int count, char** arguments)
{
    Size size{};
    int frames = 0;
    if (count == 3) {
        const char* text = arguments[1];
        size.width = TakeNumber(text, 2, 8192);
        if (*text == 'x')
            size.height = TakeNumber(++text, 2, 8192);
        if (*text != 0)
            size = {};
        text = arguments[2];
        frames = TakeNumber(text, 1, 100000);
    }
    if (size.width == 0 || size.height == 0 || size.width % 2 != 0 || size.height % 2 != 0 || frames == 0) {
        std::fputs("usage: orvane_demo_clip WIDTHxHEIGHT FRAMES >CLIP.y4m   (even sizes from 2 to 8192)\n",
                   stderr);
        return 2;
    }

    std::printf("YUV4MPEG2 W%d H%d F%d:1 Ip A1:1 C420jpeg XCOLORRANGE=LIMITED\n", size.width, size.height,
                kFramesPerSecond);
    const int threads = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
    for (int first = 0; first < frames; first += threads) {
        std::vector<std::vector<uint8_t>> drawn(static_cast<size_t>(std::min(threads, frames - first)));
        {
            std::vector<std::jthread> painters;
            for (size_t i = 0; i < drawn.size(); ++i)
                painters.emplace_back([&, i] { drawn[i] = DrawFrame(size, first + static_cast<int>(i)); });
        }
        for (const std::vector<uint8_t>& frame : drawn) {
            std::fputs("FRAME\n", stdout);
            std::fwrite(frame.data(), 1, frame.size(), stdout);
        }
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::perror("orvane_demo_clip: the clip could not be written");
        return 1;
    }
    return 0;
}
