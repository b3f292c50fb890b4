#pragma once

#include <cstdint>

namespace entropy {

/// Counts a sample of a block's residuals: columns 0, 4, 8, 12 and so on of every row. Three of four samples
/// are never looked at, so that a symbol of the block may well have a count of 0.
class SymbolCounter
{
  public:
    /// The sampled ones of 16 residuals.
    void AddSixteen(const uint8_t* residuals)
    {
        ++histograms[0][residuals[0]];
        ++histograms[1][residuals[4]];
        ++histograms[2][residuals[8]];
        ++histograms[3][residuals[12]];
    }
    /// A row from column `done`, a multiple of 16, to its end.
    void AddRow(const uint8_t* row, int done, int width)
    {
        for (; done + 16 <= width; done += 16)
            AddSixteen(row + done);
        for (; done < width; done += 4)
            ++histograms[0][row[done]];
    }
    /// Adds the counts to those of 256 counters, one for each symbol.
    void AddTo(uint64_t* frequencies) const
    {
        for (int symbol = 0; symbol < 256; ++symbol)
            frequencies[symbol] += uint64_t{histograms[0][symbol]} + histograms[1][symbol] +
                                   histograms[2][symbol] + histograms[3][symbol];
    }

  private:
    /// Residuals cluster around 0. With one histogram for each of four neighbours, equal ones do not wait for
    /// each other's store to the same counter.
    uint32_t histograms[4][256] = {};
};

/// Counts the rows of a block in that way.
/// plane        first sample of the block
/// width        samples of a row, 0 or more
/// height       rows, 0 or more
/// pitch        bytes from one row to the next, may be negative
/// frequencies  256 counters, one for each symbol, to which the counts are added
void CountSymbols(const uint8_t* plane, int width, int height, int pitch, uint64_t* frequencies);

} // namespace entropy
