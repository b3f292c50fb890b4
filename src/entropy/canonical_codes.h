#pragma once

#include <cstddef>
#include <cstdint>

namespace entropy {

struct CodeRecord {
    uint32_t symbol;
    uint32_t length; ///< bits
    uint32_t code;   ///< right-aligned
};

/// Gives codes to symbols of known lengths. Runs opposite to the usual convention: the longest codes have the
/// lowest values, so that all-zero bits are always a code, and codes of one length rise with the symbol. Code
/// space may stay unused.
/// count    symbols
/// lengths  `count` lengths, of any value: they may come from a damaged frame
/// limit    the longest length allowed, up to 31
/// records  receives `count` records, by falling length and, within a length, rising symbol: by rising code
/// Returns false, with `records` in no order, if a length is 0 or above `limit`, if the lengths need more
/// than the code space, or if `limit` is above 31.
bool BuildCanonicalCodes(size_t count, const uint32_t* lengths, int limit, CodeRecord* records);

} // namespace entropy
