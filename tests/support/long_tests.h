#pragma once

#include <cstdlib>
#include <cstring>

/// True when full domains and long runs are asked for (ORVANE_LONG_TESTS set to anything but 0).
inline bool LongTests()
{
    const char* text = std::getenv("ORVANE_LONG_TESTS");
    return text && std::strcmp(text, "0") != 0;
}
