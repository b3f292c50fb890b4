// Row and plane sizes of a host picture, from its front end's geometry. All in 64 bits: sizes come from
// anywhere.
#pragma once

#include "common/align_up.h"
#include "imgproc/frontend/imgproc_frontend.h"

#include <cstdint>
#include <limits>

/// Rows are addressed with signed 32-bit offsets.
inline constexpr uint64_t kMaxPlaneBytes = std::numeric_limits<int32_t>::max();

/// Least pitch of a host plane: its row bytes rounded up to `alignment`.
inline uint64_t LeastPitch(const imgproc::ImgProcFrontend& frontend, size_t plane, uint32_t width,
                           int alignment)
{
    const auto planeWidth = static_cast<uint64_t>(frontend.GetPlaneWidth(plane, static_cast<int>(width)));
    const auto groupPixels = static_cast<uint64_t>(frontend.GetGroupPixels(plane));
    const auto groupBytes = static_cast<uint64_t>(frontend.GetGroupBytes(plane));
    const uint64_t rowBytes = (planeWidth * groupBytes + groupPixels - 1) / groupPixels;
    return alignUp(rowBytes, static_cast<uint64_t>(alignment));
}

inline uint64_t PlaneRows(const imgproc::ImgProcFrontend& frontend, size_t plane, uint32_t height)
{
    return static_cast<uint64_t>(frontend.GetPlaneHeight(plane, static_cast<int>(height)));
}
