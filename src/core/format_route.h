#pragma once

#include "imgproc/backend/imgproc_backend.h"
#include "imgproc/frontend/imgproc_converter.h"
#include "imgproc/frontend/imgproc_frontend.h"

enum class RouteKind : int { None = 0, Compress = 1, Decompress = 2 };

/// How pixels travel between a host layout and a compressed format. Points at members of the Orvane object.
struct FormatRoute {
    RouteKind kind = RouteKind::None;
    const imgproc::ImgProcFrontend* frontend = nullptr;
    const imgproc::ImgProcConverter* converter = nullptr; ///< null when the chroma resolution stays
    const imgproc::ImgProcBackend* backend = nullptr;     ///< layout of the planes in the frame
    bool lossy = false; ///< changes colour space or chroma resolution; informative
};
