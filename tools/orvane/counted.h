#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

/// "1 frame", "2 frames".
inline std::string Counted(uint64_t count, const std::string& noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

/// The texts with "; " between them.
inline std::string Joined(const std::vector<std::string>& texts)
{
    std::string joined;
    for (const std::string& text : texts)
        joined += (joined.empty() ? "" : "; ") + text;
    return joined;
}

/// "frame 3", "4 frames from frame 3 on"; of one frame or more.
inline std::string FramesText(const std::set<size_t>& numbers)
{
    const std::string first = "frame " + std::to_string(*numbers.begin());
    return numbers.size() == 1 ? first : Counted(numbers.size(), "frame") + " from " + first + " on";
}
