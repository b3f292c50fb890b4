// Rows of packed layouts with 3 or 4 bytes per pixel, 16 pixels at a time. A row is split at the 16-byte
// boundaries of plane 0, which are those of all planes and of the picture row (PrepareBuffers):
//
//   lead     0 to 15 pixels up to a boundary, pixel by pixel
//   body     whole vectors, aligned loads and stores
//   tail     0 to 15 pixels, pixel by pixel
//
// The body fetches the lines of the next picture row.
#pragma once

#include "common/compiler.h"
#include "common/unrolled.h"
#include "imgproc/frontend/color_steps_sse2.h"
#include "imgproc/frontend/interleave_sse2.h"
#include "imgproc/frontend/packed_row_scalar.h"

#include <algorithm>
#include <cassert>
#include <cstdint>
#include <emmintrin.h>

namespace imgproc {

struct PixelCut {
    int lead;    ///< pixels before the body
    int bodyEnd; ///< first pixel of the tail

    PixelCut(const uint8_t* plane0, int width)
        : lead(std::min(width, static_cast<int>((0 - reinterpret_cast<uintptr_t>(plane0)) % 16))),
          bodyEnd(lead + (width - lead) / 16 * 16)
    {}
};

/// Takes the pixels of columns [begin, end), a multiple of 16, to the planes. At `begin` picture and planes
/// are 16-byte aligned.
template <int planes, class Order, class Step>
void SplitVectors(SplitRow row, Step step, int begin, int end)
{
    constexpr int kPixelBytes = Order::kPixelBytes;
    assert(begin == end || IsVectorAligned(row.pixels + begin * kPixelBytes));
    Unrolled<planes>(
        [&]([[maybe_unused]] auto p) { assert(begin == end || IsVectorAligned(row.planes[p] + begin)); });
    for (int x = begin; x < end; x += 16) {
        Prefetch(row.next + x * kPixelBytes);
        const PixelVectors bytes = LoadPixels<kPixelBytes>(row.pixels + x * kPixelBytes);
        PixelVectors channels = bytes;
        Unrolled<kPixelBytes>([&](auto k) { channels.at[k] = bytes.at[Order::kPositions[k]]; });
        const PixelVectors samples = ForwardVectors<planes>(step, channels);
        Unrolled<planes>([&](auto p) { _mm_store_si128(VectorAt(row.planes[p] + x), samples.at[p]); });
    }
}

/// The reverse of SplitVectors.
template <int planes, class Order, class Step>
void JoinVectors(JoinRow row, Step step, int begin, int end)
{
    constexpr int kPixelBytes = Order::kPixelBytes;
    assert(begin == end || IsVectorAligned(row.pixels + begin * kPixelBytes));
    Unrolled<planes>(
        [&]([[maybe_unused]] auto p) { assert(begin == end || IsVectorAligned(row.planes[p] + begin)); });
    const auto all = [](uint8_t value) { return _mm_set1_epi8(static_cast<char>(value)); };
    const PixelVectors missing{
        {all(kMissing.at[0]), all(kMissing.at[1]), all(kMissing.at[2]), all(kMissing.at[3])}};
    for (int x = begin; x < end; x += 16) {
        Prefetch(row.next + x * kPixelBytes);
        PixelVectors samples = missing;
        Unrolled<planes>([&](auto p) { samples.at[p] = _mm_load_si128(VectorAt(row.planes[p] + x)); });
        const PixelVectors channels = InverseVectors<planes>(step, samples);
        PixelVectors bytes = channels;
        Unrolled<kPixelBytes>([&](auto k) { bytes.at[Order::kPositions[k]] = channels.at[k]; });
        StorePixels<kPixelBytes>(row.pixels + x * kPixelBytes, bytes);
    }
}

template <int planes, class Order, class Step>
void SplitRowSse2(SplitRow row, int width, const ColorMatrix* matrix)
{
    const Step step(matrix);
    const PixelCut cut(row.planes[0], width);
    SplitPixels<planes, Order>(row, step, 0, cut.lead);
    SplitVectors<planes, Order>(row, step, cut.lead, cut.bodyEnd);
    SplitPixels<planes, Order>(row, step, cut.bodyEnd, width);
}

template <int planes, class Order, class Step>
void JoinRowSse2(JoinRow row, int width, const ColorMatrix* matrix)
{
    const Step step(matrix);
    const PixelCut cut(row.planes[0], width);
    JoinPixels<planes, Order>(row, step, 0, cut.lead);
    JoinVectors<planes, Order>(row, step, cut.lead, cut.bodyEnd);
    JoinPixels<planes, Order>(row, step, cut.bodyEnd, width);
}

} // namespace imgproc
