// The chroma filters 16 samples at a time, with unaligned access; what is left of a row goes sample by
// sample.
#include "common/compiler.h"
#include "imgproc/frontend/chroma_filters.h"
#include "imgproc/frontend/chroma_samples.h"
#include "imgproc/frontend/sse2_bytes.h"

#include <cassert>
#include <emmintrin.h>

namespace imgproc {

namespace {

constexpr int kLanes = 16;

__m128i Load(const uint8_t* p)
{
    return _mm_loadu_si128(VectorAt(p));
}

void Store(uint8_t* p, __m128i v)
{
    _mm_storeu_si128(VectorAt(p), v);
}

/// (a + 2 * b + c + 2) >> 2 in bytes. With m = (a + c) >> 1 it is (m + b + 1) >> 1, the rounded mean of m and
/// b: the bit that m loses is worth a quarter and the sum of halves has none below a half. The mean of a and
/// c rounded down is the one rounded up less the lowest bit of a ^ c.
__m128i Smooth(__m128i a, __m128i b, __m128i c)
{
    const __m128i lost = _mm_and_si128(_mm_xor_si128(a, c), _mm_set1_epi8(1));
    return _mm_avg_epu8(_mm_sub_epi8(_mm_avg_epu8(a, c), lost), b);
}

/// Eight sums of SampleBetween in 16 bits: from -510 + 8 to 4590 + 8 before the shift.
__m128i BetweenWords(__m128i a, __m128i b, __m128i c, __m128i d)
{
    const __m128i inner = _mm_mullo_epi16(_mm_add_epi16(b, c), _mm_set1_epi16(9));
    const __m128i outer = _mm_sub_epi16(_mm_add_epi16(a, d), _mm_set1_epi16(8));
    return _mm_srai_epi16(_mm_sub_epi16(inner, outer), 4);
}

ORVANE_ALWAYS_INLINE __m128i Between(__m128i a, __m128i b, __m128i c, __m128i d)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = BetweenWords(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero),
                                     _mm_unpacklo_epi8(c, zero), _mm_unpacklo_epi8(d, zero));
    const __m128i high = BetweenWords(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero),
                                      _mm_unpackhi_epi8(c, zero), _mm_unpackhi_epi8(d, zero));
    return _mm_packus_epi16(low, high);
}

__m128i LoadFrom(const PlainRow& row, int x)
{
    return Load(row.samples + x);
}

__m128i LoadFrom(const SmoothedRow& row, int x)
{
    return Smooth(Load(row.rows[0] + x), Load(row.rows[1] + x), Load(row.rows[2] + x));
}

// Halving, 16 samples of target from 32 of source, "5" for sample 5 and G, H ... for 16, 17 ...:
//
//     low, high            0 1 2 3 4 5 6 7 8 9 A B C D E F    G H I J K L M N O P Q R S T U V
//     EvenBytes            0 2 4 6 8 A C E G I K M O Q S U    the sample in the middle of three
//     odd                  1 3 5 7 9 B D F H J L N P R T V    the one after it
//     before               - 1 3 5 7 9 B D F H J L N P R T    the one before; "-" from the vector before
template <class Row>
void Halve(const Row& row, uint8_t* target, int count)
{
    assert(count >= 0);
    const int bodyEnd = count / kLanes * kLanes;
    // Top byte: the odd sample ahead of the next 32; sample 0 stands in for the one ahead of the row.
    __m128i oddBefore = count > 0 ? _mm_slli_si128(_mm_cvtsi32_si128(row.At(0)), 15) : _mm_setzero_si128();
    for (int i = 0; i < bodyEnd; i += kLanes) {
        const __m128i low = LoadFrom(row, 2 * i);
        const __m128i high = LoadFrom(row, 2 * i + kLanes);
        const __m128i odd = OddBytes(low, high);
        const __m128i before = _mm_or_si128(_mm_slli_si128(odd, 1), _mm_srli_si128(oddBefore, 15));
        Store(target + i, Smooth(before, EvenBytes(low, high), odd));
        oddBefore = odd;
    }
    HalveSamples(row, target, bodyEnd, count);
}

} // namespace

void DropColumnsSse2(const SourceRows& rows, uint8_t* target, int count)
{
    const int bodyEnd = count / kLanes * kLanes;
    for (int i = 0; i < bodyEnd; i += kLanes)
        Store(target + i, EvenBytes(Load(rows[0] + 2 * i), Load(rows[0] + 2 * i + kLanes)));
    DropSamples(rows, target, bodyEnd, count);
}

void HalveColumnsSse2(const SourceRows& rows, uint8_t* target, int count)
{
    Halve(PlainRow{rows[0]}, target, count);
}

void SmoothRowsSse2(const SourceRows& rows, uint8_t* target, int count)
{
    const int bodyEnd = count / kLanes * kLanes;
    for (int i = 0; i < bodyEnd; i += kLanes)
        Store(target + i, Smooth(Load(rows[0] + i), Load(rows[1] + i), Load(rows[2] + i)));
    SmoothSamples(rows, target, bodyEnd, count);
}

void HalveBothSse2(const SourceRows& rows, uint8_t* target, int count)
{
    Halve(SmoothedRow{rows}, target, count);
}

void FillBetweenSse2(const SourceRows& rows, uint8_t* target, int count)
{
    const int bodyEnd = count / kLanes * kLanes;
    for (int i = 0; i < bodyEnd; i += kLanes)
        Store(target + i,
              Between(Load(rows[0] + i), Load(rows[1] + i), Load(rows[2] + i), Load(rows[3] + i)));
    FillSamplesBetween(rows, target, bodyEnd, count);
}

void DoubleColumnsSse2(const SourceRows& rows, uint8_t* target, int count)
{
    const uint8_t* const source = rows[0];
    // The body reads from one sample ahead of its first to two behind its last.
    const int bodyEnd = count > 3 ? 1 + (count - 3) / kLanes * kLanes : 0;
    DoubleSamples(source, target, 0, std::min(bodyEnd, 1), count);
    for (int i = 1; i < bodyEnd; i += kLanes) {
        const __m128i here = Load(source + i);
        const __m128i between =
            Between(Load(source + i - 1), here, Load(source + i + 1), Load(source + i + 2));
        Store(target + 2 * i, _mm_unpacklo_epi8(here, between));
        Store(target + 2 * i + kLanes, _mm_unpackhi_epi8(here, between));
    }
    DoubleSamples(source, target, bodyEnd, count, count);
}

} // namespace imgproc
