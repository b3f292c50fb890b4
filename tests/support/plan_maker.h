// Plans of runs without the class Orvane, for tests of one object alone.
#pragma once

#include "core/route_table.h"
#include "core/run_plan.h"

#include <stdexcept>

/// What a plan of a test differs in.
struct PlanChoice {
    FormatId host = kHostI420;
    FormatId code = kCodeYuv420;
    uint32_t width = 64;
    uint32_t height = 60;
    bool compressing = true;
    bool interlaced = false;
    uint32_t blockHeight = 28;
    CoderType coderType = CoderType::InFrame;
};

/// Routes and all that they point at.
class PlanMaker
{
  public:
    FrameHeader RecordOf(const PlanChoice& choice) const
    {
        FrameHeader record;
        if (!table.FillConfig(record, choice.host, choice.width, choice.height, choice.code))
            throw std::invalid_argument("no route for this plan");
        record.flags = kFlagAlwaysSet | static_cast<uint32_t>(choice.coderType) << kCoderTypeShift |
                       (choice.interlaced ? kFlagInterlaced : 0U);
        record.blockHeight = choice.blockHeight;
        return record;
    }

    core::RunInputs InputsOf(const PlanChoice& choice)
    {
        const FormatRoute* route =
            choice.compressing ? table.Find(choice.host, choice.code) : table.Find(choice.code, choice.host);
        if (!route)
            throw std::invalid_argument("no route for this plan");
        return {.header = RecordOf(choice),
                .route = *route,
                .compressing = choice.compressing,
                .interpolate = true,
                .listBlockHeight = choice.blockHeight};
    }

    core::RunPlan Make(const PlanChoice& choice) { return core::MakeRunPlan(InputsOf(choice)); }

    RouteObjects objects;
    const RouteTable table{objects,
                           {.decode = {.DecompSettings_YUV400 = 0xFFFFFFFF,
                                       .DecompSettings_YUV420 = 0xFFFFFFFF,
                                       .DecompSettings_YUV422 = 0xFFFFFFFF,
                                       .DecompSettings_YUV444 = 0xFFFFFFFF}}};
};
