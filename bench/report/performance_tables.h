// The tables of docs/performance.md, as Markdown.
#pragma once

#include "report/measurements.h"

#include <filesystem>
#include <map>
#include <string>

/// By the name between the markers of the page. A table is missing when nothing for it was measured.
std::map<std::string, std::string> MakeTables(const Measurements& all);

/// Puts each table between its markers, "<!-- table NAME -->" and "<!-- end -->", and leaves the others as
/// they are. Throws std::runtime_error when a marker is missing.
void WriteTables(const std::filesystem::path& page, const std::map<std::string, std::string>& tables);
