// The one generic form of all packed layouts of 3 or 4 bytes a pixel. Included where the kernels are
// instantiated.
#pragma once

#include "imgproc/frontend/color_steps.h"
#include "imgproc/frontend/interleave_sse2.h"
#include "imgproc/frontend/packed_rows.h"
#include "imgproc/frontend/unrolled.h"

#include <algorithm>
#include <cstdint>
#include <emmintrin.h>

/// A row cut into a lead up to a 16-byte boundary of plane 0, a body of whole vectors, and a tail.
struct PixelCut {
    int lead;    ///< pixels ahead of the body
    int bodyEnd; ///< the body ends ahead of this pixel

    PixelCut(const uint8_t* plane0, int width)
        : lead(std::min(width, static_cast<int>((0 - reinterpret_cast<uintptr_t>(plane0)) % 16))),
          bodyEnd(lead + (width - lead) / 16 * 16)
    {}
};

/// Rows of one layout, with the constants of its arithmetic.
template <int planes, class Order, class Step>
class TPackedRowKernel
{
  public:
    TPackedRowKernel(const PackedRow& packedRow, const ColorMatrix* matrix) : row(packedRow), step(matrix) {}

    /// Pixel by pixel from `begin` to ahead of `end`.
    void SplitPixels(int begin, int end) const
    {
        for (int x = begin; x < end; ++x) {
            const uint8_t* const pixel = row.pixels + x * kPixelBytes;
            PixelBytes channels = kMissing;
            Unrolled<kPixelBytes>([&](auto k) { channels.at[k] = pixel[Order::kPositions[k]]; });
            const PixelBytes samples = step.template Forward<planes>(channels);
            Unrolled<planes>([&](auto p) { row.planes[p][x] = samples.at[p]; });
        }
    }

    void JoinPixels(int begin, int end) const
    {
        for (int x = begin; x < end; ++x) {
            PixelBytes samples = kMissing;
            Unrolled<planes>([&](auto p) { samples.at[p] = row.planes[p][x]; });
            const PixelBytes channels = step.template Inverse<planes>(samples);
            uint8_t* const pixel = row.pixels + x * kPixelBytes;
            Unrolled<kPixelBytes>([&](auto k) { pixel[Order::kPositions[k]] = channels.at[k]; });
        }
    }

    /// 16 pixels at a time: picture and planes stand on 16-byte boundaries at `begin`.
    void SplitVectors(int begin, int end) const
    {
        for (int x = begin; x < end; x += 16) {
            const PixelVectors bytes = LoadPixels<kPixelBytes>(row.pixels + x * kPixelBytes);
            PixelVectors channels = bytes;
            Unrolled<kPixelBytes>([&](auto k) { channels.at[k] = bytes.at[Order::kPositions[k]]; });
            const PixelVectors samples = step.template Forward<planes>(channels);
            Unrolled<planes>([&](auto p) { _mm_store_si128(VectorAt(row.planes[p] + x), samples.at[p]); });
        }
    }

    void JoinVectors(int begin, int end) const
    {
        const auto all = [](uint8_t value) { return _mm_set1_epi8(static_cast<char>(value)); };
        const PixelVectors missing{
            {all(kMissing.at[0]), all(kMissing.at[1]), all(kMissing.at[2]), all(kMissing.at[3])}};
        for (int x = begin; x < end; x += 16) {
            PixelVectors samples = missing;
            Unrolled<planes>([&](auto p) { samples.at[p] = _mm_load_si128(VectorAt(row.planes[p] + x)); });
            const PixelVectors channels = step.template Inverse<planes>(samples);
            PixelVectors bytes = channels;
            Unrolled<kPixelBytes>([&](auto k) { bytes.at[Order::kPositions[k]] = channels.at[k]; });
            StorePixels<kPixelBytes>(row.pixels + x * kPixelBytes, bytes);
        }
    }

  private:
    static constexpr int kPixelBytes = Order::kPixelBytes;

    const PackedRow row;
    const Step step;
};

template <class Kernel>
void SplitRowScalar(PackedRow row, int width, const ColorMatrix* matrix)
{
    Kernel(row, matrix).SplitPixels(0, width);
}

template <class Kernel>
void JoinRowScalar(PackedRow row, int width, const ColorMatrix* matrix)
{
    Kernel(row, matrix).JoinPixels(0, width);
}

template <class Kernel>
void SplitRowSse2(PackedRow row, int width, const ColorMatrix* matrix)
{
    const Kernel kernel(row, matrix);
    const PixelCut cut(row.planes[0], width);
    kernel.SplitPixels(0, cut.lead);
    kernel.SplitVectors(cut.lead, cut.bodyEnd);
    kernel.SplitPixels(cut.bodyEnd, width);
}

template <class Kernel>
void JoinRowSse2(PackedRow row, int width, const ColorMatrix* matrix)
{
    const Kernel kernel(row, matrix);
    const PixelCut cut(row.planes[0], width);
    kernel.JoinPixels(0, cut.lead);
    kernel.JoinVectors(cut.lead, cut.bodyEnd);
    kernel.JoinPixels(cut.bodyEnd, width);
}

template <int planes, class Order, class Step>
const PackedRowForms& TPackedRows<planes, Order, Step>::Forms()
{
    using Kernel = TPackedRowKernel<planes, Order, Step>;
    static constexpr PackedRowForms forms{{{"scalar", SplitRowScalar<Kernel>, JoinRowScalar<Kernel>},
                                           {"sse2", SplitRowSse2<Kernel>, JoinRowSse2<Kernel>}}};
    return forms;
}
