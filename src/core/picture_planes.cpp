// Where the planes of a frame stand: in the host's picture, or in one of our three arenas.

#include "common/align_up.h"
#include "core/block_list.h"
#include "core/orvane.h"
#include "core/picture_layout.h"

#include <limits>

namespace {

/// Each plane starts at another offset modulo 1024, so that four streams do not meet in the same cache sets.
constexpr int kPlaneStagger = 256;

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

    uint8_t* end = convertedPlanes.arena.Aligned();
    for (int i = 0; i < count; ++i) {
        auto& plane = planes[static_cast<size_t>(i)];
        plane.data = alignUp(end, 1024) + kPlaneStagger * i;
        end = plane.data + plane.size;
        if (!converter->GetConvertedPlanes()[static_cast<size_t>(i)])
            plane = imagePlanes.plane[static_cast<size_t>(i)];
    }
    convertedPlanes.plane = planes;
}

void Orvane::PrepareResidualPlanes(const CompressInfo& info, const PlaneSet& source)
{
    const ImgProcBackend& backend = *info.route.backend;
    residualPlanes.plane = {};
    uint64_t sum = 0;
    for (int i = 0; i < backend.GetPlaneCount(); ++i) {
        PlaneRecord& plane = residualPlanes.plane[static_cast<size_t>(i)];
        const PlaneRecord& samples = source.plane[static_cast<size_t>(i)];
        // A plane of our own that stands as a whole is predicted in place.
        if (!samples.external && !planesByBand) {
            plane = samples;
            continue;
        }
        // Without gaps, so that a block is one run of symbols.
        plane.pitch = backend.GetPlaneWidth(i, static_cast<int>(info.header.width));
        plane.size = static_cast<uint32_t>(plane.pitch) *
                     static_cast<uint32_t>(backend.GetPlaneHeight(i, static_cast<int>(info.header.height)));
        sum += alignUp(uint64_t{plane.size}, uint64_t{64});
    }
    residualPlanes.arena.Reserve(sum + 64);
    uint8_t* end = alignUp(residualPlanes.arena.Aligned(), 64);
    for (PlaneRecord& plane : residualPlanes.plane)
        if (!plane.data) {
            plane.data = end;
            end += alignUp(uint64_t{plane.size}, uint64_t{64});
        }
}

void Orvane::PrepareBandScratch(const CompressInfo& info, int bandCount)
{
    planesByBand = bandCount > 0 && !info.route.converter;
    if (!planesByBand)
        return;
    const ImgProcBackend& backend = info.route.frontend->planeBackend;
    const auto rows = static_cast<int>(EffectiveBlockHeight(info.header)) * bandCount;
    uint64_t sum = 0;
    for (int i = 0; i < backend.GetPlaneCount(); ++i) {
        const PlaneRecord& plane = imagePlanes.plane[static_cast<size_t>(i)];
        if (!plane.external)
            sum +=
                static_cast<uint64_t>(plane.pitch) * static_cast<uint64_t>(backend.GetPlaneHeight(i, rows));
    }
    bandScratch.resize(static_cast<size_t>(ThreadCount()));
    for (Arena& arena : bandScratch)
        arena.Reserve(sum + 8192);
}

PlaneWindows Orvane::WindowsOf(const CompressInfo& info, const PlaneSet& set, BandRange range, int thread)
{
    PlaneWindows windows;
    for (size_t i = 0; i < windows.size(); ++i)
        windows[i].rows = set.plane[i];
    if (!planesByBand)
        return windows;

    const ImgProcBackend& backend = info.route.frontend->planeBackend;
    const int firstRow = BandOf(info.header, range.first).first;
    const Band last = BandOf(info.header, range.end - 1);
    uint8_t* end = bandScratch[static_cast<size_t>(thread)].Aligned();
    for (int i = 0; i < backend.GetPlaneCount(); ++i) {
        auto& window = windows[static_cast<size_t>(i)];
        if (set.plane[static_cast<size_t>(i)].external)
            continue;
        // Rows keep the place against 64-byte boundaries that the front end has planned for them.
        window.firstRow = backend.GetPlaneHeight(i, firstRow);
        const auto phase = reinterpret_cast<uintptr_t>(RowAt(window.rows, window.firstRow)) % 64;
        window.rows.data = alignUp(end, 1024) + kPlaneStagger * i + phase;
        end = RowAt(window.rows, backend.GetPlaneHeight(i, last.first + last.rows) - window.firstRow);
    }
    return windows;
}
