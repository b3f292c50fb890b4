#pragma once

#include <cstdint>
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
