// Other codecs beside the driver, all on one thread and on the same pictures.
#pragma once

#include "codec/frame_rows.h"

/// Plans rows of the driver with its methods Dynamic, Median and Gradient, every peer that was built, and a
/// plain copy, in the same rounds, on a clip of the layout I420 or RGB24. Throws when a peer loses a bit.
void PlanPeers(BenchSetup& setup, const ClipPlan& plan);
