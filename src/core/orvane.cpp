#include "core/orvane.h"

#include "common/as_size.h"

#include <algorithm>
#include <cassert>
#include <cstdlib>
#include <utility>

Orvane::Orvane(bool eightBit, bool highBit) : stages(kStageCount)
{
    for (size_t i = 0; i < stages.size(); ++i)
        stages[i].name = kStageNames[i];
    SetThreadCount(0);
    BuildRoutes({.enable8Bit = eightBit, .enableHighBit = highBit});
}

void Orvane::SetThreadCount(int n)
{
    pool.SetThreadCount(n);
    ResetTimers();
}

int Orvane::ThreadCount() const
{
    return static_cast<int>(pool.GetThreadCount());
}

void Orvane::ResetTimers()
{
    for (StageTimers& stage : stages)
        stage.perThread.assign(AsSize(ThreadCount()), {});
}

void Orvane::BuildRoutes(const RouteInputs& inputs)
{
    // Built separately, then swapped in: if memory runs out, the table in force stays.
    routeTable = std::make_unique<const RouteTable>(routeObjects, inputs);
}

void Orvane::ApplyDecodeSettings(const DecodeSettings& settings)
{
    RouteInputs inputs = routeTable->Inputs();
    inputs.decode = settings;
    inputs.colorMatrix = inputs.encode.ColorMatrix;
    inputs.fullRange = inputs.encode.FullRangeYUV != 0;
    BuildRoutes(inputs);
}

void Orvane::ApplyEncodeSettings(const EncodeSettings& settings)
{
    RouteInputs inputs = routeTable->Inputs();
    EncodeSettings& encode = inputs.encode;
    encode = settings;
    encode.CompMethod = std::min(encode.CompMethod, static_cast<uint32_t>(PredictMethod::Dynamic));
    if (encode.ColorMatrix == 0 || encode.ColorMatrix > 2)
        encode.ColorMatrix = 2;
    if (encode.CoderType > 3)
        encode.CoderType = 2;
    inputs.colorMatrix = encode.ColorMatrix;
    inputs.fullRange = encode.FullRangeYUV != 0;
    BuildRoutes(inputs);
}

void Orvane::BeginCompress(CompressInfo& info, const uint8_t* record, size_t size, FormatId inputId)
{
    BeginRun(info, record, size, inputId, true);
}

void Orvane::BeginDecompress(CompressInfo& info, const uint8_t* record, size_t size, FormatId outputId)
{
    BeginRun(info, record, size, outputId, false);
}

void Orvane::BeginRun(CompressInfo& info, const uint8_t* record, size_t size, FormatId imageFormat,
                      bool compress)
{
    info.source = {};
    info.image = {};
    info.route = {};
    info.plan.reset();
    // A record that fails the test leaves the one of the last run in force.
    if (ParseConfig(&info.configBytes, record, size))
        info.header = ReadHeader(info.configBytes.data());
    info.imageFormat = imageFormat;
    info.compressing = compressing = compress;

    RouteInputs inputs = routeTable->Inputs();
    inputs.colorMatrix = EffectiveMatrix(info.header.formatCode, info.header.colorMatrix);
    inputs.fullRange = IsFullRange(info.header);
    BuildRoutes(inputs);
    const FormatRoute* route = compress ? routeTable->Find(imageFormat, info.header.formatCode)
                                        : routeTable->Find(info.header.formatCode, imageFormat);
    // The caller has asked CanCompress or CanDecompress before; without a route nothing sensible can follow.
    if (!route)
        std::abort();
    info.route = *route;
    const FormatRoute* picture = routeTable->FindHost(imageFormat);
    auto plan = MakePlan({.header = info.header,
                          .route = *route,
                          .compressing = compress,
                          .flip = bottomUp && picture && picture->frontend->SupportsFlip(),
                          .listBlockHeight = info.header.blockHeight});
    if (compress)
        encoder.Begin(*plan);
    else
        decoder.Begin(*plan, info.configBytes);
    ResetTimers();
    info.plan = std::move(plan);
}

std::shared_ptr<const core::RunPlan> Orvane::MakePlan(core::RunInputs inputs) const
{
    inputs.interpolate = Interpolates();
    return std::make_shared<const core::RunPlan>(core::MakeRunPlan(inputs));
}

void Orvane::SetSource(CompressInfo& info, const uint8_t* base) const
{
    assert(info.compressing);
    ComputePlanes(info.source, base, info.imageFormat, info.header.width, info.header.height, nullptr);
}

void Orvane::SetImage(CompressInfo& info, uint8_t* base) const
{
    assert(!info.compressing);
    ComputePlanes(info.image, base, info.imageFormat, info.header.width, info.header.height, nullptr);
}

bool Orvane::CheckImage(const CompressInfo& info, const ConstPlaneRecords& picture)
{
    const FormatRoute* route = routeTable->FindHost(info.imageFormat);
    const PictureError error = core::CheckImage(route, picture, info.header.width, info.header.height);
    if (error != kPictureOk)
        lastError = error;
    return error == kPictureOk;
}

uint32_t Orvane::Compress(CompressInfo& info)
{
    assert(info.plan && info.compressing);
    if (!CheckImage(info, info.source))
        return 0;
    // Interpolation and method are those of the settings at each frame.
    if (info.plan->interpolate != Interpolates())
        info.plan = MakePlan(*info.plan);
    const auto method = static_cast<PredictMethod>(GetEncodeSettings().CompMethod);
    return encoder.Encode(*info.plan, {info.configBytes, ViewOf(info.source), method, info.output},
                          {pool, stages});
}

FrameStatus Orvane::Decompress(CompressInfo& info)
{
    assert(info.plan && !info.compressing);
    if (!CheckImage(info, ReadOnly(info.image)))
        return FrameStatus::BadPlanes;
    return decoder.Decode(*info.plan, info.frame, ViewOf(info.image), {pool, stages});
}
