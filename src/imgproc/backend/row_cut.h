#pragma once

#include <algorithm>
#include <cstdint>

/// How a row falls into stretches at the 16-byte boundaries of its address: column 0, `head` columns, `body`
/// columns in whole aligned vectors, and the rest.
struct RowCut {
    int head; ///< columns from 1 on to the last one before a boundary; 0 to 15
    int body; ///< a multiple of 16, 0 if fewer than 16 columns are left behind the head

    int BodyStart() const { return head + 1; }
    int BodyEnd() const { return head + 1 + body; }
};

/// row    column 0, any alignment; its address alone matters
/// width  columns, 1 or more
inline RowCut CutRow(const uint8_t* row, int width)
{
    // The boundary is the next one strictly above column 0: an aligned row has 15 columns of head.
    const int toBoundary = 16 - static_cast<int>(reinterpret_cast<uintptr_t>(row) % 16);
    const int head = std::min(toBoundary - 1, width - 1);
    return {head, (width - 1 - head) / 16 * 16};
}
