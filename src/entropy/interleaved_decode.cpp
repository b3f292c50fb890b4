// One stream is pure latency: a look-up waits for the shift of the one before it. So up to seven blocks are
// decoded side by side, each in a lane of its own, and the processor overlaps their chains. An eighth gains nothing:
// by then the registers are gone, and what is short is instructions.
//
// State of a lane
//   bits   the stream from its next bit on, in the top bits; below the valid bits stands a single 1, the
//          marker, and below that only zeros. So the number of trailing zeros is the number of bits consumed
//          since the last load (and of those skipped by it): no count is kept. After a load 56 bits or more
//          are valid.
//   in     where `bits` was loaded from
//   out    where the next symbol goes
// A round is four look-ups, which take 48 bits at most, and a load. It moves `in` by 6 bytes and `out` by 24
// at most, so that a number of rounds can be told in advance for which no limit needs to be looked at. The last
// look-up of a round shifts nothing: its bits are added to those consumed before it, and the load does the rest.
//
// A lane whose block is nearly done finishes it by itself and takes the next block. When no block is
// left, the loop goes on with six lanes, five and so on.

#include "entropy/interleaved_decode.h"

#include "entropy/big_endian.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

namespace {

constexpr int kTableBits = 12;
constexpr int kLookUps = 4;
constexpr ptrdiff_t kRoundBytesOut = kLookUps * kWideRowSymbols;
constexpr ptrdiff_t kRoundBytesIn = (kLookUps * kTableBits + 7) / 8;
/// A load takes eight bytes, and so does a store, of which less may count.
constexpr ptrdiff_t kWordBytes = 8;
constexpr uint64_t kMarker = 1;

struct Lane {
    uint64_t bits;
    const uint8_t* in;
    uint8_t* out;
    const DecodeJob* job;

    void Start(const DecodeJob& next)
    {
        job = &next;
        in = next.begin;
        out = next.out;
        bits = next.end - next.begin >= kWordBytes ? LoadBigEndian64(in) | kMarker : kMarker;
    }

    ptrdiff_t SafeRounds() const
    {
        const ptrdiff_t byOutput = (job->out + job->count - out - kWordBytes) / kRoundBytesOut;
        const ptrdiff_t byInput = (job->end - in - kWordBytes) / kRoundBytesIn;
        return std::min(byOutput, byInput);
    }

    /// The rest of the block, with all limits looked at.
    void Finish() const
    {
        const auto size = job->end - job->begin;
        auto position = 8 * (in - job->begin) + std::countr_zero(bits);
        uint8_t* to = out;
        uint8_t* const end = job->out + job->count;
        while (to != end) {
            const ptrdiff_t byte = position / 8;
            uint64_t word = 0;
            if (byte + kWordBytes <= size)
                word = LoadBigEndian64(job->begin + byte);
            else
                for (ptrdiff_t i = 0; byte + i < size; ++i)
                    word |= uint64_t{job->begin[byte + i]} << (56 - 8 * i);
            word <<= position % 8;
            for (int lookUp = 0; lookUp < kLookUps && to != end; ++lookUp) {
                const WideRow& row = table[word >> (64 - kTableBits)];
                if (end - to >= kWordBytes) {
                    std::memcpy(to, &row, sizeof row);
                    to += row.symbolTotal;
                } else {
                    to = std::copy_n(row.symbols, std::min<ptrdiff_t>(row.symbolTotal, end - to), to);
                }
                word <<= row.bitCount;
                position += row.bitCount;
            }
        }
    }

    const WideRow* table;
};

/// Stores the symbols of a row, moves `out` by their number and returns the row's count of bits.
///
/// The processor adds up an address from table and index within each of the three loads, but a compiler that sees
/// three of one row would rather make that row's address first: one instruction more, and one more to wait for. So it
/// must not see that the index stays the same.
[[gnu::always_inline]] inline uint64_t TakeRow(const WideRow* table, uint64_t index, uint8_t*& out)
{
    const auto hide = [](uint64_t& value) { asm("" : "+r"(value)); };
    std::memcpy(out, table + index, sizeof *table);
    hide(index);
    out += table[index].symbolTotal;
    hide(index);
    return table[index].bitCount;
}

/// `rounds` rounds of the first `count` lanes.
template <int count>
void RunRounds(Lane* lanes, const WideRow* table, ptrdiff_t rounds)
{
    uint64_t bits[count];
    const uint8_t* in[count];
    uint8_t* out[count];
    for (int i = 0; i < count; ++i) {
        bits[i] = lanes[i].bits;
        in[i] = lanes[i].in;
        out[i] = lanes[i].out;
    }
    constexpr int kIndexShift = 64 - kTableBits;
    do {
#pragma GCC unroll 3
        for (int lookUp = 0; lookUp < kLookUps - 1; ++lookUp) {
#pragma GCC unroll 7
            for (int i = 0; i < count; ++i)
                bits[i] <<= TakeRow(table, bits[i] >> kIndexShift, out[i]);
        }
#pragma GCC unroll 7
        for (int i = 0; i < count; ++i) {
            // Never 0, which the builtin does not take: the marker is among the bits.
            auto consumed = static_cast<uint64_t>(__builtin_ctzll(bits[i]));
            consumed += TakeRow(table, bits[i] >> kIndexShift, out[i]);
            in[i] += consumed / 8;
            bits[i] = (LoadBigEndian64(in[i]) | kMarker) << (consumed % 8);
        }
    } while (--rounds > 0);
    for (int i = 0; i < count; ++i) {
        lanes[i].bits = bits[i];
        lanes[i].in = in[i];
        lanes[i].out = out[i];
    }
}

using Kernel = void (*)(Lane*, const WideRow*, ptrdiff_t);
constexpr Kernel kKernels[kDecodeLanes] = {RunRounds<1>, RunRounds<2>, RunRounds<3>, RunRounds<4>,
                                           RunRounds<5>, RunRounds<6>, RunRounds<7>};

} // namespace

void DecodeInterleaved(const WideRow* table, std::span<const DecodeJob> jobs)
{
    std::array<Lane, kDecodeLanes> lanes;
    size_t active = 0;
    auto next = jobs.begin();
    for (;;) {
        while (active < lanes.size() && next != jobs.end()) {
            lanes[active].table = table;
            lanes[active++].Start(*next++);
        }
        if (active == 0)
            return;
        ptrdiff_t rounds = lanes[0].SafeRounds();
        for (size_t i = 1; i < active; ++i)
            rounds = std::min(rounds, lanes[i].SafeRounds());
        if (rounds > 0) {
            kKernels[active - 1](lanes.data(), table, rounds);
            continue;
        }
        for (size_t i = active; i-- > 0;)
            if (lanes[i].SafeRounds() <= 0) {
                lanes[i].Finish();
                lanes[i] = lanes[--active];
            }
    }
}
