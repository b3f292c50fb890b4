// The inverse of Median. Each sample needs its left neighbor through a minimum and a maximum, so that a row
// cannot be split into parts; but samples on one anti-diagonal do not need each other. A row group takes up
// to 16 rows, one per lane, and processes them in steps: in step s, lane k gets column s - k of its row. With
// four lanes, and "rc" for the sample of row r and column c:
//
//              lane 0  1  2  3
//     step 0        00  .  .  .        row 0   00 01 02 03 04 05
//     step 1        01 10  .  .        row 1   10 11 12 13 14 15
//     step 2        02 11 20  .        row 2   20 21 22 23 24 25
//     step 3        03 12 21 30        row 3   30 31 32 33 34 35
//     step 4        04 13 22 31
//
// With v the samples of the previous step and t those same samples moved up one lane (zero enters lane 0),
//
//     L is v,    T is t,    TL is the t of the step before,
//
// since lane k - 1 reached the column above one step ago: at step 4, lane 1 computes 13 from L = 12 (lane 1
// of step 3), T = 03 (lane 0 of step 3) and TL = 02 (lane 0 of step 2). A step is eight operations for 16
// samples, with a chain of five from step to step.
//
// Lane 0 holds the row above the group as that row's left differences. What is moved into lane 0 is 0, and
// with T = TL = 0 Median predicts L, so that lane 0 turns back into the finished row without a case of its
// own. For the first group that is row 0 as it is stored; a later group starts on the last row of the group
// before it, which is finished, and takes its differences. Columns left of a row read as residual 0 and keep
// their lane at 0: at column 0 L and TL are 0, the prediction is T, and that rule needs no case either.
//
// A batch is 16 steps. It loads 16 residuals of each row, each lane's one column further left than the one
// before, transposes rows into diagonals, runs the steps and transposes the diagonals back. With lanes a to p
// and "a0" for byte 0 of lane a, eight columns of 16 lanes become eight vectors in four levels
// (LoadEightColumns, JoinPairs):
//
//     16 rows of 8 bytes   a0 a1 a2 a3 a4 a5 a6 a7
//     8 x unpack bytes     a0 b0 a1 b1 a2 b2 a3 b3 a4 b4 a5 b5 a6 b6 a7 b7   pairs[0], of lanes a and b
//     8 x unpack words     a0 b0 c0 d0 a1 b1 c1 d1 a2 b2 c2 d2 a3 b3 c3 d3   low01, of lanes a to d
//     8 x unpack dwords    a0 b0 c0 d0 e0 f0 g0 h0 a1 b1 c1 d1 e1 f1 g1 h1   halves[0][0], of lanes a to h
//     8 x unpack qwords    a0 b0 c0 d0 e0 f0 g0 h0 i0 j0 k0 l0 m0 n0 o0 p0   whole[0], byte 0 of all lanes
//
// The way back is the same on other axes: a step's vector plays the part of a row, and whole[k] is 16 columns
// of lane k. Transposing eight vectors at a time keeps everything in registers. It ends in whole vectors:
// halves would double the stores, of which a core finishes one per cycle, and could not be forwarded to the
// loads of the steps. The few batches that reach over an edge of the block go through a small copy.
//
// The next group follows two batches later: two groups run side by side, and one fills the waits of the
// other. The last group of a block with an odd number of groups runs beside one of another block.
#include "imgproc/backend/unpredict_median_sse2.h"

#include "common/as_size.h"
#include "common/compiler.h"
#include "common/unrolled.h"
#include "imgproc/backend/predictor_rule_sse2.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace imgproc {

