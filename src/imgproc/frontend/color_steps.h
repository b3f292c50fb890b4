// The arithmetic between the channels of a pixel and its plane samples.
//
// A step has Forward<planes> and Inverse<planes>. Channels come in the order R, G, B, A or Y, U, V, A,
// whatever the layout is; plane samples come in plane order. Only the first `planes` results of Forward have
// a meaning. Inverse takes all four: what has no plane holds kMissing. The counterpart for 16 pixels
// (color_steps_sse2.h) gives the same bytes for every input, since an address decides where a row is split
// between the two.
#pragma once

#include "imgproc/frontend/color_matrix.h"

#include <algorithm>
#include <cstdint>

namespace imgproc {

/// One pixel: four channels or four plane samples.
struct PixelBytes {
    uint8_t at[4];
};

/// What Join takes for a plane that does not exist: neutral chroma, opaque alpha. Plane 0 always exists.
inline constexpr PixelBytes kMissing{{0, 128, 128, 255}};

/// Green as it is, blue and red as differences to it, modulo 256.
class GreenStep
{
  public:
    explicit GreenStep(const ColorMatrix*) {}

    template <int planes>
    PixelBytes Forward(const PixelBytes& rgba) const
    {
        const auto& [r, g, b, a] = rgba.at;
        return {{static_cast<uint8_t>(b - g), g, static_cast<uint8_t>(r - g), a}};
    }
    template <int planes>
    PixelBytes Inverse(const PixelBytes& samples) const
    {
        const auto& [b, g, r, a] = samples.at;
        return {{static_cast<uint8_t>(r + g), g, static_cast<uint8_t>(b + g), a}};
    }
};

/// Channels are the samples.
class CopyStep
{
  public:
    explicit CopyStep(const ColorMatrix*) {}

    template <int planes>
    PixelBytes Forward(const PixelBytes& pixel) const
    {
        return pixel;
    }
    template <int planes>
    PixelBytes Inverse(const PixelBytes& samples) const
    {
        return samples;
    }
};

/// A colour matrix. The table is copied into the object, a local of each row, so that its constants stay in
/// registers over the row's stores.
class MatrixStep
{
  public:
    explicit MatrixStep(const ColorMatrix* table) : matrix(*table) {}

    template <int planes>
    PixelBytes Forward(const PixelBytes& rgba) const
    {
        const auto sum = [&](const ColorMatrix::Row& row, int offset) {
            const int products = row.r * rgba.at[0] + row.g * rgba.at[1] + row.b * rgba.at[2];
            return static_cast<uint8_t>(((products + kHalf) >> kShift) + offset);
        };
        PixelBytes samples{{sum(matrix.y, matrix.offsetY), 0, 0, rgba.at[3]}};
        if constexpr (planes > 1) {
            samples.at[1] = sum(matrix.u, 128);
            samples.at[2] = sum(matrix.v, 128);
        }
        return samples;
    }

    template <int planes>
    PixelBytes Inverse(const PixelBytes& samples) const
    {
        const int luma = (samples.at[0] - matrix.offsetY) * matrix.scaleY + kHalf;
        const int u = samples.at[1] - 128;
        const int v = samples.at[2] - 128;
        const auto clip = [](int sum) { return static_cast<uint8_t>(std::clamp(sum >> kShift, 0, 255)); };
        return {{clip(luma + matrix.rv * v), clip(luma + matrix.gu * u + matrix.gv * v),
                 clip(luma + matrix.bu * u), samples.at[3]}};
    }

    const ColorMatrix& Matrix() const { return matrix; }

    static constexpr int kShift = 13; // fractional bits
    static constexpr int kHalf = 1 << (kShift - 1);

  private:
    ColorMatrix matrix;
};

} // namespace imgproc
