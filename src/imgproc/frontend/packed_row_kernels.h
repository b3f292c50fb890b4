// The kernels of all packed layouts with 3 or 4 bytes per pixel. Included where they are instantiated.
#pragma once

#include "imgproc/frontend/packed_row_scalar.h"
#include "imgproc/frontend/packed_rows.h"
#ifdef ORVANE_SSE2
#include "imgproc/frontend/packed_row_sse2.h"
#endif

namespace imgproc {

template <int planes, class Order, class Step>
const PackedRowForms& TPackedRows<planes, Order, Step>::Forms()
{
    static constexpr PackedRowForms forms{{
        {"scalar", SplitRowScalar<planes, Order, Step>, JoinRowScalar<planes, Order, Step>},
#ifdef ORVANE_SSE2
        {"sse2", SplitRowSse2<planes, Order, Step>, JoinRowSse2<planes, Order, Step>},
#endif
    }};
    return forms;
}

} // namespace imgproc