namespace {

constexpr int kLanes = sizeof(__m128i);
constexpr int kBatch = 16;
constexpr int kEdgePitch = 2 * kBatch;
static_assert(kBatch == kLanes, "a batch is transposed as a square");
// Batches from one group to the next. In batch b lane 0 needs the finished row up to column 16b + 15; that is
// lane 15 of the group above, which is done with it after its batch b + 1.
constexpr int kLag = 2;
static_assert((kLag - 1) * kBatch >= kLanes - 1 && (kLag - 2) * kBatch < kLanes - 1,
              "after its batch b + kLag - 1 lane 15, 15 columns behind lane 0, is done with batch b");

__m128i LoadHalf(const uint8_t* at)
{
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(at));
}

/// All levels of a transposition but the first, as drawn above. pairs[i] has bytes 2i and 2i + 1 of each of
/// eight vectors, vector by vector; `whole` receives the vectors.
ORVANE_ALWAYS_INLINE void JoinPairs(const __m128i (&pairs)[8], __m128i (&whole)[8])
{
    __m128i halves[2][4]; // bytes 0 to 7, 8 to 15; of vectors 2i and 2i + 1
    Unrolled<2>([&](auto half) {
        const __m128i low01 = _mm_unpacklo_epi16(pairs[4 * half], pairs[4 * half + 1]);
        const __m128i high01 = _mm_unpackhi_epi16(pairs[4 * half], pairs[4 * half + 1]);
        const __m128i low23 = _mm_unpacklo_epi16(pairs[4 * half + 2], pairs[4 * half + 3]);
        const __m128i high23 = _mm_unpackhi_epi16(pairs[4 * half + 2], pairs[4 * half + 3]);
        halves[half][0] = _mm_unpacklo_epi32(low01, low23);
        halves[half][1] = _mm_unpackhi_epi32(low01, low23);
        halves[half][2] = _mm_unpacklo_epi32(high01, high23);
        halves[half][3] = _mm_unpackhi_epi32(high01, high23);
    });
    Unrolled<4>([&](auto i) {
        whole[2 * i] = _mm_unpacklo_epi64(halves[0][i], halves[1][i]);
        whole[2 * i + 1] = _mm_unpackhi_epi64(halves[0][i], halves[1][i]);
    });
}

/// Rows of `size` to 2 * size bytes: the first and the last `size`, which may overlap.
template <size_t size>
void CopyBothEnds(uint8_t* target, ptrdiff_t targetPitch, const uint8_t* source, ptrdiff_t sourcePitch,
                  int rows, int count)
{
    assert(count >= static_cast<int>(size) && count <= static_cast<int>(2 * size));
    const size_t last = AsSize(count) - size;
    for (int r = 0; r < rows; ++r, target += targetPitch, source += sourcePitch) {
        std::memcpy(target, source, size);
        std::memcpy(target + last, source + last, size);
    }
}

/// Rows of 1 to 32 bytes.
void CopyShortRows(uint8_t* target, ptrdiff_t targetPitch, const uint8_t* source, ptrdiff_t sourcePitch,
                   int rows, int count)
{
    const auto copy = count >= 16  ? CopyBothEnds<16>
                      : count >= 8 ? CopyBothEnds<8>
                      : count >= 4 ? CopyBothEnds<4>
                      : count >= 2 ? CopyBothEnds<2>
                                   : CopyBothEnds<1>;
    copy(target, targetPitch, source, sourcePitch, rows, count);
}

/// Up to 16 rows on their way from residuals to samples.
class MedianRowGroup
{
  public:
    /// top       the row in lane 0
    /// rows      2 to 16, that one included
    /// finished  whether the group above has turned lane 0 into samples already; it must be kLag batches
    /// ahead
    MedianRowGroup(const PlaneInfo& top_, int width_, int rows_, bool finished_)
        : top(top_.data), pitch(top_.pitch), width(width_), rows(rows_),
          finished(_mm_set1_epi8(finished_ ? -1 : 0))
    {
        assert(width >= 1 && rows >= 2 && rows <= kLanes);
    }

    int BatchesLeft() const { return (width + rows - 1 + kBatch - 1) / kBatch - batch; }

