// The inverse of Median. Each sample needs its left neighbour through a minimum and a maximum, so a row
// cannot be done in parts; but samples on one anti-diagonal do not need each other. A row group takes up to
// 16 rows, one to a lane, and goes along them in steps: in step s, lane k gets column s - k of its row. With
// v the samples of the last step and t those of the last step moved up one lane,
//
//     L is v,    T is t,    TL is the t of the step before,
//
// since lane k - 1 reached the column above one step ago. A step is eight operations for 16 samples, with a
// chain of five from step to step.
//
// Lane 0 holds the row above the group as its own left differences. What is moved into it is 0, and with
// T = TL = 0 Median predicts L, so it unrolls itself to the finished row without a case of its own. For the
// first group that is row 0 as it is stored; a later group starts on the last row of the group before it,
// which is finished, and takes its differences. Columns left of a row read as residual 0 and keep their lane
// at 0: at column 0 L and TL are 0 then, the prediction is T, and that rule needs no case either.
//
// Steps go in batches of 16. A batch takes 16 residuals of each row, each lane's a column further left than
// the one before, turns rows into diagonals, runs the steps and turns the diagonals back. A turn works on
// eight vectors at a time and so keeps to the registers. It ends in whole vectors: halves would double the
// stores, of which a core finishes one a cycle, and could not be forwarded to the loads of the steps. The few
// batches that reach over an edge of the block go through a small copy.
//
// The next group follows two batches behind: two groups run side by side, and one fills the waits of the
// other. A block's last group, where it has an odd number of them, goes beside the one of another block.
#include "imgproc/backend/unpredict_median_sse2.h"

#include "imgproc/backend/predictor_rule_sse2.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

namespace {

constexpr int kLanes = 16;
constexpr int kBatch = 16;
constexpr int kEdgePitch = 2 * kBatch;
// Batches from one group to the next. In batch b lane 0 needs the finished row up to column 16b + 15; that is
// lane 15 of the group above, which is done with it after its batch b + 1.
constexpr int kLag = 2;

/// Calls work(0) to work(n - 1) with constants, unrolled: arrays that `work` indexes stay in registers.
template <int n, class Work>
[[gnu::always_inline]] inline void Repeat(Work work)
{
    [&]<int... i>(std::integer_sequence<int, i...>)
    {
        (work(std::integral_constant<int, i>()), ...);
    }
    (std::make_integer_sequence<int, n>());
}

__m128i LoadHalf(const uint8_t* at)
{
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(at));
}

/// The turn behind its first level. pairs[i] has bytes 2i and 2i + 1 of each of eight vectors, vector by
/// vector; `whole` receives the vectors.
[[gnu::always_inline]] inline void JoinPairs(const __m128i (&pairs)[8], __m128i (&whole)[8])
{
    __m128i halves[2][4]; // bytes 0 to 7, 8 to 15; of vectors 2i and 2i + 1
    Repeat<2>([&](auto half) {
        const __m128i low01 = _mm_unpacklo_epi16(pairs[4 * half], pairs[4 * half + 1]);
        const __m128i high01 = _mm_unpackhi_epi16(pairs[4 * half], pairs[4 * half + 1]);
        const __m128i low23 = _mm_unpacklo_epi16(pairs[4 * half + 2], pairs[4 * half + 3]);
        const __m128i high23 = _mm_unpackhi_epi16(pairs[4 * half + 2], pairs[4 * half + 3]);
        halves[half][0] = _mm_unpacklo_epi32(low01, low23);
        halves[half][1] = _mm_unpackhi_epi32(low01, low23);
        halves[half][2] = _mm_unpacklo_epi32(high01, high23);
        halves[half][3] = _mm_unpackhi_epi32(high01, high23);
    });
    Repeat<4>([&](auto i) {
        whole[2 * i] = _mm_unpacklo_epi64(halves[0][i], halves[1][i]);
        whole[2 * i + 1] = _mm_unpackhi_epi64(halves[0][i], halves[1][i]);
    });
}

