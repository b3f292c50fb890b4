#include "landscape.h"
#include "value_noise.h"

#include <algorithm>
#include <cmath>

namespace {

struct Range {
    float speed;     // widths a second that it passes by
    float height;    // of its mean crest
    float relief;    // how far crests rise and fall
    float roughness; // crests a width
    float haze;      // how much of its colour the air takes
    Colour colour;
};
// Far to near: nearer ranges are lower in the picture, pass faster and are less blue.
constexpr Range kRange[] = {{0.004F, 0.24F, 0.16F, 3.0F, 0.70F, {0.30F, 0.36F, 0.34F}},
                            {0.012F, 0.32F, 0.14F, 4.5F, 0.42F, {0.22F, 0.33F, 0.20F}},
                            {0.030F, 0.40F, 0.10F, 7.0F, 0.15F, {0.17F, 0.27F, 0.11F}}};
constexpr float kMeadowSpeed = 0.09F;
constexpr float kMeadowHeight = 0.47F;
constexpr Colour kAir = {0.70F, 0.78F, 0.88F};

Colour Mix(const Colour& a, const Colour& b, float t)
{
    return {a.red + (b.red - a.red) * t, a.green + (b.green - a.green) * t, a.blue + (b.blue - a.blue) * t};
}

Colour Scale(const Colour& a, float factor)
{
    return {a.red * factor, a.green * factor, a.blue * factor};
}

} // namespace

void Landscape::TurnTo(float column)
{
    x = column;
    for (int i = 0; i < kRanges; ++i) {
        const Range& range = kRange[i];
        const float place = (x + range.speed * time) * range.roughness;
        crest[i] = range.height -
                   range.relief * (FractalNoise(place, 0, 8, 100 + static_cast<uint32_t>(i) * 16) - 0.5F);
    }
    edge = kMeadowHeight - 0.03F * (FractalNoise((x + kMeadowSpeed * time) * 5, 0, 7, 180) - 0.5F);
}

Colour Landscape::Look(float y) const
{
    if (y >= edge)
        return Meadow(y);
    for (int i = kRanges - 1; i >= 0; --i)
        if (y >= crest[i])
            return Hill(i, y);
    return Sky(y);
}

Colour Landscape::Sky(float y) const
{
    const Colour clear = Mix({0.22F, 0.42F, 0.78F}, kAir, std::clamp(y * 3.2F, 0.0F, 1.0F));
    // Clouds flatten towards the horizon, drift, and change their shape slowly.
    const float depth = 1 / (0.42F - y * 0.6F);
    const float thickness =
        FractalNoise(x * depth * 1.8F + time * 0.05F, depth * 2.4F + time * 0.012F, 6, 40);
    const float cover = std::clamp((thickness - 0.46F) * 4.5F, 0.0F, 1.0F);
    const float shade = 0.99F - 0.22F * std::clamp((thickness - 0.55F) * 4, 0.0F, 1.0F);
    return Mix(clear, {shade, shade, shade * 1.01F}, cover * 0.9F);
}

Colour Landscape::Hill(int i, float y) const
{
    const Range& range = kRange[i];
    const auto seed = static_cast<uint32_t>(60 + i * 8);
    const float place = x + range.speed * time;
    // Light on the slopes is the difference of two near heights; the wood is finer noise on top of it.
    const float scale = 9 + 6 * static_cast<float>(i);
    const float slope = FractalNoise(place * scale, y * scale, 4, seed) -
                        FractalNoise(place * scale + 0.25F, y * scale + 0.2F, 4, seed);
    const float wood = FractalNoise(place * 120, y * 150, 3, seed + 4) - 0.5F;
    const Colour lit = Scale(range.colour, std::clamp(1.05F + 2.4F * slope + 0.9F * wood, 0.25F, 2.0F));
    return Mix(lit, kAir, range.haze);
}

Colour Landscape::Meadow(float y) const
{
    // The ground comes nearer towards the lower edge: everything on it grows and passes faster.
    const float nearness = 0.35F + (y - edge) * 5;
    const float place = x / nearness * 0.6F + kMeadowSpeed * time * 2;
    const float patch = FractalNoise(place * 6, y * 20, 4, 200);
    const float grass = FractalNoise(place * 160, y * 90 / nearness, 3, 210) - 0.5F;
    const float flower = ValueNoise(place * 260, y * 240 / nearness, 220);
    const Colour green = Mix({0.20F, 0.31F, 0.08F}, {0.42F, 0.44F, 0.16F}, patch);
    const Colour ground = Scale(green, 1 + 1.5F * grass);
    return flower > 0.93F ? Mix(ground, {0.92F, 0.84F, 0.52F}, (flower - 0.93F) * 14) : ground;
}
