#include "driver/frame_bound.h"

#include <algorithm>
#include <limits>

namespace driver {

namespace {

/// The share of the record: format, matrix and flags as digits of one number, and the coder type.
uint64_t RecordShare(const FrameHeader& record)
{
    const uint32_t format = std::clamp<uint32_t>(record.formatCode, 101, 132) - 101;
    const uint32_t matrix = std::clamp<uint32_t>(record.colorMatrix, 1, 6);
    const uint32_t digits = (format * 6 + matrix) * 32 + (record.flags & 31);
    const uint32_t stored = StoredCoderType(record);
    const uint32_t coderType = record.version < 7 ? stored : std::clamp<uint32_t>(stored, 1, 6);
    return 2 * (coderType + uint64_t{6} * digits);
}

} // namespace

uint32_t FrameSizeBound(const Orvane& codec, FormatId inputId, const FrameHeader& record)
{
    const uint32_t frame = codec.MaxCompressedSize(inputId, record.width, record.height, record.formatCode);
    const uint64_t bound = frame + RecordShare(record);
    return frame == 0 || bound > std::numeric_limits<uint32_t>::max() ? 0 : static_cast<uint32_t>(bound);
}

} // namespace driver
