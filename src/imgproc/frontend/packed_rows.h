// Row kernels of packed layouts: one picture row to its plane rows and back.
#pragma once

#include "common/plane_info.h"
#include "common/vector_level.h"
#include "imgproc/frontend/color_matrix.h"
#include "imgproc/frontend/decorr.h"

#include <array>
#include <cstdint>

namespace imgproc {

/// A picture row and the plane rows that belong to it. Planes that a kernel does not have are never touched.
template <class Pixel, class Sample>
struct BasicPackedRow {
    Pixel* pixels;
    Pixel* next; ///< a picture row of the same length that is walked soon, or this one: its lines are fetched
    std::array<Sample*, kMaxPlanes> planes;
};

using SplitRow = BasicPackedRow<const uint8_t, uint8_t>;
using JoinRow = BasicPackedRow<uint8_t, const uint8_t>;

/// Both directions of one layout in one form. `width` counts pixels, 0 or more; nothing outside the row is
/// read or written. `matrix` is null where the layout needs none. The SSE2 forms use aligned access: what
/// brings plane 0 to a 16-byte boundary must bring all planes, and, times the bytes of a pixel, the picture
/// row to one. PrepareBuffers plans the planes so.
struct PackedRowForm {
    const char* name;
    void (*split)(SplitRow row, int width, const ColorMatrix* matrix);
    void (*join)(JoinRow row, int width, const ColorMatrix* matrix);
};

/// All implementations for one layout, the scalar reference first.
#ifdef ORVANE_SSE2
using PackedRowForms = std::array<PackedRowForm, 2>;
#else
using PackedRowForms = std::array<PackedRowForm, 1>;
#endif

/// The kernels of pixels in `Order` (a ByteOrder) with the arithmetic `Step` and the first `planes` planes.
/// All colour matrices share the kernels of one order.
template <int planes, class Order, class Step>
struct TPackedRows {
    static const PackedRowForms& Forms();
};

/// Byte positions in 4 bytes of two pixels, Y1 two bytes after Y0.
template <int y, int u, int v>
struct PairOrder {
    static constexpr int kY0 = y;
    static constexpr int kY1 = y + 2;
    static constexpr int kU = u;
    static constexpr int kV = v;
    static_assert((y == 0 || y == 1) && u % 2 != y && (v == u + 2 || u == v + 2));
};
using OrderYuyv = PairOrder<0, 1, 3>;
using OrderUyvy = PairOrder<1, 0, 2>;

/// The kernels of pixel pairs in `Order` (a PairOrder); with `lumaOnly` plane 0 alone, chroma comes back as
/// 128. Here the SSE2 forms cut by the picture row: what brings it to a 64-byte boundary must bring plane 0
/// to a 32-byte and planes 1 and 2 to a 16-byte boundary. An odd last pixel is left alone.
template <class Order, bool lumaOnly>
struct TPackedRows422 {
    static const PackedRowForms& Forms();
};

} // namespace imgproc
