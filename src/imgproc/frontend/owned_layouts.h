// The plane layouts that a front end or a converter refers to, as members of the object itself.
#pragma once

#include "imgproc/backend/t_imgproc_backend.h"

namespace imgproc {

// The five plane layouts by name.
using Layout400 = TImgProcBackend<unsigned char, 8, 1, 1, 1>;
using Layout444 = TImgProcBackend<unsigned char, 8, 3, 1, 1>; ///< also R G B
using Layout422 = TImgProcBackend<unsigned char, 8, 3, 2, 1>;
using Layout420 = TImgProcBackend<unsigned char, 8, 3, 2, 2>;
using Layout4444 = TImgProcBackend<unsigned char, 8, 4, 1, 1>; ///< also R G B A

/// Two layouts, to be inherited ahead of a base that keeps references to them: bases are built in order.
template <class First, class Second = First>
struct OwnedLayouts {
    First firstLayout;
    Second secondLayout;
};

} // namespace imgproc
