#include "core/frame_writer.h"

#include "core/frame_layout.h"
#include "entropy/length_table.h"

#include <cassert>
#include <cstring>

namespace core {

size_t WriteCoderSection(std::span<const BlockInfo> blocks, std::span<const CodeLengths> coders, uint8_t* out)
{
    size_t size = 0;
    out[size++] = static_cast<uint8_t>(coders.size());
    for (const BlockInfo& block : blocks) {
        assert(block.coderId < coders.size());
        out[size++] = static_cast<uint8_t>(block.coderId);
    }
    for (const CodeLengths& lengths : coders)
        size += entropy::WriteLengthTable(lengths.data(), lengths.size(), out + size);
    return size;
}

uint32_t FinalizeFrame(uint8_t* frame, size_t end)
{
    std::memset(frame + end, 0, kTailBytes);
    return static_cast<uint32_t>(FrameSize(end));
}

} // namespace core
