// Test content: bytes of pictures that look to a predictor as real ones do.
#pragma once

#include <cmath>
#include <cstdint>
#include <random>
#include <span>
#include <vector>

enum class Content {
    Flat,   ///< one value
    Smooth, ///< slopes with a little noise, as a camera gives: codes well
    Busy,   ///< edges and strong noise
    Noise,  ///< no block of it can be coded: all raw
};

inline constexpr Content kAllContents[] = {Content::Flat, Content::Smooth, Content::Busy, Content::Noise};

/// `size` bytes seen as rows of `rowBytes`.
inline std::vector<uint8_t> MakePicture(Content content, size_t size, size_t rowBytes, uint32_t seed)
{
    std::mt19937 random(seed);
    std::vector<uint8_t> picture(size, 77);
    if (content == Content::Flat)
        return picture;
    const int noise = content == Content::Smooth ? 3 : 24;
    for (size_t i = 0; i < size; ++i) {
        const double x = static_cast<double>(i % rowBytes);
        const double y = static_cast<double>(i / rowBytes);
        double value = 128 + 90 * std::sin(x / 37 + seed % 7) * std::cos(y / 23);
        if (content == Content::Busy && (static_cast<int>(x) / 9 + static_cast<int>(y) / 7) % 2)
            value += 60;
        value += static_cast<int>(random() % static_cast<uint32_t>(2 * noise + 1)) - noise;
        picture[i] = content == Content::Noise ? static_cast<uint8_t>(random())
                                               : static_cast<uint8_t>(std::lround(value));
    }
    return picture;
}
