#pragma once

#include "report/measurements.h"

/// Single kernels out of the stage benchmarks, each alone in a loop with its data in the nearest caches, as
/// Markdown.
std::string KernelTable(const std::vector<KernelTime>& kernels, double coreGhz);
