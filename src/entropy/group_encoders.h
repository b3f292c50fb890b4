// The loops that write symbols in groups: all codes of a group are joined before they touch the pending bits,
// so that a group takes one shift of the accumulator and one store.
#pragma once

#include "entropy/bit_writer.h"
#include "entropy/code_limits.h"
#include "entropy/encode_table.h"

#include <cstddef>
#include <cstdint>

namespace entropy {

/// The tables of one code.
struct EncodeTables {
    const CodeEntry* codes; ///< 256
    const PairEntry* pairs; ///< kPairRows, with kUnfilledLength in rows that are not filled
};

/// Appends the codes of the whole groups among `count` symbols. Returns the number of symbols done: what is
/// left is less than a group.
using GroupEncoder = size_t(BitWriter& writer, const uint8_t* symbols, size_t count,
                            const EncodeTables& tables);

/// By the table of single symbols, eight at a time.
GroupEncoder EncodeSingles;
/// By the pair table. A group that is too long for one store, or has symbols outside the filled rows, is
/// written in parts of four symbols.
template <int pairs>
GroupEncoder EncodePairs;

struct GroupEncoderForm {
    const char* name;
    size_t symbols; ///< of a group
    bool usesPairs;
    /// The mean length of codes, in tenths of a bit, from which on this form is not the one to take: of
    /// longer codes too many groups do not fit one store.
    uint32_t belowTenths;
    GroupEncoder* run;
};

/// The reference first. Of several that suit a code, later ones are faster.
inline constexpr GroupEncoderForm kGroupEncoderForms[] = {
    {"singles", 8, false, 10 * kMaxCodeLength + 1, EncodeSingles},
    {"pairs by 8", 8, true, 10 * kMaxCodeLength + 1, EncodePairs<4>},
    {"pairs by 12", 12, true, 31, EncodePairs<6>},
    {"pairs by 16", 16, true, 19, EncodePairs<8>},
};
inline constexpr const GroupEncoderForm& kSinglesEncoder = kGroupEncoderForms[0];
/// For codes with a pair table of which nothing else is known.
inline constexpr const GroupEncoderForm& kAnyPairsEncoder = kGroupEncoderForms[1];

} // namespace entropy
