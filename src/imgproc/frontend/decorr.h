// What stands between the bytes of a pixel and its plane samples: where the channels lie and what is
// computed.
#pragma once

#include "imgproc/frontend/color_matrix.h"

#include <array>

namespace imgproc {

class GreenStep;
class MatrixStep;
class CopyStep;

// `Step` names the arithmetic (color_steps.h); `kMatrix` is its table where it needs one.

/// Lossless RGB: planes B - G, G, R - G modulo 256, and alpha.
struct DecorrAlgoRGB {
    using Step = GreenStep;
    static constexpr const ColorMatrix* kMatrix = nullptr;
};

/// RGB to planes Y, U, V and alpha by the matrix M; loses the rounding.
template <class M>
struct DecorrAlgoRGBToYUV {
    using Step = MatrixStep;
    static constexpr const ColorMatrix* kMatrix = &M::kMatrix;
};

/// Y, U, V and alpha as they are.
struct DecorrAlgoYUV {
    using Step = CopyStep;
    static constexpr const ColorMatrix* kMatrix = nullptr;
};

/// Byte positions of the channels R, G, B, A or Y, U, V, A in a pixel, from its lowest address on.
template <int... positions>
struct ByteOrder {
    static constexpr int kPixelBytes = sizeof...(positions);
    static constexpr std::array<int, sizeof...(positions)> kPositions{positions...};
};

/// A pixel of 3 bytes.
template <int i0, int i1, int i2, class Algorithm>
struct Decorr3 {
    using Order = ByteOrder<i0, i1, i2>;
    using Algo = Algorithm;
};

/// A pixel of 4 bytes; i3 is the position of alpha.
template <int i0, int i1, int i2, int i3, class Algorithm>
struct Decorr4 {
    using Order = ByteOrder<i0, i1, i2, i3>;
    using Algo = Algorithm;
};

} // namespace imgproc
