// Lays out a finished frame: header, offset table, coder section, blocks, tail.

#include "core/orvane.h"
#include "entropy/length_table.h"

#include <cstring>

namespace {

/// Zeroed behind the last block, so that a reader that loads whole words finds nothing odd.
constexpr size_t kTailBytes = 15;

} // namespace

void Orvane::WriteFrameStart(const CompressInfo& info)
{
    std::memcpy(info.frame, info.configBytes.data(), info.configBytes.size());

    // All offsets count from the first byte of the offset table.
    uint8_t* const table = info.frame + info.configBytes.size();
    uint8_t* out = table + sizeof(uint32_t) * (blocks.size() + 1);
    if (CoderTypeOf(info.header) == CoderType::InFrame) {
        *out++ = static_cast<uint8_t>(coders.size());
        for (const BlockInfo& block : blocks)
            *out++ = static_cast<uint8_t>(block.coderId);
        for (const auto& coder : coders) {
            const std::vector<uint32_t>& lengths = coder->GetCodeLengths();
            out += WriteLengthTable(lengths.data(), static_cast<int>(lengths.size()), out);
        }
    }
    assembly.Begin(blocks, table, static_cast<size_t>(out - table));
}

uint32_t Orvane::FinalizeFrame(const CompressInfo& info)
{
    const StageScope timing(Timer(Stage::Finalize));
    uint8_t* const tail = info.frame + info.configBytes.size() + assembly.End();
    std::memset(tail, 0, kTailBytes);

    // Even sizes only. At an even end the last reported byte is one behind the zeros and stays as the buffer
    // held it.
    const auto end = static_cast<size_t>(tail - info.frame);
    return static_cast<uint32_t>((end + 16) & ~size_t{1});
}
