// Why other programs fail at a file that this tool reads: they trust its headers and its index.
#pragma once

#include "files/video_stream.h"

#include <string>
#include <vector>

/// A sentence for each reason, as "other programs cannot open this file: ..."; empty when there is none. The
/// pictures are not affected, and repair mends all of it.
std::vector<std::string> FindHostProblems(const VideoStream& stream);
