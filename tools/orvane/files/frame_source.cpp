#include "files/frame_source.h"

#include <algorithm>

void FrameSource::Warn(ToolWarning warning)
{
    if (std::ranges::find(warnings, warning.what, &ToolWarning::what) == warnings.end())
        warnings.push_back(std::move(warning));
}

void FrameSink::NamePart(ToolError&, uint64_t) {}
