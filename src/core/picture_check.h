#pragma once

#include "core/format_route.h"
#include "core/plane_set.h"

#include <cstdint>

/// Why Compress gave 0 (and Decompress BadPlanes).
enum PictureError : uint32_t {
    kPictureOk = 0,
    kNoFrontend = 111,
    kBadAddress = 222, ///< null or not aligned
    kBadPitch = 333,   ///< 0 or not aligned
    kShortPitch = 444,
    kShortPlane = 555, ///< less memory than the rows need, or more than 32-bit offsets reach
};

namespace core {

/// Whether the front end of a route can read or write a picture of this size; the first fault of its planes.
/// route  of the picture's layout, null where it has none
PictureError CheckImage(const FormatRoute* route, const ConstPlaneRecords& image, uint32_t width,
                        uint32_t height);

} // namespace core
