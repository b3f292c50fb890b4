#include "files/frame_start.h"

#include "common/frame_header.h"
#include "files/little_endian.h"
#include "files/pixel_layout.h"

bool IsFrameStart(std::span<const uint8_t> bytes)
{
    if (!HasMagic(bytes.data()))
        return false;
    const FrameHeader header = ReadHeader(bytes.data());
    const CompressedFormat* const format = FindCompressedFormat(header.formatCode);
    if (header.headerSize != kFrameHeaderSize || header.version > kFrameVersion || format == nullptr ||
        header.width == 0 || header.height == 0)
        return false;
    const auto first = Get<uint32_t>(bytes, kFrameHeaderSize);
    if (first != Get<uint32_t>(bytes, kFrameHeaderSize + 4))
        return false;
    if (header.blockHeight == 0) // the number of blocks is not known here
        return first >= 8;
    // Offset table, number of coders, their ids; then tables of 2 to 512 bytes.
    const uint64_t bands = (uint64_t{header.height} + header.blockHeight - 1) / header.blockHeight;
    const uint64_t blocks = bands * format->planes;
    const bool hasTables = CoderTypeOf(header) == CoderType::InFrame;
    const uint64_t least = 4 * (blocks + 1) + (hasTables ? 1 + blocks + 2 * format->planes : 0);
    const uint64_t most = 4 * (blocks + 1) + (hasTables ? 1 + blocks + 512 * format->planes : 0);
    return first >= least && first <= most;
}
