// Row kernels of packed layouts: one picture row to its plane rows and back.
#pragma once

#include "imgproc/frontend/color_matrix.h"
#include "imgproc/frontend/decorr.h"

#include <array>
#include <cstdint>

/// A picture row and the plane rows that belong to it. Planes that a kernel does not have are never touched.
struct PackedRow {
    uint8_t* pixels;
    std::array<uint8_t*, 4> planes;
};

/// Both directions of one layout in one form. `width` counts pixels, 0 or more; nothing outside the row is
/// read or written. `matrix` is null where the layout needs none. The SSE2 forms use aligned access: what
/// brings plane 0 to a 16-byte boundary must bring all planes, and, times the bytes of a pixel, the picture
/// row to one. PrepareBuffers plans the planes so.
struct PackedRowForm {
    const char* name;
    void (*split)(PackedRow row, int width, const ColorMatrix* matrix);
    void (*join)(PackedRow row, int width, const ColorMatrix* matrix);
};

/// All forms of one layout, the scalar reference first.
using PackedRowForms = std::array<PackedRowForm, 2>;

/// The kernels of pixels in `Order` (a ByteOrder) with the arithmetic `Step` and the first `planes` planes.
/// All colour matrices share the kernels of one order.
template <int planes, class Order, class Step>
struct TPackedRows {
    static const PackedRowForms& Forms();
};

/// The kernels of Y0 U Y1 V (`uyvy` false) or U Y0 V Y1 pairs; with `lumaOnly` plane 0 alone, chroma comes
/// back as 128. Here the SSE2 forms cut by the picture row: what brings it to a 64-byte boundary must bring
/// plane 0 to a 32-byte and planes 1 and 2 to a 16-byte boundary. An odd last pixel is left alone.
template <bool uyvy, bool lumaOnly>
struct TPackedRows422 {
    static const PackedRowForms& Forms();
};
