#include "core/frame_writer.h"

#include "core/frame_layout.h"
#include "entropy/length_table.h"

#include <cassert>
#include <cstring>

namespace core {

size_t WriteCoderSection(std::span<const BlockInfo> blocks, std::span<const CodeLengths> coders, uint8_t* out)
{
    uint8_t* at = out;
    *at++ = static_cast<uint8_t>(coders.size());
    for (const BlockInfo& block : blocks) {
        assert(block.coderId < coders.size());
        *at++ = static_cast<uint8_t>(block.coderId);
    }
    for (const CodeLengths& lengths : coders)
        at += WriteLengthTable(lengths.data(), static_cast<int>(lengths.size()), at);
    return static_cast<size_t>(at - out);
}

uint32_t FinalizeFrame(uint8_t* frame, size_t end)
{
    std::memset(frame + end, 0, kTailBytes);
    return static_cast<uint32_t>(FrameSize(end));
}

} // namespace core
