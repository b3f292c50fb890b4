// The stored form of a coder: its code lengths in symbol order as a run-length code.
//
//   0vvvvvvv            one entry v
//   1vvvvvvv cccccccc   1 + c entries v
//
// No count and no end mark: a table ends with its last entry, and what follows begins at the next byte.
#pragma once

#include <cstddef>
#include <cstdint>

namespace entropy {

/// Room for a table of 256 entries: none is longer, and no reader or bound counts with more.
inline constexpr size_t kMaxLengthTableBytes = 512;

/// Writes `count` lengths of 0 to 127 each. A run ends where the value changes or where it has 256 entries; a
/// run of one entry takes the one-byte form. `out` has room for kMaxLengthTableBytes (or 2 * `count`, if that
/// is more). Returns the bytes written.
size_t WriteLengthTable(const uint32_t* lengths, size_t count, uint8_t* out);

/// Reads `count` lengths, any value of 0 to 127, from the bytes before `end`: they may be damaged in any
/// way. A run that would pass the last entry is cut there. Returns the byte after the table, or null if
/// `end` comes first; entries read so far then stand in `lengths`, the others are left alone.
const uint8_t* ReadLengthTable(const uint8_t* at, const uint8_t* end, size_t count, uint32_t* lengths);

} // namespace entropy
