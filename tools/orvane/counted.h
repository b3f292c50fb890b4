#pragma once

#include <cstdint>
#include <string>

/// "1 frame", "2 frames".
inline std::string Counted(uint64_t count, const std::string& noun)
{
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}