/// Rows of `size` to 2 * size bytes: the first and the last `size`, which may overlap.
template <size_t size>
void CopyBothEnds(uint8_t* target, ptrdiff_t targetPitch, const uint8_t* source, ptrdiff_t sourcePitch,
                  int rows, int count)
{
    const size_t last = static_cast<size_t>(count) - size;
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
    /// finished  whether lane 0 holds samples already, by the group above; they must be ahead of this group
    /// by the
    ///           columns of one batch
    MedianRowGroup(const PlaneInfo& top, int width, int rows, bool finished)
        : top_(top.data), pitch_(top.pitch), width_(width), rows_(rows),
          finished_(_mm_set1_epi8(finished ? -1 : 0))
    {}

    int BatchesLeft() const { return (width_ + rows_ - 1 + kBatch - 1) / kBatch - batch_; }

    /// Turns the residuals of the next batch into diagonals.
    void LoadBatch()
    {
        if (InsideBlock()) {
            LoadRows(top_ + batch_ * kBatch, pitch_ - 1);
        } else {
            CopyToEdge();
            LoadRows(edge_ + kBatch, kEdgePitch - 1);
        }
    }

    /// Steps 2 * pair and 2 * pair + 1 of the batch, and the first level of turning their samples back.
    void TwoSteps(int pair)
    {
        const __m128i first = Step(diagonals_[2 * pair]);
        const __m128i second = Step(diagonals_[2 * pair + 1]);
        stepPairs_[0][pair] = _mm_unpacklo_epi8(first, second);
        stepPairs_[1][pair] = _mm_unpackhi_epi8(first, second);
    }

    /// Turns the samples of the batch back into rows.
    void StoreBatch()
    {
        if (InsideBlock()) {
            StoreRows(top_ + batch_ * kBatch, pitch_ - 1);
        } else {
            StoreRows(edge_ + kBatch, kEdgePitch - 1);
            CopyFromEdge();
        }
        ++batch_;
    }

  private:
    __m128i Step(__m128i residuals)
    {
        const __m128i above = _mm_slli_si128(samples_, 1);
        const __m128i prediction = PredictVector(MedianRule(), samples_, above, aboveLeft_);
        aboveLeft_ = above;
        samples_ = _mm_add_epi8(prediction, residuals);
        return samples_;
    }

    /// Whether all columns that the lanes take in this batch exist, and the one left of lane 0's first.
    bool InsideBlock() const { return batch_ > 0 && (batch_ + 1) * kBatch <= width_; }

    // `at` is the batch's first column in lane 0; `skewed`, a row less a column, leads to that of the next
    // lane.

    void LoadRows(const uint8_t* at, ptrdiff_t skewed)
    {
        LoadEightColumns(at, skewed, diagonals_);
        LoadEightColumns(at + 8, skewed, diagonals_ + 8);
    }

    void LoadEightColumns(const uint8_t* at, ptrdiff_t skewed, __m128i* diagonals) const
    {
        const __m128i differences = _mm_sub_epi8(LoadHalf(at), _mm_and_si128(LoadHalf(at - 1), finished_));
        const bool full = rows_ == kLanes;
        const auto row = [&](int k) {
            return full || k < rows_ ? LoadHalf(at + k * skewed) : _mm_setzero_si128();
        };
        __m128i pairs[8];
        pairs[0] = _mm_unpacklo_epi8(differences, row(1));
        Repeat<7>([&](auto i) { pairs[i + 1] = _mm_unpacklo_epi8(row(2 * i + 2), row(2 * i + 3)); });
        __m128i whole[8];
        JoinPairs(pairs, whole);
        Repeat<8>([&](auto i) { diagonals[i] = whole[i]; });
    }

    void StoreRows(uint8_t* at, ptrdiff_t skewed) const
    {
        StoreEightRows(at, skewed, stepPairs_[0], rows_);
        StoreEightRows(at + 8 * skewed, skewed, stepPairs_[1], rows_ - 8);
    }

    static void StoreEightRows(uint8_t* at, ptrdiff_t skewed, const __m128i (&pairs)[8], int count)
    {
        __m128i whole[8];
        JoinPairs(pairs, whole);
        const bool full = count >= 8;
        Repeat<8>([&](auto k) {
            if (full || k < count)
                StoreBytes(at + k * skewed, whole[k]);
        });
    }

    // The edge copy has the 16 columns left of the batch and its own 16, as far as they exist. What does not
    // exist left of the block is 0, since batch 0 comes first; what the lanes take for columns behind the
    // block is of no matter, since only such columns depend on it.
    int EdgeStart() const { return std::max(0, (batch_ - 1) * kBatch); }
    int EdgeCount() const { return std::min(width_, (batch_ + 1) * kBatch) - EdgeStart(); }
    uint8_t* EdgeTarget() { return edge_ + (batch_ == 0 ? kBatch : 0); }

    void CopyToEdge()
    {
        CopyShortRows(EdgeTarget(), kEdgePitch, top_ + EdgeStart(), pitch_, rows_, EdgeCount());
    }
    void CopyFromEdge()
    {
        CopyShortRows(top_ + EdgeStart(), pitch_, EdgeTarget(), kEdgePitch, rows_, EdgeCount());
    }

    uint8_t* const top_;
    const ptrdiff_t pitch_;
    const int width_;
    const int rows_;
    const __m128i finished_; // mask
    int batch_ = 0;
    __m128i samples_ = _mm_setzero_si128();   // of the last step
    __m128i aboveLeft_ = _mm_setzero_si128(); // for the next step
    __m128i diagonals_[kBatch];               // residuals by step
    __m128i stepPairs_[2][kBatch / 2];        // samples of two steps: lanes 0 to 7, lanes 8 to 15
    alignas(16) uint8_t edge_[kLanes * kEdgePitch] = {};
};

