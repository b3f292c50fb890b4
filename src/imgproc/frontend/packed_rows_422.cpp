// Kernels of the packed 4:2:2 layouts. No arithmetic: samples are moved.
#include "common/compiler.h"
#include "imgproc/frontend/packed_rows.h"
#ifdef ORVANE_SSE2
#include "imgproc/frontend/sse2_bytes.h"
#endif

#include <algorithm>
#include <cassert>
#include <cstdint>

namespace imgproc {

namespace {

constexpr uint8_t kNeutral = 128;

template <class Order, bool lumaOnly>
void SplitPairs(const SplitRow& row, int begin, int end)
{
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

template <class Order, bool lumaOnly>
void JoinPairs(const JoinRow& row, int begin, int end)
{
    for (int j = begin; j < end; ++j) {
        uint8_t* const pair = row.pixels + 4 * j;
        pair[Order::kY0] = row.planes[0][2 * j];
        pair[Order::kY1] = row.planes[0][2 * j + 1];
        pair[Order::kU] = lumaOnly ? kNeutral : row.planes[1][j];
        pair[Order::kV] = lumaOnly ? kNeutral : row.planes[2][j];
    }
}

template <class Order, bool lumaOnly>
void SplitRow422Scalar(SplitRow row, int width, const ColorMatrix*)
{
    SplitPairs<Order, lumaOnly>(row, 0, width / 2);
}

template <class Order, bool lumaOnly>
void JoinRow422Scalar(JoinRow row, int width, const ColorMatrix*)
{
    JoinPairs<Order, lumaOnly>(row, 0, width / 2);
}

// Luma is every other byte, and so are U and V among the bytes between.
template <class Order>
constexpr bool kLumaOdd = Order::kY0 == 1;
template <class Order>
constexpr bool kVFirst = Order::kV < Order::kU;

#ifdef ORVANE_SSE2

constexpr int kBodyPairs = 16; // 64 bytes of picture

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

/// What the aligned access of the body needs of a row.
template <bool lumaOnly, class Row>
bool IsBodyAligned(const Row& row, const PairCut& cut)
{
    return cut.lead == cut.bodyEnd ||
           (IsVectorAligned(row.pixels + 4 * cut.lead) && IsVectorAligned(row.planes[0] + 2 * cut.lead) &&
            (lumaOnly ||
             (IsVectorAligned(row.planes[1] + cut.lead) && IsVectorAligned(row.planes[2] + cut.lead))));
}

// 16 pairs of YUYV, "Y5" for luma sample 5 and A to F for 10 to 15; other orders swap luma and chroma, or U
// and V:
//
//     m0          Y0 U0 Y1 V0 Y2 U1 Y3 V1 Y4 U2 Y5 V2 Y6 U3 Y7 V3     4 pairs; m1, m2, m3 those that follow
//     even0       Y0 Y1 Y2 Y3 Y4 Y5 Y6 Y7 Y8 Y9 YA YB YC YD YE YF     of m0 and m1; even1 of m2 and m3
//     odd0        U0 V0 U1 V1 U2 V2 U3 V3 U4 V4 U5 V5 U6 V6 U7 V7
//     first       U0 U1 U2 U3 U4 U5 U6 U7 U8 U9 UA UB UC UD UE UF     even bytes of odd0 and odd1
//     second      V0 V1 V2 V3 V4 V5 V6 V7 V8 V9 VA VB VC VD VE VF     their odd bytes
//
// The way back unpacks U and V to odd0 and odd1, and luma and these to memory.
template <class Order, bool lumaOnly>
void SplitRow422Sse2(SplitRow row, int width, const ColorMatrix*)
{
    const PairCut cut(row.pixels, width);
    assert(IsBodyAligned<lumaOnly>(row, cut));
    SplitPairs<Order, lumaOnly>(row, 0, cut.lead);
    for (int j = cut.lead; j < cut.bodyEnd; j += kBodyPairs) {
        const uint8_t* const pairs = row.pixels + 4 * j;
        Prefetch(row.next + 4 * j);
        const __m128i m0 = _mm_load_si128(VectorAt(pairs));
        const __m128i m1 = _mm_load_si128(VectorAt(pairs + 16));
        const __m128i m2 = _mm_load_si128(VectorAt(pairs + 32));
        const __m128i m3 = _mm_load_si128(VectorAt(pairs + 48));
        const __m128i even0 = EvenBytes(m0, m1);
        const __m128i even1 = EvenBytes(m2, m3);
        const __m128i odd0 = OddBytes(m0, m1);
        const __m128i odd1 = OddBytes(m2, m3);
        _mm_store_si128(VectorAt(row.planes[0] + 2 * j), kLumaOdd<Order> ? odd0 : even0);
        _mm_store_si128(VectorAt(row.planes[0] + 2 * j + 16), kLumaOdd<Order> ? odd1 : even1);
        if constexpr (!lumaOnly) {
            const __m128i chroma0 = kLumaOdd<Order> ? even0 : odd0;
            const __m128i chroma1 = kLumaOdd<Order> ? even1 : odd1;
            const __m128i first = EvenBytes(chroma0, chroma1);
            const __m128i second = OddBytes(chroma0, chroma1);
            _mm_store_si128(VectorAt(row.planes[1] + j), kVFirst<Order> ? second : first);
            _mm_store_si128(VectorAt(row.planes[2] + j), kVFirst<Order> ? first : second);
        }
    }
    SplitPairs<Order, lumaOnly>(row, cut.bodyEnd, cut.end);
}

/// Stores 8 pairs from 16 luma samples and 8 interleaved chroma pairs.
template <class Order>
void StorePairs(uint8_t* pairs, __m128i luma, __m128i chroma)
{
    const __m128i even = kLumaOdd<Order> ? chroma : luma;
    const __m128i odd = kLumaOdd<Order> ? luma : chroma;
    _mm_store_si128(VectorAt(pairs), _mm_unpacklo_epi8(even, odd));
    _mm_store_si128(VectorAt(pairs + 16), _mm_unpackhi_epi8(even, odd));
}

template <class Order, bool lumaOnly>
void JoinRow422Sse2(JoinRow row, int width, const ColorMatrix*)
{
    const PairCut cut(row.pixels, width);
    assert(IsBodyAligned<lumaOnly>(row, cut));
    JoinPairs<Order, lumaOnly>(row, 0, cut.lead);
    for (int j = cut.lead; j < cut.bodyEnd; j += kBodyPairs) {
        __m128i u = _mm_set1_epi8(static_cast<char>(kNeutral));
        __m128i v = u;
        if constexpr (!lumaOnly) {
            u = _mm_load_si128(VectorAt(row.planes[1] + j));
            v = _mm_load_si128(VectorAt(row.planes[2] + j));
        }
        const uint8_t* const luma = row.planes[0] + 2 * j;
        uint8_t* const pairs = row.pixels + 4 * j;
        Prefetch(row.next + 4 * j);
        const __m128i first = kVFirst<Order> ? v : u;
        const __m128i second = kVFirst<Order> ? u : v;
        StorePairs<Order>(pairs, _mm_load_si128(VectorAt(luma)), _mm_unpacklo_epi8(first, second));
        StorePairs<Order>(pairs + 32, _mm_load_si128(VectorAt(luma + 16)), _mm_unpackhi_epi8(first, second));
    }
    JoinPairs<Order, lumaOnly>(row, cut.bodyEnd, cut.end);
}

#endif

} // namespace

template <class Order, bool lumaOnly>
const PackedRowForms& TPackedRows422<Order, lumaOnly>::Forms()
{
    static constexpr PackedRowForms forms{{
        {"scalar", SplitRow422Scalar<Order, lumaOnly>, JoinRow422Scalar<Order, lumaOnly>},
#ifdef ORVANE_SSE2
        {"sse2", SplitRow422Sse2<Order, lumaOnly>, JoinRow422Sse2<Order, lumaOnly>},
#endif
    }};
    return forms;
}

template struct TPackedRows422<OrderYuyv, false>;
template struct TPackedRows422<OrderYuyv, true>;
template struct TPackedRows422<OrderUyvy, false>;
template struct TPackedRows422<OrderUyvy, true>;

} // namespace imgproc
