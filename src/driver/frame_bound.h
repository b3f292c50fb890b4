#pragma once

#include "common/frame_header.h"
#include "core/orvane.h"

#include <cstdint>

namespace driver {

/// What a host has to offer as output buffer for frames of `inputId` pictures under this record: the core's
/// bound and a small share that grows with the record's configuration. 0 when there is no route, or when the
/// bound does not fit 32 bits.
uint32_t FrameSizeBound(const Orvane& codec, FormatId inputId, const FrameHeader& record);

} // namespace driver
