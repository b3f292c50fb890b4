// The parts of both pipelines that work on one row band of the picture: front end and converter.

#include "core/block_list.h"
#include "core/orvane.h"

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

} // namespace

void Orvane::AddConvertPasses(const CompressInfo& info, bool separateRuns, std::vector<PassStep>& list) const
{
    const ImgProcConverter* converter = info.route.converter;
    if (!converter)
        return;
    const uint32_t blockRows = EffectiveBlockHeight(info.header);
    const uint32_t bandRows = IsInterlaced(info.header) ? blockRows / 2 : blockRows;
    for (int pass = 0; pass < converter->GetPassCount(); ++pass) {
        int step = list.back().step;
        if (separateRuns) {
            ++step;
        } else if (blockRows != info.header.height) {
            // A pass that reads rows of other bands waits until all bands have come this far.
            const uint32_t granule = converter->GetRowDependency(pass, info.header);
            if (granule == 0 || bandRows % granule != 0)
                ++step;
        }
        list.push_back({step, PassStep::ConvertPass, pass});
    }
}

void Orvane::TransformBlock(const CompressInfo& info, int band, const PlaneWindows& windows)
{
    const ImgProcFrontend& frontend = *info.route.frontend;
    const auto height = static_cast<int>(info.header.height);
    const auto [first, rows] = BandOf(info.header, band);

    PlaneArray picture{};
    for (int i = 0; i < frontend.GetPlaneCount(); ++i) {
        const PlaneInfo& plane = info.image[static_cast<size_t>(i)];
        const int planeFirst = frontend.GetPlaneHeight(i, first);
        const int planeRows = frontend.GetPlaneHeight(i, rows);
        auto& view = picture[static_cast<size_t>(i)];
        if (!flipRows) {
            view = FromRow(plane, planeFirst);
            continue;
        }
        // The last memory row of the picture is row 0 of the planes: the band lies mirrored in memory.
        view = FromRow(plane, frontend.GetPlaneHeight(i, height) - planeFirst - planeRows);
        if (!info.compressing)
            view = Upward(view, planeRows);
    }

    PlaneArray planes{};
    for (int i = 0; i < frontend.planeBackend.GetPlaneCount(); ++i) {
        auto& view = planes[static_cast<size_t>(i)];
        view = windows[static_cast<size_t>(i)].From(frontend.planeBackend.GetPlaneHeight(i, first));
        if (flipRows && info.compressing)
            view = Upward(view, frontend.planeBackend.GetPlaneHeight(i, rows));
    }

    const auto width = static_cast<int>(info.header.width);
    if (info.compressing)
        frontend.Split(picture, width, rows, planes);
    else
        frontend.Join(picture, width, rows, planes);
}

void Orvane::ConvertBlock(const CompressInfo& info, const PlaneSet& source, const PlaneSet& target, int pass,
                          int band)
{
    const ImgProcConverter& converter = *info.route.converter;
    const auto width = static_cast<int>(info.header.width);
    const auto height = static_cast<int>(info.header.height);
    const auto [first, rows] = BandOf(info.header, band);
    const PlaneArray from = ViewOf(source.plane);
    const PlaneArray to = ViewOf(target.plane);
    if (!IsInterlaced(info.header)) {
        converter.Convert(from, to, width, height, first, rows, pass);
        return;
    }
    for (int field = 0; field < 2; ++field)
        converter.Convert(FieldsOf(from, field), FieldsOf(to, field), width, height / 2, first / 2, rows / 2,
                          pass);
}
