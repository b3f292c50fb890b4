// Rows of packed layouts with 3 or 4 bytes per pixel, pixel by pixel: the reference, and the ends of rows for
// vector implementations.
#pragma once

#include "common/unrolled.h"
#include "imgproc/frontend/color_steps.h"
#include "imgproc/frontend/packed_rows.h"

#include <cstdint>

namespace imgproc {

/// Takes the pixels of columns [begin, end) to the planes.
template <int planes, class Order, class Step>
void SplitPixels(SplitRow row, Step step, int begin, int end)
{
    constexpr int kPixelBytes = Order::kPixelBytes;
    for (int x = begin; x < end; ++x) {
        const uint8_t* const pixel = row.pixels + x * kPixelBytes;
        PixelBytes channels = kMissing;
        Unrolled<kPixelBytes>([&](auto k) { channels.at[k] = pixel[Order::kPositions[k]]; });
        const PixelBytes samples = step.template Forward<planes>(channels);
        Unrolled<planes>([&](auto p) { row.planes[p][x] = samples.at[p]; });
    }
}

/// The reverse of SplitPixels.
template <int planes, class Order, class Step>
void JoinPixels(JoinRow row, Step step, int begin, int end)
{
    constexpr int kPixelBytes = Order::kPixelBytes;
    for (int x = begin; x < end; ++x) {
        PixelBytes samples = kMissing;
        Unrolled<planes>([&](auto p) { samples.at[p] = row.planes[p][x]; });
        const PixelBytes channels = step.template Inverse<planes>(samples);
        uint8_t* const pixel = row.pixels + x * kPixelBytes;
        Unrolled<kPixelBytes>([&](auto k) { pixel[Order::kPositions[k]] = channels.at[k]; });
    }
}

template <int planes, class Order, class Step>
void SplitRowScalar(SplitRow row, int width, const ColorMatrix* matrix)
{
    SplitPixels<planes, Order>(row, Step(matrix), 0, width);
}

template <int planes, class Order, class Step>
void JoinRowScalar(JoinRow row, int width, const ColorMatrix* matrix)
{
    JoinPixels<planes, Order>(row, Step(matrix), 0, width);
}

} // namespace imgproc
