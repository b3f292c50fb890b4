// One stream is pure latency: a look-up waits for the shift of the one before it. So up to seven blocks are
// decoded side by side, each in a lane of its own, and the processor overlaps their chains. An eighth gains
// nothing: by then the registers are gone, and what is short is instructions.
//
// State of a lane
//   bits   the stream starting with its next bit, at the top; below the valid bits a single 1, the marker,
//          and below that only zeros. The number of trailing zeros is thus the number of bits consumed since
//          the last load (with those that it skipped): no count is kept. After a load 56 bits or more are
//          valid.
//   in     where `bits` was loaded from
//   out    where the next symbol goes
//
//   bit 63                                                        0
//   |  next bits of the stream                       | 1 | 0 ... 0 |     the marker is at bit `consumed`
//   |<------------- 63 - consumed, valid ----------->|   |consumed |
//
// A load at `in` puts 64 bits there, replaces the lowest with the marker and shifts out the consumed % 8 bits
// that were used already; consumed / 8 whole bytes move `in`. Example: 13 bits consumed; `in` moves by 1
// byte, the word is shifted by 5, the marker is at bit 5 and 58 bits are valid.
//
// A round is four look-ups, which take 48 bits at most, and a load. It moves `in` by 6 bytes and `out` by 24
// at most, so that a number of rounds can be computed up front for which no bounds check is needed. The last
// look-up of a round shifts nothing: its bits are added to those consumed before it, and the load does the
// rest.
//
// A lane whose block is nearly done finishes it alone and takes the next block. When no block is left, the
// loop goes on with six lanes, five and so on.

#include "entropy/interleaved_decode.h"

#include "common/compiler.h"
#include "entropy/big_endian.h"
#include "entropy/code_limits.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstddef>
#include <iterator>

namespace entropy {

namespace {

constexpr int kLookUps = kLookUpsPerRefill;
constexpr ptrdiff_t kRoundBytesOut = kLookUps * kWideRowSymbols;
constexpr ptrdiff_t kRoundBytesIn = (kLookUps * kTableBits + 7) / 8;
constexpr ptrdiff_t kWord = kWordBytes;
static_assert(sizeof(WideRow) == kWordBytes, "a look-up stores a full entry, of which fewer bytes may count");
static_assert(kRoundBytesOut == 24 && kRoundBytesIn == 6, "as told above");
constexpr uint64_t kMarker = 1;
static_assert(kLookUps * kTableBits + 7 < kWordBits, "the marker is never shifted out");

struct Lane {
    uint64_t bits;
    const uint8_t* in;
    uint8_t* out;
    const uint8_t* begin; ///< of the stream
    const uint8_t* end;
    uint8_t* outEnd;

    void Start(const DecodeJob& job)
    {
        in = begin = job.coded.data();
        end = begin + job.coded.size();
        out = job.symbols.data();
        outEnd = out + job.symbols.size();
        bits = end - begin >= kWord ? LoadBigEndian64(in) | kMarker : kMarker;
    }

    ptrdiff_t SafeRounds() const
    {
        const ptrdiff_t byOutput = (outEnd - out - kWord) / kRoundBytesOut;
        const ptrdiff_t byInput = (end - in - kWord) / kRoundBytesIn;
        return std::min(byOutput, byInput);
    }

    /// The rest of the block, fully bounds-checked.
    void Finish() const
    {
        const ptrdiff_t size = end - begin;
        ptrdiff_t position = 8 * (in - begin) + std::countr_zero(bits);
        uint8_t* to = out;
        while (to != outEnd) {
            const ptrdiff_t byte = position / 8;
            uint64_t word = 0;
            if (byte + kWord <= size)
                word = LoadBigEndian64(begin + byte);
            else
                for (ptrdiff_t i = 0; byte + i < size; ++i)
                    word |= uint64_t{begin[byte + i]} << (56 - 8 * i);
            word <<= position % 8;
            for (int lookUp = 0; lookUp < kLookUps && to != outEnd; ++lookUp) {
                const WideRow& row = table[word >> (kWordBits - kTableBits)];
                if (outEnd - to >= kWord) {
                    std::memcpy(to, &row, sizeof row);
                    to += row.symbolTotal;
                } else {
                    to = std::copy_n(row.symbols, std::min<ptrdiff_t>(row.symbolTotal, outEnd - to), to);
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
/// The processor adds up an address from table and index within each of the three loads, but a compiler that
/// sees three of one row would rather make that row's address first: one instruction more, and one more to
/// wait for. So it must not see that the index stays the same.
ORVANE_ALWAYS_INLINE uint64_t TakeRow(const WideRow* table, uint64_t index, uint8_t*& out)
{
    std::memcpy(out, table + index, sizeof *table);
    HideValue(index);
    out += table[index].symbolTotal;
    HideValue(index);
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
    assert(rounds > 0);
    constexpr int kIndexShift = kWordBits - kTableBits;
    do {
        ORVANE_UNROLL(3)
        for (int lookUp = 0; lookUp < kLookUps - 1; ++lookUp) {
            ORVANE_UNROLL(7)
            for (int i = 0; i < count; ++i)
                bits[i] <<= TakeRow(table, bits[i] >> kIndexShift, out[i]);
        }
        ORVANE_UNROLL(7)
        for (int i = 0; i < count; ++i) {
            // Never 0: the marker is among the bits.
            auto consumed = static_cast<uint64_t>(CountTrailingZeros(bits[i]));
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
/// By the number of lanes, less one.
constexpr Kernel kKernels[] = {RunRounds<1>, RunRounds<2>, RunRounds<3>, RunRounds<4>,
                               RunRounds<5>, RunRounds<6>, RunRounds<7>};

static_assert(std::size(kKernels) == kDecodeLanes);

} // namespace

void DecodeInterleaved(const WideRow* table, std::span<const DecodeJob> jobs)
{
    assert(table || jobs.empty());
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

} // namespace entropy
