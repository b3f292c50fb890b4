// Smooth random fields, the stuff that clouds, ridges and grass are made of. Everything follows from the
// coordinates and a seed alone, in integer hashes and plain float arithmetic, so that a clip is the same
// wherever it is made.
#pragma once

#include <cmath>
#include <cstdint>

/// A well mixed 32-bit value for a grid point.
inline uint32_t HashPoint(int x, int y, uint32_t seed)
{
    uint32_t hash =
        static_cast<uint32_t>(x) * 0x8DA6B343U ^ static_cast<uint32_t>(y) * 0xD8163841U ^ seed * 0xCB1AB31FU;
    hash = (hash ^ (hash >> 15)) * 0x2C1B3C6DU;
    hash = (hash ^ (hash >> 12)) * 0x297A2D39U;
    return hash ^ (hash >> 15);
}

/// The random value of a grid point, 0 to 1.
inline float GridValue(int x, int y, uint32_t seed)
{
    return static_cast<float>(HashPoint(x, y, seed) >> 8) * (1.0F / 16777216.0F);
}

/// Random grid values joined smoothly, 0 to 1. One unit is one grid step.
inline float ValueNoise(float x, float y, uint32_t seed)
{
    const float left = std::floor(x);
    const float top = std::floor(y);
    const auto column = static_cast<int>(left);
    const auto row = static_cast<int>(top);
    const auto smooth = [](float t) { return t * t * (3 - 2 * t); };
    const auto mix = [](float a, float b, float t) { return a + (b - a) * t; };
    const float across = smooth(x - left);
    const float upper = mix(GridValue(column, row, seed), GridValue(column + 1, row, seed), across);
    const float lower = mix(GridValue(column, row + 1, seed), GridValue(column + 1, row + 1, seed), across);
    return mix(upper, lower, smooth(y - top));
}

/// A sum of ever finer and fainter noise, 0 to 1: what looks like nature at every distance.
inline float FractalNoise(float x, float y, int octaves, uint32_t seed)
{
    float sum = 0;
    float total = 0;
    float weight = 1;
    for (int octave = 0; octave < octaves; ++octave) {
        sum += weight * ValueNoise(x, y, seed + static_cast<uint32_t>(octave));
        total += weight;
        weight *= 0.5F;
        x *= 2.03F; // not 2: the grids of the octaves must not meet
        y *= 2.03F;
    }
    return sum / total;
}