/// Takes groups `batches` further, side by side. Inlined, so that what goes from step to step stays in registers.
template <class... Group>
[[gnu::always_inline]] inline void UnpredictMedianRows(int batches, Group&... group)
{
    for (int b = 0; b < batches; ++b) {
        (group.LoadBatch(), ...);
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

// The groups are locals of the functions that run them: the compiler keeps the members of no others in registers.

/// Two groups of a block, the second from the last row of the first on.
[[gnu::noinline]] void UnpredictMedianNeighbours(const BlockView& block, int top, int width)
{
    MedianRowGroup first = GroupOf(block, top, width);
    MedianRowGroup second = GroupOf(block, top + kNewRows, width);
    UnpredictMedianRows(std::min(kLag, first.BatchesLeft()), first);
    UnpredictMedianRows(first.BatchesLeft(), first, second);
    UnpredictMedianRows(second.BatchesLeft(), second);
}

/// A group of each of two blocks.
[[gnu::noinline]] void UnpredictMedianStrangers(const BlockView& a, int topOfA, const BlockView& b,
                                                int topOfB, int width)
{
    MedianRowGroup first = GroupOf(a, topOfA, width);
    MedianRowGroup second = GroupOf(b, topOfB, width);
    UnpredictMedianRows(std::min(first.BatchesLeft(), second.BatchesLeft()), first, second);
    UnpredictMedianRows(first.BatchesLeft(), first);
    UnpredictMedianRows(second.BatchesLeft(), second);
}

[[gnu::noinline]] void UnpredictMedianAlone(const BlockView& block, int top, int width)
{
    MedianRowGroup group = GroupOf(block, top, width);
    UnpredictMedianRows(group.BatchesLeft(), group);
}

} // namespace

void UnpredictMedianSse2(std::span<const BlockView> blocks, int width)
{
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
