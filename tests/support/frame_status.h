// How tests show the status of a frame. GoogleTest finds this by its argument.
#pragma once

#include "core/frame_parser.h"

#include <ostream>

inline std::ostream& operator<<(std::ostream& out, FrameStatus status)
{
    switch (status) {
    case FrameStatus::Ok:
        return out << "Ok";
    case FrameStatus::BadPlanes:
        return out << "BadPlanes";
    case FrameStatus::ForeignFrame:
        return out << "ForeignFrame";
    case FrameStatus::DamagedFrame:
        return out << "DamagedFrame";
    }
    return out << "status " << static_cast<int>(status);
}
