// What an instance of the driver costs beside its frames: the time until the first frame, and memory.
#pragma once

#include "codec/frame_rows.h"

#include <nlohmann/json.hpp>

/// From the opening of an instance to its first 1920x1080 frame, the loaded library and the host's buffers
/// given: median and maximum of some openings, in milliseconds. Prints and returns the rows.
nlohmann::json MeasureFirstFrames(BenchSetup& setup);

/// Bytes on the heap that an instance holds in the middle of a run, for all formats at 1920x1080 and
/// 3840x2160. Prints and returns the rows; none where the system does not tell the use of the heap.
nlohmann::json MeasureMemory(BenchSetup& setup);
