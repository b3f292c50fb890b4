// Kernels of the packed 4:2:2 layouts. No arithmetic: samples are moved.
#include "imgproc/frontend/packed_rows.h"
#include "imgproc/frontend/sse2_bytes.h"

#include <algorithm>
#include <cstdint>
#include <emmintrin.h>

namespace {

constexpr uint8_t kNeutral = 128;
constexpr int kBodyPairs = 16; // 64 bytes of picture

/// Places in one 4-byte pair of pixels.
template <bool uyvy>
struct PairOrder {
    static constexpr int kY0 = uyvy ? 1 : 0;
    static constexpr int kY1 = kY0 + 2;
    static constexpr int kU = uyvy ? 0 : 1;
    static constexpr int kV = kU + 2;
};

/// Lead, body and tail in pairs. The lead ends at a 64-byte boundary of the picture row.
struct PairCut {
    int lead;
    int bodyEnd;
    int end;

    PairCut(const uint8_t* pixels, int width)
    {
        end = width / 2;
        lead = std::min(end, static_cast<int>((0 - reinterpret_cast<uintptr_t>(pixels)) % 64 / 4));
        bodyEnd = lead + (end - lead) / kBodyPairs * kBodyPairs;
    }
};

template <bool uyvy, bool lumaOnly>
void SplitPairs(const PackedRow& row, int begin, int end)
{
    using Order = PairOrder<uyvy>;
    for (int j = begin; j < end; ++j) {
        const uint8_t* const pair = row.pixels + 4 * j;
        row.planes[0][2 * j] = pair[Order::kY0];
        row.planes[0][2 * j + 1] = pair[Order::kY1];
        if constexpr (!lumaOnly) {
            row.planes[1][j] = pair[Order::kU];
            row.planes[2][j] = pair[Order::kV];
        }
    }
}

template <bool uyvy, bool lumaOnly>
void JoinPairs(const PackedRow& row, int begin, int end)
{
    using Order = PairOrder<uyvy>;
    for (int j = begin; j < end; ++j) {
        uint8_t* const pair = row.pixels + 4 * j;
        pair[Order::kY0] = row.planes[0][2 * j];
        pair[Order::kY1] = row.planes[0][2 * j + 1];
        pair[Order::kU] = lumaOnly ? kNeutral : row.planes[1][j];
        pair[Order::kV] = lumaOnly ? kNeutral : row.planes[2][j];
    }
}

template <bool uyvy, bool lumaOnly>
void SplitRow422Scalar(PackedRow row, int width, const ColorMatrix*)
{
    SplitPairs<uyvy, lumaOnly>(row, 0, width / 2);
}

template <bool uyvy, bool lumaOnly>
void JoinRow422Scalar(PackedRow row, int width, const ColorMatrix*)
{
    JoinPairs<uyvy, lumaOnly>(row, 0, width / 2);
}

template <bool uyvy, bool lumaOnly>
void SplitRow422Sse2(PackedRow row, int width, const ColorMatrix*)
{
    const PairCut cut(row.pixels, width);
    SplitPairs<uyvy, lumaOnly>(row, 0, cut.lead);
    for (int j = cut.lead; j < cut.bodyEnd; j += kBodyPairs) {
        const uint8_t* const pairs = row.pixels + 4 * j;
        const __m128i m0 = _mm_load_si128(VectorAt(pairs));
        const __m128i m1 = _mm_load_si128(VectorAt(pairs + 16));
        const __m128i m2 = _mm_load_si128(VectorAt(pairs + 32));
        const __m128i m3 = _mm_load_si128(VectorAt(pairs + 48));
        const __m128i even0 = EvenBytes(m0, m1);
        const __m128i even1 = EvenBytes(m2, m3);
        const __m128i odd0 = OddBytes(m0, m1);
        const __m128i odd1 = OddBytes(m2, m3);
        _mm_store_si128(VectorAt(row.planes[0] + 2 * j), uyvy ? odd0 : even0);
        _mm_store_si128(VectorAt(row.planes[0] + 2 * j + 16), uyvy ? odd1 : even1);
        if constexpr (!lumaOnly) {
            const __m128i chroma0 = uyvy ? even0 : odd0;
            const __m128i chroma1 = uyvy ? even1 : odd1;
            _mm_store_si128(VectorAt(row.planes[1] + j), EvenBytes(chroma0, chroma1));
            _mm_store_si128(VectorAt(row.planes[2] + j), OddBytes(chroma0, chroma1));
        }
    }
    SplitPairs<uyvy, lumaOnly>(row, cut.bodyEnd, cut.end);
}

/// Stores 8 pairs from 16 luma samples and 8 interleaved chroma pairs.
template <bool uyvy>
void StorePairs(uint8_t* pairs, __m128i luma, __m128i chroma)
{
    const __m128i even = uyvy ? chroma : luma;
    const __m128i odd = uyvy ? luma : chroma;
    _mm_store_si128(VectorAt(pairs), _mm_unpacklo_epi8(even, odd));
    _mm_store_si128(VectorAt(pairs + 16), _mm_unpackhi_epi8(even, odd));
}

template <bool uyvy, bool lumaOnly>
void JoinRow422Sse2(PackedRow row, int width, const ColorMatrix*)
{
    const PairCut cut(row.pixels, width);
    JoinPairs<uyvy, lumaOnly>(row, 0, cut.lead);
    for (int j = cut.lead; j < cut.bodyEnd; j += kBodyPairs) {
        __m128i u = _mm_set1_epi8(static_cast<char>(kNeutral));
        __m128i v = u;
        if constexpr (!lumaOnly) {
            u = _mm_load_si128(VectorAt(row.planes[1] + j));
            v = _mm_load_si128(VectorAt(row.planes[2] + j));
        }
        const uint8_t* const luma = row.planes[0] + 2 * j;
        uint8_t* const pairs = row.pixels + 4 * j;
        StorePairs<uyvy>(pairs, _mm_load_si128(VectorAt(luma)), _mm_unpacklo_epi8(u, v));
        StorePairs<uyvy>(pairs + 32, _mm_load_si128(VectorAt(luma + 16)), _mm_unpackhi_epi8(u, v));
    }
    JoinPairs<uyvy, lumaOnly>(row, cut.bodyEnd, cut.end);
}

} // namespace

template <bool uyvy, bool lumaOnly>
const PackedRowForms& TPackedRows422<uyvy, lumaOnly>::Forms()
{
    static constexpr PackedRowForms forms{
        {{"scalar", SplitRow422Scalar<uyvy, lumaOnly>, JoinRow422Scalar<uyvy, lumaOnly>},
         {"sse2", SplitRow422Sse2<uyvy, lumaOnly>, JoinRow422Sse2<uyvy, lumaOnly>}}};
    return forms;
}

template struct TPackedRows422<false, false>;
template struct TPackedRows422<false, true>;
template struct TPackedRows422<true, false>;
template struct TPackedRows422<true, true>;
