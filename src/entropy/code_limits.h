// The numbers that codes, tables and loops of the entropy stage share. What follows from one of them is
// derived where it is used, and asserted there.
#pragma once

#include <cstddef>
#include <cstdint>

namespace entropy {

/// Symbols of a code: residuals of 8-bit samples.
inline constexpr size_t kSymbols = 256;

/// The longest code, in bits.
inline constexpr int kMaxCodeLength = 12;

/// Bits of one look-up of a decoder. At least a whole code, so that every look-up makes progress.
inline constexpr int kTableBits = kMaxCodeLength;
static_assert(kTableBits >= kMaxCodeLength);

/// Bytes of every load from and every store to a bit stream.
inline constexpr size_t kWordBytes = sizeof(uint64_t);
inline constexpr int kWordBits = 64;

/// Look-ups from one refill of the bit buffer to the next. A refill loads whole bytes, so that 7 bits may be
/// missing at the top of a word; the interleaved decoder marks the end of the valid bits with one more.
inline constexpr int kLookUpsPerRefill = 4;
static_assert(kLookUpsPerRefill * kTableBits <= kWordBits - 7 - 1, "no look-up reads past the valid bits");
static_assert((kLookUpsPerRefill + 1) * kTableBits > kWordBits - 7 - 1, "one more does not fit");

/// Codes that the writer joins before they meet the pending bits. At most 7 bits are pending after a store.
inline constexpr int kJoinedCodes = 4;
static_assert(kJoinedCodes * kMaxCodeLength + 7 < kWordBits, "joined codes and pending bits fit a word");

/// Bytes that a writer of `symbols` codes may touch: the longest codes, and a whole store at the end.
constexpr size_t CodedRoom(size_t symbols)
{
    return (symbols * kMaxCodeLength + 7) / 8 + kWordBytes;
}

} // namespace entropy
