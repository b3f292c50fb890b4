// Where the time of a frame goes: the codec's own stage timers, enabled.
#pragma once

#include "codec/frame_rows.h"

#include <nlohmann/json.hpp>

/// Cycles per raw byte of each stage on one thread, encoding with Dynamic and decoding Median frames, of the
/// code that is linked in (not of a loaded driver). `rest` is what no timer covers: parsing, placing blocks,
/// the copy into the frame, the timers themselves. Prints and returns the rows.
/// makeClip  a drawn clip by content ("soft", "hard") and layout
nlohmann::json MeasureStages(
    const RoundOptions& options,
    const std::function<BenchClip(const std::string& content, const PixelLayout& layout)>& makeClip);
