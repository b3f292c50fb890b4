#pragma once

#include <cstdint>

namespace entropy {

/// Counts a sample of a block's residuals: columns 0, 4, 8, 12 and so on of every row. Three of four samples
/// are never looked at, so that a symbol of the block may well have a count of 0.
/// plane        first sample of the block
/// width        samples of a row, 0 or more
/// height       rows, 0 or more
/// pitch        bytes from one row to the next, may be negative
/// frequencies  256 counters, one for each symbol; stored, whatever they held
void CountSymbols(const uint8_t* plane, int width, int height, int pitch, uint64_t* frequencies);

} // namespace entropy
