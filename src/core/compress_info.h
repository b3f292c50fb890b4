#pragma once

#include "common/frame_header.h"
#include "core/format_route.h"
#include "core/plane_set.h"
#include "core/run_plan.h"

#include <cstdint>
#include <memory>
#include <vector>

/// The work record of a run in either direction. The begin calls fill it; `frame`, `frameSize` and `image`
/// are set for each frame.
struct CompressInfo {
    /// Compress: the output buffer, MaxCompressedSize bytes or more. Decompress: the compressed frame, only
    /// read.
    uint8_t* frame = nullptr;
    PlaneRecords image;     ///< the host picture, from SetImage
    uint32_t frameSize = 0; ///< decompress: bytes of the compressed frame
    FormatRoute route;
    std::shared_ptr<const core::RunPlan> plan; ///< null before a begin call
    std::vector<uint8_t> configBytes; ///< copy of the configuration record with the tables that follow it
    FrameHeader header{};             ///< its first 32 bytes
    FormatId imageFormat = kUnknownFormat;
    bool compressing = false;
};
