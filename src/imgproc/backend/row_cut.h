#pragma once

#include <algorithm>
#include <cassert>
#include <cstdint>

namespace imgproc {

/// How a row is split into segments at the 16-byte boundaries of its address. Here a row starts 12 bytes
/// after one:
///
///     address % 16    12  13 14 15   0  1 ..                15   0 ..
///     column           0   1  2  3   4  5 ..                19  20 ..
///                      |  head: 3 |  body: a multiple of 16   |  tail
struct RowCut {
    int head; ///< columns from 1 to the last one before a boundary; 0 to 15
    int body; ///< columns in whole aligned vectors; 0 if fewer than 16 columns are left after the head

    int BodyStart() const { return head + 1; }
    int BodyEnd() const { return head + 1 + body; }
};

/// row    column 0, any alignment; its address alone matters
/// width  columns, 1 or more
inline RowCut CutRow(const uint8_t* row, int width)
{
    assert(width >= 1);
    // The boundary is the next one strictly above column 0: an aligned row has 15 columns of head.
    const int toBoundary = 16 - static_cast<int>(reinterpret_cast<uintptr_t>(row) % 16);
    const int head = std::min(toBoundary - 1, width - 1);
    return {head, (width - 1 - head) / 16 * 16};
}

} // namespace imgproc
