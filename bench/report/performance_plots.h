// The plots of docs/performance.md.
#pragma once

#include "report/measurements.h"
#include "report/svg_drawing.h"

#include <optional>

/// Each gives nothing when its rows were not measured.

/// Speed over the size of the picture, for one and two threads.
std::optional<SvgDrawing> PlotSizes(const Measurements& all);
/// Speed against compression ratio, beside other codecs: encoders left, decoders right.
std::optional<SvgDrawing> PlotPeers(const Measurements& all);
/// Cycles per byte of each stage as stacked bars.
std::optional<SvgDrawing> PlotStages(const Measurements& all);
