#include "core/picture_check.h"

#include "core/picture_layout.h"

namespace core {

namespace {

PictureError CheckPlane(const imgproc::ImgProcFrontend& frontend, size_t i, const ConstPlaneRecord& plane,
                        uint32_t width, uint32_t height)
{
    const auto baseAlignment = static_cast<uintptr_t>(frontend.GetBaseAlignment(i));
    const int pitchAlignment = frontend.GetPitchAlignment(i);
    if (!plane.data || reinterpret_cast<uintptr_t>(plane.data) % baseAlignment != 0)
        return kBadAddress;
    if (plane.pitch == 0 || plane.pitch % pitchAlignment != 0)
        return kBadPitch;
    const uint64_t leastPitch = LeastPitch(frontend, i, width, pitchAlignment);
    if (plane.pitch < 0 || static_cast<uint64_t>(plane.pitch) < leastPitch)
        return kShortPitch;
    const uint64_t rows = PlaneRows(frontend, i, height);
    // The rows must lie within signed 32-bit offsets with the pitch that the host gave, too.
    if (plane.size < rows * leastPitch || rows * static_cast<uint64_t>(plane.pitch) > kMaxPlaneBytes)
        return kShortPlane;
    return kPictureOk;
}

} // namespace

PictureError CheckImage(const FormatRoute* route, const ConstPlaneRecords& image, uint32_t width,
                        uint32_t height)
{
    if (!route)
        return kNoFrontend;
    for (size_t i = 0; i < route->frontend->GetPlaneCount(); ++i) {
        if (const PictureError error = CheckPlane(*route->frontend, i, image[i], width, height))
            return error;
    }
    return kPictureOk;
}

} // namespace core
