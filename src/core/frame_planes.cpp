#include "core/frame_planes.h"

#include <cassert>

namespace core {

namespace {

PlaneInfo Upward(const PlaneInfo& plane, int rows)
{
    return {RowAt(plane, rows - 1), -plane.pitch};
}

PlaneArray FieldsOf(const PlaneArray& planes, int field)
{
    PlaneArray result;
    for (size_t i = 0; i < planes.size(); ++i)
        if (planes[i].data)
            result[i] = FieldOf(planes[i], field);
    return result;
}

/// Planes of these shapes in an arena; those without rows stay null.
PlaneArray PlanesIn(const Arena& arena, const PlaneShapes& shapes)
{
    const PlaneLayout layout = LayOutPlanes(shapes);
    assert(layout.size <= arena.Capacity());
    PlaneArray planes;
    for (size_t i = 0; i < planes.size(); ++i)
        if (shapes[i].Bytes() > 0)
            planes[i] = {arena.Base() + layout.offset[i], shapes[i].pitch};
    return planes;
}

PlaneWindows WholePlanes(const PlaneArray& planes)
{
    PlaneWindows windows;
    for (size_t i = 0; i < planes.size(); ++i)
        windows[i].rows = planes[i];
    return windows;
}

} // namespace

FramePlanes PlacePlanes(const RunPlan& plan, const PlaneArray& picture, const PlaneArenas& arenas)
{
    FramePlanes planes;
    planes.picture = picture;
    planes.imageShapes = plan.route.frontend->PrepareBuffers(picture[0], static_cast<int>(plan.header.width),
                                                             static_cast<int>(plan.header.height), plan.flip);

    PlaneShapes stored{};
    for (size_t i = 0; i < stored.size(); ++i)
        if (plan.image[i].storage == Storage::Image)
            stored[i] = planes.imageShapes[i];
    planes.image = PlanesIn(arenas.image, stored);
    planes.coded = PlanesIn(arenas.converted, plan.convertedShapes);
    for (size_t i = 0; i < stored.size(); ++i) {
        if (plan.image[i].storage == Storage::Picture)
            planes.image[i] = picture[plan.image[i].hostPlane];
        if (plan.coded[i].storage != Storage::Converted)
            planes.coded[i] = planes.image[i];
    }
    return planes;
}

PlaneWindows ImageWindows(const RunPlan& plan, const FramePlanes& planes, BandRange range, uint8_t* scratch)
{
    PlaneWindows windows = WholePlanes(planes.image);
    if (plan.image[0].storage != Storage::Scratch)
        return windows;

    const int firstRow = plan.BandAt(range.first).first;
    const Band last = plan.BandAt(range.end - 1);
    PlaneShapes shapes{};
    for (size_t i = 0; i < shapes.size(); ++i) {
        if (plan.image[i].storage != Storage::Scratch)
            continue;
        windows[i].firstRow = plan.image[i].RowOf(firstRow);
        // Rows keep the phase that the front end has planned for them.
        shapes[i] = {planes.imageShapes[i].pitch,
                     plan.image[i].RowOf(last.first + last.rows) - windows[i].firstRow,
                     PhaseOfRow(planes.imageShapes[i], windows[i].firstRow)};
    }
    const PlaneLayout layout = LayOutPlanes(shapes);
    assert(scratch && layout.size <= plan.ScratchBytes(range.end - range.first));
    for (size_t i = 0; i < shapes.size(); ++i)
        if (shapes[i].Bytes() > 0)
            windows[i].rows = {scratch + layout.offset[i], shapes[i].pitch};
    return windows;
}

PlaneWindows CodedWindows(const RunPlan& plan, const FramePlanes& planes, BandRange range, uint8_t* scratch)
{
    return plan.route.converter ? WholePlanes(planes.coded) : ImageWindows(plan, planes, range, scratch);
}

void TransformBlock(const RunPlan& plan, const FramePlanes& planes, size_t band, const PlaneWindows& windows)
{
    const ImgProcFrontend& frontend = *plan.route.frontend;
    const auto height = static_cast<int>(plan.header.height);
    const auto [first, rows] = plan.BandAt(band);

    PlaneArray picture;
    for (int i = 0; i < frontend.GetPlaneCount(); ++i) {
        const PlaneInfo& plane = planes.picture[static_cast<size_t>(i)];
        PlaneInfo& view = picture[static_cast<size_t>(i)];
        const int planeFirst = frontend.GetPlaneHeight(i, first);
        const int planeRows = frontend.GetPlaneHeight(i, rows);
        if (!plan.flip) {
            view = FromRow(plane, planeFirst);
            continue;
        }
        // The last memory row of the picture is row 0 of the planes: the band lies mirrored in memory.
        view = FromRow(plane, frontend.GetPlaneHeight(i, height) - planeFirst - planeRows);
        if (!plan.compressing)
            view = Upward(view, planeRows);
    }

    PlaneArray target;
    for (size_t i = 0; i < target.size(); ++i) {
        if (!windows[i].rows.data)
            continue;
        target[i] = windows[i].From(plan.image[i].RowOf(first));
        if (plan.flip && plan.compressing)
            target[i] = Upward(target[i], plan.image[i].RowOf(rows));
    }

    const auto width = static_cast<int>(plan.header.width);
    if (plan.compressing)
        frontend.Split(picture, width, rows, target);
    else
        frontend.Join(picture, width, rows, target);
}

void ConvertBlock(const RunPlan& plan, const PlaneArray& source, const PlaneArray& target, int pass,
                  size_t band)
{
    const ImgProcConverter& converter = *plan.route.converter;
    const auto width = static_cast<int>(plan.header.width);
    const auto height = static_cast<int>(plan.header.height);
    const auto [first, rows] = plan.BandAt(band);
    if (!IsInterlaced(plan.header)) {
        converter.Convert(source, target, width, height, first, rows, pass);
        return;
    }
    for (int field = 0; field < 2; ++field)
        converter.Convert(FieldsOf(source, field), FieldsOf(target, field), width, height / 2, first / 2,
                          rows / 2, pass);
}

} // namespace core
