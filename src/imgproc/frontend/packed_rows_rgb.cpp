// Kernels of the lossless RGB and RGBA layouts.
#include "imgproc/frontend/packed_row_kernels.h"

namespace imgproc {

template struct TPackedRows<3, ByteOrder<0, 1, 2>, GreenStep>;
template struct TPackedRows<3, ByteOrder<2, 1, 0>, GreenStep>;

template struct TPackedRows<3, ByteOrder<0, 1, 2, 3>, GreenStep>;
template struct TPackedRows<3, ByteOrder<1, 2, 3, 0>, GreenStep>;
template struct TPackedRows<3, ByteOrder<2, 1, 0, 3>, GreenStep>;
template struct TPackedRows<3, ByteOrder<3, 2, 1, 0>, GreenStep>;

template struct TPackedRows<4, ByteOrder<0, 1, 2, 3>, GreenStep>;
template struct TPackedRows<4, ByteOrder<1, 2, 3, 0>, GreenStep>;
template struct TPackedRows<4, ByteOrder<2, 1, 0, 3>, GreenStep>;
template struct TPackedRows<4, ByteOrder<3, 2, 1, 0>, GreenStep>;

} // namespace imgproc
