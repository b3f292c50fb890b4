// Where the planes of a frame stand: in the host's picture, or in one of our three arenas.

#include "common/align_up.h"
#include "core/orvane.h"
#include "core/picture_layout.h"

#include <limits>

namespace {

bool IsExternal(const uint8_t* data, const PlaneRecords& image)
{
    for (const PlaneRecord& plane : image)
        if (plane.data && plane.data == data)
            return true;
    return false;
}

} // namespace

bool Orvane::ComputePlanes(PlaneRecords& image, uint8_t* base, FormatId formatId, uint32_t width,
                           uint32_t height, uint32_t* total) const
{
    image = {};
    if (total)
        *total = 0;
    const FormatRoute* route = FindRoute(formatId, kAnyFormat);
    if (!route || route->kind != RouteKind::Compress)
        return false;
    const ImgProcFrontend& frontend = *route->frontend;
    uint64_t sum = 0;
    for (int i = 0; i < frontend.GetPlaneCount(); ++i) {
        const uint64_t pitch = LeastPitch(frontend, i, width, frontend.GetDefaultRowAlignment(i));
        const uint64_t size = pitch * PlaneRows(frontend, i, height);
        auto& plane = image[static_cast<size_t>(i)];
        plane.pitch = static_cast<int32_t>(pitch);
        plane.size = static_cast<uint32_t>(size);
        if (base)
            plane.data = base + sum;
        sum += size;
    }
    if (total && sum <= std::numeric_limits<uint32_t>::max())
        *total = static_cast<uint32_t>(sum);
    return true;
}

void Orvane::SetImage(CompressInfo& info, uint8_t* base) const
{
    ComputePlanes(info.image, base, info.imageFormat, info.header.width, info.header.height, nullptr);
}

bool Orvane::CheckImage(const CompressInfo& info)
{
    const auto refuse = [this](PictureError error) {
        lastError = error;
        return false;
    };
    const FormatRoute* route = FindRoute(info.imageFormat, kAnyFormat);
    if (!route || route->kind != RouteKind::Compress)
        return refuse(kNoFrontend);
    const ImgProcFrontend& frontend = *route->frontend;
    for (int i = 0; i < frontend.GetPlaneCount(); ++i) {
        const PlaneRecord& plane = info.image[static_cast<size_t>(i)];
        const auto baseAlignment = static_cast<uintptr_t>(frontend.GetBaseAlignment(i));
        const int pitchAlignment = frontend.GetPitchAlignment(i);
        if (!plane.data || reinterpret_cast<uintptr_t>(plane.data) % baseAlignment != 0)
            return refuse(kBadAddress);
        if (plane.pitch == 0 || plane.pitch % pitchAlignment != 0)
            return refuse(kBadPitch);
        const uint64_t leastPitch = LeastPitch(frontend, i, info.header.width, pitchAlignment);
        if (plane.pitch < 0 || static_cast<uint64_t>(plane.pitch) < leastPitch)
            return refuse(kShortPitch);
        const uint64_t rows = PlaneRows(frontend, i, info.header.height);
        // The rows must lie within signed 32-bit offsets with the pitch that the host gave, too.
        if (plane.size < rows * leastPitch || rows * static_cast<uint64_t>(plane.pitch) > kMaxPlaneBytes)
            return refuse(kShortPlane);
    }
    return true;
}

void Orvane::PreparePlanes(const CompressInfo& info)
{
    const ImgProcFrontend& frontend = *info.route.frontend;
    const auto width = static_cast<int>(info.header.width);
    const auto height = static_cast<int>(info.header.height);
    PlaneArray planes{};
    frontend.PrepareBuffers(ViewOf(info.image), width, height, imagePlanes.arena.Aligned(), planes, flipRows,
                            info.compressing);
    for (int i = 0; i < frontend.planeBackend.GetPlaneCount(); ++i) {
        const PlaneInfo& plane = planes[static_cast<size_t>(i)];
        const int rows = frontend.planeBackend.GetPlaneHeight(i, height);
        imagePlanes.plane[static_cast<size_t>(i)] = {plane, static_cast<uint32_t>(plane.pitch * rows),
                                                     IsExternal(plane.data, info.image)};
    }
}

void Orvane::PrepareConvertedPlanes(const CompressInfo& info)
{
    ImgProcConverter* converter = info.route.converter;
    if (!converter) {
        convertedPlanes.arena.Free();
        return;
    }
    converter->interpolate = encodeSettings.InterpolateDownscale != 0;

    const ImgProcBackend& backend = *info.route.backend;
    const int count = backend.GetPlaneCount();
    PlaneRecords planes{};
    uint64_t sum = 0;
    for (int i = 0; i < count; ++i) {
        const int width = backend.GetPlaneWidth(i, static_cast<int>(info.header.width));
        const int rows = backend.GetPlaneHeight(i, static_cast<int>(info.header.height));
        auto& plane = planes[static_cast<size_t>(i)];
        plane.pitch = alignUp(width * backend.GetBytesPerSample(), 16);
        plane.size = static_cast<uint32_t>(plane.pitch) * static_cast<uint32_t>(rows);
        sum += plane.size;
    }
    convertedPlanes.arena.Reserve(sum + 8192);

    // Each plane starts at another offset modulo 1024, so that four streams do not meet in the same cache
    // sets.
    uint8_t* end = convertedPlanes.arena.Aligned();
    for (int i = 0; i < count; ++i) {
        auto& plane = planes[static_cast<size_t>(i)];
        plane.data = alignUp(end, 1024) + 256 * i;
        end = plane.data + plane.size;
        if (!converter->GetConvertedPlanes()[static_cast<size_t>(i)])
            plane = imagePlanes.plane[static_cast<size_t>(i)];
    }
    convertedPlanes.plane = planes;
}

void Orvane::PrepareResidualPlanes(const PlaneSet& source)
{
    uint64_t sum = 0;
    for (const PlaneRecord& plane : source.plane)
        sum += plane.size;
    residualPlanes.arena.Reserve(sum + 1024);

    uint8_t* end = residualPlanes.arena.Aligned();
    for (size_t i = 0; i < source.plane.size(); ++i) {
        PlaneRecord& plane = residualPlanes.plane[i];
        plane = source.plane[i];
        // A plane of our own is predicted in place; the host's goes to the arena, each row with the phase of
        // its source row against 16-byte boundaries, which the kernels cut rows by.
        uint8_t* own = alignUp(end, 16) + (reinterpret_cast<uintptr_t>(plane.data) & 15);
        end = own + plane.size;
        if (plane.external)
            plane.data = own;
    }
}
