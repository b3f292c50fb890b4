// The machine that the report is written on.
#pragma once

#include <string>

/// Processor, caches, clock, copy speed, system and compiler, and the date, as Markdown.
std::string MachineTable(double coreGhz, double copyMegabytesPerSecond);
