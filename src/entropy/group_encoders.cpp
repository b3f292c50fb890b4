#include "entropy/group_encoders.h"

#include "common/compiler.h"
#include "entropy/code_limits.h"

#include <cstring>

namespace entropy {

namespace {

/// Codes of four symbols from the table of single symbols, joined as a tree.
struct SingleCodes {
    const CodeEntry* codes;

    BitRun One(const uint8_t* symbol) const { return {codes[*symbol].code, codes[*symbol].length}; }
    BitRun Two(const uint8_t* symbols) const { return Join(One(symbols), One(symbols + 1)); }
    BitRun Four(const uint8_t* symbols) const { return Join(Two(symbols), Two(symbols + 2)); }
};
static_assert(kJoinedCodes == 4, "as Four joins them");

/// The same for any even number of symbols from the pair table, from their end to their start: what follows
/// a pair is known before it, so that a pair takes one shift, and its length is added where the next
/// shift wants it.
///
/// Codes and lengths have a pointer each that the compiler takes for unrelated: it would compute the row's
/// address for both otherwise, one instruction more for every two symbols.
class PairCodes
{
  public:
    explicit PairCodes(const PairEntry* pairs) : codes(&pairs->code), lengths(&pairs->length)
    {
        HideValue(lengths);
    }

    template <int pairs>
    ORVANE_ALWAYS_INLINE BitRun Join(const uint8_t* symbols) const
    {
        const size_t last = RowOf(symbols + 2 * (pairs - 1));
        BitRun run{codes[last], lengths[last]};
        ORVANE_UNROLL(8)
        for (int pair = pairs - 2; pair >= 0; --pair) {
            const size_t row = RowOf(symbols + 2 * pair);
            run.bits |= ShiftLeft(codes[row], run.length);
            run.length += lengths[row];
        }
        return run;
    }

  private:
    static size_t RowOf(const uint8_t* symbols)
    {
        uint16_t index;
        std::memcpy(&index, symbols, sizeof index);
        return sizeof(PairEntry) / sizeof(uint32_t) * index;
    }

    const uint32_t* codes;
    const uint32_t* lengths;
};

/// How far ahead symbols are fetched, in bytes: the first-level cache has lost most of them since they were
/// written, and the last-level cache some.
constexpr size_t kAhead = 2048;

/// Encodes whole groups. A function of its own, with a writer of its own: the loop wants all registers.
/// ahead  bytes from a group to what is fetched meanwhile
template <int pairs>
ORVANE_NOINLINE void EncodeFetching(BitWriter& callers, const uint8_t* symbols, const uint8_t* end,
                                    size_t ahead, const EncodeTables& tables)
{
    constexpr int kGroup = 2 * pairs;
    const PairCodes codes(tables.pairs);
    BitWriter writer = callers;
    for (const uint8_t* at = symbols; at != end; at += kGroup) {
        Prefetch(at + ahead);
        const BitRun run = codes.Join<pairs>(at);
        if (writer.Fits(run)) [[likely]] {
            writer.Append(run);
            writer.Store();
            continue;
        }
        const uint8_t* group = at;
        HideValue(group); // or what has been loaded is kept for here, in registers that the loop wants
        for (const uint8_t* four = group; four != group + kGroup; four += kJoinedCodes) {
            const BitRun part = codes.Join<kJoinedCodes / 2>(four);
            writer.Append(part.length < kUnfilledLength ? part : SingleCodes{tables.codes}.Four(four));
            writer.Store();
        }
    }
    callers = writer;
}

} // namespace

size_t EncodeSingles(BitWriter& writer, const uint8_t* symbols, size_t count, const EncodeTables& tables)
{
    const SingleCodes codes{tables.codes};
    const size_t grouped = count - count % (2 * kJoinedCodes);
    for (const uint8_t* at = symbols; at != symbols + grouped; at += 2 * kJoinedCodes)
        writer.AppendAndStore(codes.Four(at), codes.Four(at + kJoinedCodes));
    return grouped;
}

template <int pairs>
size_t EncodePairs(BitWriter& writer, const uint8_t* symbols, size_t count, const EncodeTables& tables)
{
    constexpr size_t kGroup = 2 * pairs;
    const size_t grouped = count - count % kGroup;
    // The last groups have nothing ahead of them that is known to be there.
    const size_t fetching = grouped > kAhead ? (grouped - kAhead) / kGroup * kGroup : 0;
    EncodeFetching<pairs>(writer, symbols, symbols + fetching, kAhead, tables);
    EncodeFetching<pairs>(writer, symbols + fetching, symbols + grouped, 0, tables);
    return grouped;
}

template GroupEncoder EncodePairs<4>;
template GroupEncoder EncodePairs<6>;
template GroupEncoder EncodePairs<8>;

} // namespace entropy
