// The planes of a picture with what the core knows of each.
#pragma once

#include "common/plane_info.h"

#include <array>
#include <cstdint>

struct PlaneRecord : PlaneInfo {
    uint32_t size = 0; ///< bytes
};

using PlaneRecords = std::array<PlaneRecord, kMaxPlanes>;

inline PlaneArray ViewOf(const PlaneRecords& records)
{
    return {records[0], records[1], records[2], records[3]};
}
