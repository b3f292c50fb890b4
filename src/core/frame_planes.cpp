#include "core/frame_planes.h"

#include <cassert>
#include <type_traits>

namespace core {

namespace {

template <class Sample>
BasicPlane<Sample> Upward(const BasicPlane<Sample>& plane, int rows)
{
    return {RowAt(plane, rows - 1), -plane.pitch};
}

template <class Sample>
BasicPlaneArray<Sample> FieldsOf(const BasicPlaneArray<Sample>& planes, int field)
{
    BasicPlaneArray<Sample> result;
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

template <class Sample>
FramePlanes<Sample> Place(const RunPlan& plan, const BasicPlaneArray<Sample>& picture,
                          const PlaneArenas& arenas)
{
    FramePlanes<Sample> planes;
    planes.picture = picture;
    planes.imageShapes = plan.route.frontend->PrepareBuffers(picture[0], static_cast<int>(plan.header.width),
                                                             static_cast<int>(plan.header.height), plan.flip);

    PlaneShapes stored{};
    for (size_t i = 0; i < stored.size(); ++i)
        if (plan.image[i].storage == Storage::Image)
            stored[i] = planes.imageShapes[i];
    planes.ownImage = PlanesIn(arenas.image, stored);
    planes.ownCoded = PlanesIn(arenas.converted, plan.convertedShapes);
    for (size_t i = 0; i < stored.size(); ++i) {
        if (plan.coded[i].storage != Storage::Converted)
            planes.ownCoded[i] = planes.ownImage[i];
        if (plan.image[i].storage == Storage::Picture)
            planes.image[i] = picture[plan.image[i].hostPlane];
        else
            planes.image[i] = planes.ownImage[i];
        if (plan.coded[i].storage == Storage::Converted)
            planes.coded[i] = planes.ownCoded[i];
        else
            planes.coded[i] = planes.image[i];
    }
    return planes;
}

template <class Sample>
BasicPlaneWindows<Sample> WholePlanes(const BasicPlaneArray<Sample>& planes)
{
    BasicPlaneWindows<Sample> windows;
    for (size_t i = 0; i < planes.size(); ++i)
        windows[i].rows = planes[i];
    return windows;
}

template <class Sample>
BasicPlaneWindows<Sample> WindowsOfImage(const RunPlan& plan, const PlaneShapes& imageShapes,
                                         const BasicPlaneArray<Sample>& image, BandRange range,
                                         std::type_identity_t<Sample>* scratch)
{
    BasicPlaneWindows<Sample> windows = WholePlanes(image);
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
        shapes[i] = {imageShapes[i].pitch, plan.image[i].RowOf(last.first + last.rows) - windows[i].firstRow,
                     PhaseOfRow(imageShapes[i], windows[i].firstRow)};
    }
    const PlaneLayout layout = LayOutPlanes(shapes);
    assert(scratch && layout.size <= plan.ScratchBytes(range.end - range.first));
    for (size_t i = 0; i < shapes.size(); ++i)
        if (shapes[i].Bytes() > 0)
            windows[i].rows = {scratch + layout.offset[i], shapes[i].pitch};
    return windows;
}

template <class Sample>
BasicPlaneWindows<Sample> WindowsOfFrame(const RunPlan& plan, const PlaneShapes& imageShapes,
                                         const BasicPlaneArray<Sample>& coded, BandRange range,
                                         std::type_identity_t<Sample>* scratch)
{
    return plan.route.converter ? WholePlanes(coded)
                                : WindowsOfImage(plan, imageShapes, coded, range, scratch);
}

/// The rows of a band in the host's picture. With `flip` the last memory row of the picture is row 0 of the
/// planes: the band lies mirrored in memory.
template <class Sample>
BasicPlaneArray<Sample> BandOfPicture(const RunPlan& plan, const BasicPlaneArray<Sample>& picture, Band band)
{
    const imgproc::ImgProcFrontend& frontend = *plan.route.frontend;
    BasicPlaneArray<Sample> view;
    for (size_t i = 0; i < frontend.GetPlaneCount(); ++i) {
        const int height = frontend.GetPlaneHeight(i, static_cast<int>(plan.header.height));
        const int first = frontend.GetPlaneHeight(i, band.first);
        const int rows = frontend.GetPlaneHeight(i, band.rows);
        view[i] = FromRow(picture[i], plan.flip ? height - first - rows : first);
    }
    return view;
}

template <class Sample>
BasicPlaneArray<Sample> BandOfPlanes(const RunPlan& plan, const BasicPlaneWindows<Sample>& windows, Band band)
{
    BasicPlaneArray<Sample> view;
    for (size_t i = 0; i < view.size(); ++i)
        if (windows[i].rows.data)
            view[i] = windows[i].From(plan.image[i].RowOf(band.first));
    return view;
}

} // namespace

FramePlanes<uint8_t> PlacePlanes(const RunPlan& plan, const PlaneArray& picture, const PlaneArenas& arenas)
{
    return Place(plan, picture, arenas);
}

FramePlanes<const uint8_t> PlacePlanes(const RunPlan& plan, const ConstPlaneArray& picture,
                                       const PlaneArenas& arenas)
{
    return Place(plan, picture, arenas);
}

PlaneWindows ImageWindows(const RunPlan& plan, const PlaneShapes& shapes, const PlaneArray& image,
                          BandRange range, uint8_t* scratch)
{
    return WindowsOfImage(plan, shapes, image, range, scratch);
}

ConstPlaneWindows ImageWindows(const RunPlan& plan, const PlaneShapes& shapes, const ConstPlaneArray& image,
                               BandRange range, uint8_t* scratch)
{
    return WindowsOfImage(plan, shapes, image, range, scratch);
}

PlaneWindows CodedWindows(const RunPlan& plan, const PlaneShapes& shapes, const PlaneArray& coded,
                          BandRange range, uint8_t* scratch)
{
    return WindowsOfFrame(plan, shapes, coded, range, scratch);
}

ConstPlaneWindows CodedWindows(const RunPlan& plan, const PlaneShapes& shapes, const ConstPlaneArray& coded,
                               BandRange range, uint8_t* scratch)
{
    return WindowsOfFrame(plan, shapes, coded, range, scratch);
}

void TransformBlock(const RunPlan& plan, const ConstPlaneArray& picture, size_t band,
                    const PlaneWindows& windows)
{
    assert(plan.compressing);
    const Band rows = plan.BandAt(band);
    PlaneArray planes = BandOfPlanes(plan, windows, rows);
    for (size_t i = 0; i < planes.size(); ++i)
        if (plan.flip && planes[i].data)
            planes[i] = Upward(planes[i], plan.image[i].RowOf(rows.rows));
    plan.route.frontend->Split(BandOfPicture(plan, picture, rows), static_cast<int>(plan.header.width),
                               rows.rows, planes);
}

void TransformBlock(const RunPlan& plan, const PlaneArray& picture, size_t band,
                    const ConstPlaneWindows& windows)
{
    assert(!plan.compressing);
    const imgproc::ImgProcFrontend& frontend = *plan.route.frontend;
    const Band rows = plan.BandAt(band);
    PlaneArray view = BandOfPicture(plan, picture, rows);
    for (size_t i = 0; i < frontend.GetPlaneCount(); ++i)
        if (plan.flip)
            view[i] = Upward(view[i], frontend.GetPlaneHeight(i, rows.rows));
    frontend.Join(view, static_cast<int>(plan.header.width), rows.rows, BandOfPlanes(plan, windows, rows));
}

void ConvertBlock(const RunPlan& plan, const ConstPlaneArray& source, const PlaneArray& target, int pass,
                  size_t band)
{
    const imgproc::ImgProcConverter& converter = *plan.route.converter;
    const auto width = static_cast<int>(plan.header.width);
    const auto height = static_cast<int>(plan.header.height);
    const auto [first, rows] = plan.BandAt(band);
    if (!IsInterlaced(plan.header)) {
        converter.Convert(source, target, width, height, first, rows, pass, plan.interpolate);
        return;
    }
    for (int field = 0; field < 2; ++field)
        converter.Convert(FieldsOf(source, field), FieldsOf(target, field), width, height / 2, first / 2,
                          rows / 2, pass, plan.interpolate);
}

} // namespace core
