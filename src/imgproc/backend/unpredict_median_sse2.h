#pragma once

#include "imgproc/backend/imgproc_backend.h"

namespace imgproc {

/// Undoes Median for blocks, in place, row 0 included. Blocks of less than two rows are left alone. width: 1
/// or more.
void UnpredictMedianSse2(std::span<const BlockView> blocks, int width);

} // namespace imgproc
