#include "codec/bench_clip.h"

#include "files/open_files.h"
#include "tool_error.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <random>

namespace {

/// Noise of a Laplace distribution with the standard scale, from a table that is read in random order.
class LaplaceNoise
{
  public:
    LaplaceNoise()
    {
        for (size_t i = 0; i < values.size(); ++i) {
            const double u = (static_cast<double>(i) + 0.5) / static_cast<double>(values.size()) - 0.5;
            values[i] = static_cast<float>(-std::copysign(std::log1p(-2 * std::abs(u)), u));
        }
    }
    float operator()(uint64_t& state) const
    {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return values[state >> 32 & (values.size() - 1)];
    }

  private:
    std::vector<float> values = std::vector<float>(1 << 16);
};

/// How much livelier than elsewhere the picture is from this column on, for kActivityColumns columns.
constexpr size_t kActivityColumns = 16;
float ActivityAt(size_t column, double y)
{
    return static_cast<float>(
        std::exp(0.8 * std::sin(static_cast<double>(column) / 130) * std::cos(y / 110)));
}

/// Draws one component: `width` samples a row, `step` bytes apart. Slow waves and edges carry a texture in
/// which each sample follows its neighbours to the left and above, as in photographs: Median predicts it
/// best, and Gradient better than Left.
void DrawComponent(uint8_t* first, int width, int height, size_t step, size_t pitch, double phase,
                   double noise, uint64_t& random)
{
    constexpr float kFollow = 0.75F;
    static const LaplaceNoise laplace;
    std::vector<float> sine(static_cast<size_t>(width)), cosine(sine), slow(sine), slowSine(sine);
    for (size_t x = 0; x < sine.size(); ++x) {
        const auto at = static_cast<double>(x);
        sine[x] = static_cast<float>(50 * std::sin(at / 91 + phase));
        cosine[x] = static_cast<float>(50 * std::cos(at / 91 + phase));
        slow[x] = static_cast<float>(40 * std::cos(at / 301));
        slowSine[x] = static_cast<float>(40 * std::sin(at / 301));
    }
    std::vector<float> texture(sine.size() + 1); // of the row above, then of this one; column -1 first
    for (int row = 0; row < height; ++row) {
        const double y = row;
        const auto sineY = static_cast<float>(std::sin(y / 170)),
                   cosineY = static_cast<float>(std::cos(y / 170));
        const auto slowY = static_cast<float>(std::cos(y / 67)),
                   slowSineY = static_cast<float>(std::sin(y / 67));
        uint8_t* out = first + pitch * static_cast<size_t>(row);
        float aboveLeft = 0;
        float strength = 0;
        for (size_t x = 0; x < sine.size(); ++x, out += step) {
            if (x % kActivityColumns == 0)
                strength = static_cast<float>(noise) * ActivityAt(x, y);
            const float above = texture[x + 1];
            texture[x + 1] =
                kFollow * (texture[x] + above) - kFollow * kFollow * aboveLeft + strength * laplace(random);
            aboveLeft = above;
            const bool raised = (x / 2 + static_cast<size_t>(row)) / 120 % 2 == 0;
            const float value = (raised ? 132.0F : 120.0F) + sine[x] * cosineY + cosine[x] * sineY +
                                slow[x] * slowY + slowSine[x] * slowSineY + texture[x + 1];
            *out = static_cast<uint8_t>(std::clamp(value + 0.5F, 0.0F, 255.0F));
        }
    }
}

std::vector<uint8_t> DrawPicture(const PixelLayout& layout, int width, int height, double noise,
                                 uint64_t random)
{
    std::vector<uint8_t> picture(PictureBytes(layout, width, height), uint8_t{255});
    uint8_t* at = picture.data();
    if (layout.arrangement == Arrangement::Planar) {
        for (int plane = 0; plane < (layout.IsGray() ? 1 : 3); ++plane) {
            const int w = plane == 0 ? width : width / layout.horizontal;
            const int h = plane == 0 ? height : height / layout.vertical;
            DrawComponent(at, w, h, 1, static_cast<size_t>(w), plane, noise, random);
            at += static_cast<size_t>(w) * static_cast<size_t>(h);
        }
        return picture;
    }
    const auto pitch = static_cast<size_t>(PackedRowBytes(layout, width));
    if (layout.horizontal == 2) { // Y U Y V, or chroma first: all the same to noise
        DrawComponent(at, width, height, 2, pitch, 0, noise, random);
        DrawComponent(at + 1, width / 2, height, 4, pitch, 1, noise, random);
        DrawComponent(at + 3, width / 2, height, 4, pitch, 2, noise, random);
        return picture;
    }
    const size_t step = layout.bitCount / 8U;
    for (size_t component = 0; component < 3; ++component)
        DrawComponent(at + component, width, height, step, pitch, static_cast<double>(component), noise,
                      random);
    return picture;
}

} // namespace

double BenchClip::PictureSamples() const
{
    const CompressedFormat& format = *FindCompressedFormat(layout->family);
    const double luma = static_cast<double>(width) * height;
    return luma * (format.planes - 2) + 2 * luma / format.horizontal / format.vertical;
}

BenchClip DrawClip(std::string name, const PixelLayout& layout, int width, int height, double noise,
                   int pictures)
{
    BenchClip clip{std::move(name), &layout, width, height, {}};
    for (int i = 0; i < pictures; ++i) {
        clip.pictures.emplace_back(layout, width, height);
        clip.pictures.back().Load(
            DrawPicture(layout, width, height, noise, 0x9E3779B97F4A7C15 + static_cast<uint64_t>(i)));
    }
    return clip;
}

double FindNoise(double wanted, const std::function<double(double)>& bitsPerSample)
{
    double low = 0;
    double high = 40;
    for (int i = 0; i < 14; ++i) {
        const double middle = (low + high) / 2;
        const double bits = bitsPerSample(middle);
        if (std::abs(bits - wanted) < 0.01)
            return middle;
        (bits < wanted ? low : high) = middle;
    }
    return (low + high) / 2;
}

std::vector<std::filesystem::path> ListClips(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.is_directory() || KindOf(entry.path().string()) != FileKind::Unknown)
            paths.push_back(entry.path());
    std::ranges::sort(paths);
    return paths;
}

BenchClip ReadClip(const std::filesystem::path& path, size_t maxPictures)
{
    std::vector<std::filesystem::path> files{path};
    if (std::filesystem::is_directory(path))
        files = ListClips(path);
    BenchClip clip{path.stem().string(), nullptr, 0, 0, {}};
    for (const std::filesystem::path& file : files) {
        const auto source = OpenSource(file.string(), "", std::cin);
        const VideoInfo& info = source->Info();
        if (!clip.layout)
            clip = {clip.name, info.layout, info.width, info.height, {}};
        if (clip.layout != info.layout || clip.width != info.width || clip.height != info.height)
            break;
        std::vector<uint8_t> picture(info.FrameBytes());
        while (clip.pictures.size() < maxPictures && source->Next(picture)) {
            clip.pictures.emplace_back(*clip.layout, clip.width, clip.height);
            clip.pictures.back().Load(picture);
        }
    }
    if (clip.pictures.empty())
        throw ToolError("no pictures", path.string(), "");
    return clip;
}
