#include "core/run_plan.h"

#include "common/align_up.h"
#include "common/as_size.h"
#include "core/config_record.h"
#include "entropy/code_limits.h"

#include <algorithm>
#include <cassert>

namespace core {

namespace {

/// Rows after a converter start at multiples of this many bytes.
constexpr int kConvertedRowAlignment = 16;

PlanePlans DescribePlanes(const imgproc::ImgProcBackend& backend, const FrameHeader& header)
{
    PlanePlans planes;
    for (size_t i = 0; i < backend.GetPlaneCount(); ++i) {
        PlanePlan& plane = planes[i];
        plane.width = backend.GetPlaneWidth(i, static_cast<int>(header.width));
        plane.rows = backend.GetPlaneHeight(i, static_cast<int>(header.height));
        plane.subsampling = i == 0 ? 1 : backend.GetVerticalSubsampling();
        assert(plane.rows == plane.RowOf(static_cast<int>(header.height)));
    }
    return planes;
}

PlanePlans PlanImage(const RunInputs& inputs)
{
    const imgproc::ImgProcFrontend& frontend = *inputs.route.frontend;
    // A band can go through all operations in scratch memory if no operation waits for other bands.
    const bool byBand = !inputs.route.converter && !inputs.separateRuns;
    PlanePlans planes = DescribePlanes(frontend.planeBackend, inputs.header);
    for (size_t i = 0; i < frontend.planeBackend.GetPlaneCount(); ++i) {
        const std::optional<size_t> hostPlane = frontend.GetHostPlane(i);
        planes[i].storage = hostPlane ? Storage::Picture : byBand ? Storage::Scratch : Storage::Image;
        planes[i].hostPlane = hostPlane.value_or(0);
    }
    return planes;
}

PlanePlans PlanCoded(const RunInputs& inputs, const PlanePlans& image)
{
    if (!inputs.route.converter)
        return image;
    const auto& converted = inputs.route.converter->GetConvertedPlanes();
    PlanePlans planes = DescribePlanes(*inputs.route.backend, inputs.header);
    for (size_t i = 0; i < inputs.route.backend->GetPlaneCount(); ++i) {
        planes[i].storage = converted[i] ? Storage::Converted : image[i].storage;
        planes[i].hostPlane = image[i].hostPlane;
        assert(converted[i] || (planes[i].width == image[i].width && planes[i].rows == image[i].rows));
    }
    return planes;
}

/// The rows of the front end's planes as long as PrepareBuffers may make them.
PlaneShapes LongestRows(const PlanePlans& planes, Storage storage, int pictureRows)
{
    PlaneShapes shapes{};
    for (size_t i = 0; i < planes.size(); ++i)
        if (planes[i].storage == storage)
            shapes[i] = {planes[i].width + imgproc::kMaxRowPadding, planes[i].RowOf(pictureRows)};
    return shapes;
}

std::vector<PassStep> PlanSteps(const RunInputs& inputs, bool movesSamples)
{
    std::vector<PassStep> steps;
    int step = 0;
    const auto append = [&](PassStep::Kind kind, int arg, bool waits) {
        if (waits && !steps.empty())
            ++step;
        steps.push_back({step, kind, arg});
    };
    if (!inputs.compressing)
        append(PassStep::Decode, 0, false);
    else if (movesSamples)
        append(PassStep::Transform, 0, false);

    if (const imgproc::ImgProcConverter* converter = inputs.route.converter) {
        const uint32_t blockRows = EffectiveBlockHeight(inputs.header);
        const uint32_t bandRows = IsInterlaced(inputs.header) ? blockRows / 2 : blockRows;
        for (int pass = 0; pass < converter->GetPassCount(); ++pass) {
            // A pass that reads rows of other bands waits until all bands have come this far.
            const uint32_t granule = converter->GetRowDependency(pass, inputs.interpolate);
            const bool readsOthers =
                blockRows != inputs.header.height && (granule == 0 || bandRows % granule != 0);
            append(PassStep::ConvertPass, pass, inputs.separateRuns || readsOthers);
        }
    }
    if (inputs.compressing)
        append(PassStep::Predict, 0, inputs.separateRuns);
    else if (movesSamples)
        append(PassStep::JoinPicture, 0, inputs.separateRuns);
    return steps;
}

bool CoversAllRows(const RunInputs& inputs)
{
    const int subsampling = std::max(inputs.route.backend->GetVerticalSubsampling(),
                                     inputs.route.frontend->nativeBackend.GetVerticalSubsampling());
    return inputs.listBlockHeight == inputs.header.blockHeight && GivesWholeRows(inputs.header, subsampling);
}

} // namespace

size_t RunPlan::ScratchBytes(size_t bands) const
{
    const int rows = static_cast<int>(std::min<size_t>(bands * EffectiveBlockHeight(header), header.height));
    return LayoutBound(LongestRows(image, Storage::Scratch, rows));
}

RunPlan MakeRunPlan(const RunInputs& inputs)
{
    assert(inputs.route.frontend && inputs.route.backend);
    const imgproc::ImgProcBackend& backend = *inputs.route.backend;
    const auto height = static_cast<int>(inputs.header.height);

    RunPlan plan(inputs);
    plan.coderType = CoderTypeOf(inputs.header);

    plan.planeCount = backend.GetPlaneCount();
    plan.bandCount = CountBands(inputs.header);
    FrameHeader list = inputs.header;
    list.blockHeight = inputs.listBlockHeight;
    plan.blocks = MakeBlocks(list, backend);
    plan.wholeRows = CoversAllRows(inputs);

    plan.image = PlanImage(inputs);
    plan.coded = PlanCoded(inputs, plan.image);
    for (size_t i = 0; i < plan.planeCount; ++i) {
        const PlanePlan& plane = plan.coded[i];
        if (plane.storage == Storage::Converted)
            plan.convertedShapes[i] = {alignUp(plane.width, kConvertedRowAlignment), plane.rows};
        // Residuals have no gaps between rows, so that a block is one run of symbols.
        if (plan.compressing && !plan.PredictsInPlace(i))
            plan.residualShapes[i] = {plane.width, plane.rows};
    }
    const bool movesSamples = std::ranges::any_of(plan.image, [](const PlanePlan& plane) {
        return plane.storage == Storage::Image || plane.storage == Storage::Scratch;
    });
    plan.steps = PlanSteps(inputs, movesSamples);

    plan.imageBytes = LayoutBound(LongestRows(plan.image, Storage::Image, height));
    plan.convertedBytes = LayOutPlanes(plan.convertedShapes).size;
    plan.residualBytes = LayOutPlanes(plan.residualShapes).size;
    // Plane 0 has the largest blocks, and its first is a full one.
    if (!plan.blocks.empty())
        plan.symbolsPerBlock = AsSize(plan.blocks[0].width) * AsSize(plan.blocks[0].rows);
    // Without codes in the frame, blocks have no payload.
    if (plan.compressing && plan.coderType == CoderType::InFrame)
        plan.slotBytes = entropy::CodedRoom(plan.symbolsPerBlock);
    return plan;
}

} // namespace core
