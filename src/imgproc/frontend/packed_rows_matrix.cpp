// Kernels between the RGB layouts and YUV planes.
#include "imgproc/frontend/packed_row_kernels.h"

namespace imgproc {

template struct TPackedRows<1, ByteOrder<0, 1, 2>, MatrixStep>;
template struct TPackedRows<1, ByteOrder<2, 1, 0>, MatrixStep>;
template struct TPackedRows<3, ByteOrder<0, 1, 2>, MatrixStep>;
template struct TPackedRows<3, ByteOrder<2, 1, 0>, MatrixStep>;

template struct TPackedRows<1, ByteOrder<0, 1, 2, 3>, MatrixStep>;
template struct TPackedRows<1, ByteOrder<1, 2, 3, 0>, MatrixStep>;
template struct TPackedRows<1, ByteOrder<2, 1, 0, 3>, MatrixStep>;
template struct TPackedRows<1, ByteOrder<3, 2, 1, 0>, MatrixStep>;

template struct TPackedRows<3, ByteOrder<0, 1, 2, 3>, MatrixStep>;
template struct TPackedRows<3, ByteOrder<1, 2, 3, 0>, MatrixStep>;
template struct TPackedRows<3, ByteOrder<2, 1, 0, 3>, MatrixStep>;
template struct TPackedRows<3, ByteOrder<3, 2, 1, 0>, MatrixStep>;

template struct TPackedRows<4, ByteOrder<0, 1, 2, 3>, MatrixStep>;
template struct TPackedRows<4, ByteOrder<1, 2, 3, 0>, MatrixStep>;
template struct TPackedRows<4, ByteOrder<2, 1, 0, 3>, MatrixStep>;
template struct TPackedRows<4, ByteOrder<3, 2, 1, 0>, MatrixStep>;

} // namespace imgproc
