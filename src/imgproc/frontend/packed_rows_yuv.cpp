// Kernels of the packed 4:4:4 YUV layouts.
#include "imgproc/frontend/packed_row_kernels.h"

namespace imgproc {

template struct TPackedRows<1, ByteOrder<1, 2, 0>, CopyStep>;
template struct TPackedRows<3, ByteOrder<1, 2, 0>, CopyStep>;

template struct TPackedRows<1, ByteOrder<1, 0, 2, 3>, CopyStep>;
template struct TPackedRows<3, ByteOrder<1, 0, 2, 3>, CopyStep>;
template struct TPackedRows<4, ByteOrder<1, 0, 2, 3>, CopyStep>;

template struct TPackedRows<1, ByteOrder<2, 1, 0, 3>, CopyStep>;
template struct TPackedRows<3, ByteOrder<2, 1, 0, 3>, CopyStep>;
template struct TPackedRows<4, ByteOrder<2, 1, 0, 3>, CopyStep>;

template struct TPackedRows<4, ByteOrder<1, 2, 3, 0>, CopyStep>;

} // namespace imgproc
