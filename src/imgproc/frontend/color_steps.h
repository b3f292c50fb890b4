// The arithmetic between the channels of a pixel and its plane samples, for one pixel and for 16 at once.
//
// A step has Forward<planes> and Inverse<planes>. Channels come in the order R, G, B, A or Y, U, V, A
// whatever the layout; plane samples in plane order. Of the results of Forward only the first `planes` have a
// meaning. Inverse takes all four: what has no plane holds kMissing. Both forms of each give the same bytes
// for every input, since a row is cut between them at a place that depends on addresses.
#pragma once

#include "imgproc/frontend/color_matrix.h"
#include "imgproc/frontend/unrolled.h"

#include <algorithm>
#include <cstdint>
#include <emmintrin.h>

/// One pixel: four channels or four plane samples.
struct PixelBytes {
    uint8_t at[4];
};

/// The same for 16 pixels.
struct PixelVectors {
    __m128i at[4];
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
    template <int planes>
    PixelVectors Forward(const PixelVectors& rgba) const
    {
        const auto& [r, g, b, a] = rgba.at;
        return {{_mm_sub_epi8(b, g), g, _mm_sub_epi8(r, g), a}};
    }
    template <int planes>
    PixelVectors Inverse(const PixelVectors& samples) const
    {
        const auto& [b, g, r, a] = samples.at;
        return {{_mm_add_epi8(r, g), g, _mm_add_epi8(b, g), a}};
    }
};

/// Channels are the samples.
class CopyStep
{
  public:
    explicit CopyStep(const ColorMatrix*) {}

    template <int planes, class Pixel>
    Pixel Forward(const Pixel& pixel) const
    {
        return pixel;
    }
    template <int planes, class Pixel>
    Pixel Inverse(const Pixel& pixel) const
    {
        return pixel;
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

    template <int planes>
    [[gnu::always_inline]] PixelVectors Forward(const PixelVectors& rgba) const
    {
        const Pairs redGreen = WidenPairs(rgba.at[0], rgba.at[1]);
        const Pairs blueHalf = WidenWith(rgba.at[2], _mm_set1_epi16(kHalf));
        // The second product of the blue pair is 4096 * (1 + 2 * offset): rounding and, shifted down, the
        // offset.
        const auto sum = [&](const ColorMatrix::Row& row, int offset) __attribute__((always_inline))
        {
            return Narrow(AddPairs(Multiply(redGreen, PairOf(row.r, row.g)),
                                   Multiply(blueHalf, PairOf(row.b, 1 + 2 * offset))));
        };
        PixelVectors samples{
            {sum(matrix.y, matrix.offsetY), _mm_setzero_si128(), _mm_setzero_si128(), rgba.at[3]}};
        if constexpr (planes > 1) {
            samples.at[1] = sum(matrix.u, 128);
            samples.at[2] = sum(matrix.v, 128);
        }
        return samples;
    }

    // 128 times the chroma factors and offsetY times scaleY are taken off in one constant for each channel.
    // Sums stay far below 2^31.
    template <int planes>
    [[gnu::always_inline]] PixelVectors Inverse(const PixelVectors& samples) const
    {
        const int constant = kHalf - matrix.offsetY * matrix.scaleY;
        if constexpr (planes == 1) { // chroma is neutral: the three channels are one
            const Pairs luma =
                Multiply(WidenWith(samples.at[0], _mm_setzero_si128()), PairOf(matrix.scaleY, 0));
            const __m128i grey = Narrow(AddConstant(luma, constant));
            return {{grey, grey, grey, samples.at[3]}};
        } else {
            const Pairs lumaU = WidenPairs(samples.at[0], samples.at[1]);
            const Pairs lumaV = WidenPairs(samples.at[0], samples.at[2]);
            const Pairs red = Multiply(lumaV, PairOf(matrix.scaleY, matrix.rv));
            const Pairs green = AddPairs(Multiply(lumaU, PairOf(matrix.scaleY, matrix.gu)),
                                         Multiply(lumaV, PairOf(0, matrix.gv)));
            const Pairs blue = Multiply(lumaU, PairOf(matrix.scaleY, matrix.bu));
            return {{Narrow(AddConstant(red, constant - 128 * matrix.rv)),
                     Narrow(AddConstant(green, constant - 128 * (matrix.gu + matrix.gv))),
                     Narrow(AddConstant(blue, constant - 128 * matrix.bu)), samples.at[3]}};
        }
    }

  private:
    static constexpr int kShift = 13;
    static constexpr int kHalf = 1 << (kShift - 1);

    /// 16 pixels: four vectors of four pairs of 16-bit factors, or of four 32-bit sums.
    struct Pairs {
        __m128i quad[4];
    };

    [[gnu::always_inline]] static __m128i PairOf(int first, int second)
    {
        return _mm_set1_epi32(static_cast<int>(static_cast<uint32_t>(second) << 16 | (first & 0xFFFF)));
    }

    [[gnu::always_inline]] static Pairs WidenPairs(__m128i a, __m128i b)
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i low = _mm_unpacklo_epi8(a, b);
        const __m128i high = _mm_unpackhi_epi8(a, b);
        return {{_mm_unpacklo_epi8(low, zero), _mm_unpackhi_epi8(low, zero), _mm_unpacklo_epi8(high, zero),
                 _mm_unpackhi_epi8(high, zero)}};
    }

    /// Pairs of a sample and a 16-bit constant.
    [[gnu::always_inline]] static Pairs WidenWith(__m128i a, __m128i constant)
    {
        const __m128i zero = _mm_setzero_si128();
        const __m128i low = _mm_unpacklo_epi8(a, zero);
        const __m128i high = _mm_unpackhi_epi8(a, zero);
        return {{_mm_unpacklo_epi16(low, constant), _mm_unpackhi_epi16(low, constant),
                 _mm_unpacklo_epi16(high, constant), _mm_unpackhi_epi16(high, constant)}};
    }

    [[gnu::always_inline]] static Pairs Multiply(const Pairs& pairs, __m128i factors)
    {
        Pairs sums;
        Unrolled<4>([&](auto i) { sums.quad[i] = _mm_madd_epi16(pairs.quad[i], factors); });
        return sums;
    }

    [[gnu::always_inline]] static Pairs AddPairs(const Pairs& a, const Pairs& b)
    {
        Pairs sums;
        Unrolled<4>([&](auto i) { sums.quad[i] = _mm_add_epi32(a.quad[i], b.quad[i]); });
        return sums;
    }

    [[gnu::always_inline]] static Pairs AddConstant(const Pairs& a, int constant)
    {
        const __m128i all = _mm_set1_epi32(constant);
        return AddPairs(a, {{all, all, all, all}});
    }

    /// Shifts the sums down and clips them to bytes: all lie far within 16 bits then.
    [[gnu::always_inline]] static __m128i Narrow(const Pairs& sums)
    {
        const auto shifted = [&](int i) { return _mm_srai_epi32(sums.quad[i], kShift); };
        return _mm_packus_epi16(_mm_packs_epi32(shifted(0), shifted(1)),
                                _mm_packs_epi32(shifted(2), shifted(3)));
    }

    ColorMatrix matrix;
};