    /// Transposes the residuals of the next batch into diagonals.
    void LoadBatch()
    {
        assert(BatchesLeft() > 0);
        if (InsideBlock()) {
            LoadRows(top + batch * kBatch, pitch - 1);
        } else {
            CopyToEdge();
            LoadRows(edge + kBatch, kEdgePitch - 1);
        }
    }

    /// Steps 2 * pair and 2 * pair + 1 of the batch, and the first level of transposing their samples back.
    void TwoSteps(int pair)
    {
        const __m128i first = Step(diagonals[2 * pair]);
        const __m128i second = Step(diagonals[2 * pair + 1]);
        stepPairs[0][pair] = _mm_unpacklo_epi8(first, second);
        stepPairs[1][pair] = _mm_unpackhi_epi8(first, second);
    }

    /// Transposes the samples of the batch back into rows.
    void StoreBatch()
    {
        if (InsideBlock()) {
            StoreRows(top + batch * kBatch, pitch - 1);
        } else {
            StoreRows(edge + kBatch, kEdgePitch - 1);
            CopyFromEdge();
        }
        ++batch;
    }

  private:
    __m128i Step(__m128i residuals)
    {
        const __m128i above = _mm_slli_si128(samples, 1);
        const __m128i prediction = PredictVector(MedianRule(), samples, above, aboveLeft);
        aboveLeft = above;
        samples = _mm_add_epi8(prediction, residuals);
        return samples;
    }

    /// Whether all columns that the lanes take in this batch exist, and the one left of lane 0's first.
    bool InsideBlock() const { return batch > 0 && (batch + 1) * kBatch <= width; }

    // `at` is the batch's first column in lane 0; `skewed`, a row less a column, leads to that of the next
    // lane.

    void LoadRows(const uint8_t* at, ptrdiff_t skewed)
    {
        LoadEightColumns(at, skewed, diagonals);
        LoadEightColumns(at + 8, skewed, diagonals + 8);
    }

    void LoadEightColumns(const uint8_t* at, ptrdiff_t skewed, __m128i* target) const
    {
        const __m128i differences = _mm_sub_epi8(LoadHalf(at), _mm_and_si128(LoadHalf(at - 1), finished));
        const bool full = rows == kLanes;
        const auto row = [&](int k) {
            return full || k < rows ? LoadHalf(at + k * skewed) : _mm_setzero_si128();
        };
        __m128i pairs[8];
        pairs[0] = _mm_unpacklo_epi8(differences, row(1));
        Unrolled<7>([&](auto i) { pairs[i + 1] = _mm_unpacklo_epi8(row(2 * i + 2), row(2 * i + 3)); });
        __m128i whole[8];
        JoinPairs(pairs, whole);
        Unrolled<8>([&](auto i) { target[i] = whole[i]; });
    }

    void StoreRows(uint8_t* at, ptrdiff_t skewed) const
    {
        StoreEightRows(at, skewed, stepPairs[0], rows);
        StoreEightRows(at + 8 * skewed, skewed, stepPairs[1], rows - 8);
    }

    static void StoreEightRows(uint8_t* at, ptrdiff_t skewed, const __m128i (&pairs)[8], int count)
    {
        __m128i whole[8];
        JoinPairs(pairs, whole);
        const bool full = count >= 8;
        Unrolled<8>([&](auto k) {
            if (full || k < count)
                StoreBytes(at + k * skewed, whole[k]);
        });
    }

    // The edge copy has the 16 columns left of the batch and its own 16, as far as they exist. What does not
    // exist left of the block is 0, since batch 0 comes first; what the lanes take for columns behind the
    // block is of no matter, since only such columns depend on it.
    int EdgeStart() const { return std::max(0, (batch - 1) * kBatch); }
    int EdgeCount() const { return std::min(width, (batch + 1) * kBatch) - EdgeStart(); }
    uint8_t* EdgeTarget() { return edge + (batch == 0 ? kBatch : 0); }

