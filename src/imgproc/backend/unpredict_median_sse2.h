#pragma once

#include "common/plane_info.h"

/// Undoes Median for a block, in place, row 0 included. width: 1 or more; height: 2 or more.
void UnpredictMedianSse2(const PlaneInfo& view, int width, int height);
