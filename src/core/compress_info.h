#pragma once

#include "common/frame_header.h"
#include "core/format_route.h"
#include "core/frame_parser.h"
#include "core/plane_set.h"
#include "core/run_plan.h"

#include <cstdint>
#include <memory>
#include <vector>

/// The work record of a run in either direction. The begin calls fill it; what a frame is made of and what it
/// goes to is set for each frame.
struct CompressInfo {
    ConstPlaneRecords source;  ///< compress: the host picture, from SetSource
    uint8_t* output = nullptr; ///< compress: for the frame, MaxCompressedSize bytes or more
    core::FrameBytes frame;    ///< decompress: the compressed frame
    PlaneRecords image;        ///< decompress: the host picture, from SetImage
    FormatRoute route;
    std::shared_ptr<const core::RunPlan> plan; ///< null before a begin call
    std::vector<uint8_t> configBytes; ///< copy of the configuration record with the tables that follow it
    FrameHeader header{};             ///< its first 32 bytes
    FormatId imageFormat = kUnknownFormat;
    bool compressing = false;
};