    void CopyToEdge()
    {
        CopyShortRows(EdgeTarget(), kEdgePitch, top + EdgeStart(), pitch, rows, EdgeCount());
    }
    void CopyFromEdge()
    {
        CopyShortRows(top + EdgeStart(), pitch, EdgeTarget(), kEdgePitch, rows, EdgeCount());
    }

    uint8_t* const top;
    const ptrdiff_t pitch;
    const int width;
    const int rows;
    const __m128i finished; // mask
    int batch = 0;
    __m128i samples = _mm_setzero_si128();   // of the last step
    __m128i aboveLeft = _mm_setzero_si128(); // for the next step
    __m128i diagonals[kBatch];               // residuals by step
    __m128i stepPairs[2][kBatch / 2];        // samples of two steps: lanes 0 to 7, lanes 8 to 15
    alignas(16) uint8_t edge[kLanes * kEdgePitch] = {};
};

/// Takes groups `batches` further, side by side. Inlined, so that what goes from step to step stays in
/// registers.
template <class... Group>
ORVANE_ALWAYS_INLINE void UnpredictMedianRows(int batches, Group&... group)
{
    for (int b = 0; b < batches; ++b) {
        (group.LoadBatch(), ...);
        ORVANE_UNROLL(1) // unrolled it is no faster, and twice the code
        for (int pair = 0; pair < kBatch / 2; ++pair)
            (group.TwoSteps(pair), ...);
        (group.StoreBatch(), ...);
    }
}

constexpr int kNewRows = kLanes - 1;

/// The group of the block's rows from `top` on, as far as it goes.
MedianRowGroup GroupOf(const BlockView& block, int top, int width)
{
    return {FromRow(block.rows, top), width, std::min(kLanes, block.height - top), top > 0};
}

// The groups are locals of the functions that run them: the compiler keeps the members of no others in
// registers.

/// Two groups of a block, the second from the last row of the first on.
ORVANE_NOINLINE void UnpredictMedianNeighbours(const BlockView& block, int top, int width)
{
    MedianRowGroup first = GroupOf(block, top, width);
    MedianRowGroup second = GroupOf(block, top + kNewRows, width);
    UnpredictMedianRows(std::min(kLag, first.BatchesLeft()), first);
    UnpredictMedianRows(first.BatchesLeft(), first, second);
    UnpredictMedianRows(second.BatchesLeft(), second);
}

/// A group of each of two blocks.
ORVANE_NOINLINE void UnpredictMedianStrangers(const BlockView& a, int topOfA, const BlockView& b, int topOfB,
                                              int width)
{
    MedianRowGroup first = GroupOf(a, topOfA, width);
    MedianRowGroup second = GroupOf(b, topOfB, width);
    UnpredictMedianRows(std::min(first.BatchesLeft(), second.BatchesLeft()), first, second);
    UnpredictMedianRows(first.BatchesLeft(), first);
    UnpredictMedianRows(second.BatchesLeft(), second);
}

ORVANE_NOINLINE void UnpredictMedianAlone(const BlockView& block, int top, int width)
{
    MedianRowGroup group = GroupOf(block, top, width);
    UnpredictMedianRows(group.BatchesLeft(), group);
}

} // namespace

void UnpredictMedianSse2(std::span<const BlockView> blocks, int width)
{
    assert(width >= 1);
    // A block whose last group waits for another to go beside it.
    const BlockView* waiting = nullptr;
    int waitingTop = 0;
    for (const BlockView& block : blocks) {
        int top = 0;
        for (; top + kNewRows + 1 < block.height; top += 2 * kNewRows)
            UnpredictMedianNeighbours(block, top, width);
        if (top + 1 >= block.height)
            continue;
        if (waiting) {
            UnpredictMedianStrangers(*waiting, waitingTop, block, top, width);
            waiting = nullptr;
        } else {
            waiting = &block;
            waitingTop = top;
        }
    }
    if (waiting)
        UnpredictMedianAlone(*waiting, waitingTop, width);
}

} // namespace imgproc
