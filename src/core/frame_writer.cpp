// Lays out a finished frame: header, offset table, coder section, blocks, tail.

#include "core/orvane.h"
#include "entropy/length_table.h"

#include <cstring>

namespace {

/// Zeroed behind the last block, so that a reader that loads whole words finds nothing odd.
constexpr size_t kTailBytes = 15;

/// A smaller frame is put together sooner than other threads are called.
constexpr size_t kBytesWorthARun = 64 << 10;

void StoreWord(uint8_t* at, size_t value)
{
    const auto word = static_cast<uint32_t>(value);
    std::memcpy(at, &word, sizeof word);
}

} // namespace

uint32_t Orvane::FinalizeFrame(const CompressInfo& info)
{
    const StageScope timing(Timer(Stage::Finalize));
    std::memcpy(info.frame, info.configBytes.data(), info.configBytes.size());

    // All offsets count from the first byte of the offset table.
    uint8_t* const table = info.frame + info.configBytes.size();
    size_t offset = sizeof(uint32_t) * (blocks.size() + 1);
    if (CoderTypeOf(info.header) == CoderType::InFrame) {
        uint8_t* out = table + offset;
        *out++ = static_cast<uint8_t>(coders.size());
        for (const BlockInfo& block : blocks)
            *out++ = static_cast<uint8_t>(block.coderId);
        for (const auto& coder : coders) {
            const std::vector<uint32_t>& lengths = coder->GetCodeLengths();
            out += WriteLengthTable(lengths.data(), static_cast<int>(lengths.size()), out);
        }
        offset = static_cast<size_t>(out - table);
    }

    StoreWord(table, offset); // the first block's offset once more
    uint8_t* word = table;
    for (BlockInfo& block : blocks) {
        word += sizeof(uint32_t);
        StoreWord(word, offset);
        block.dataOffset = offset;
        offset += kBlockHeadBytes + block.compressedSize;
    }
    const auto copyBlock = [&](int index, int) {
        const BlockInfo& block = blocks[static_cast<size_t>(index)];
        uint8_t* const out = table + block.dataOffset;
        out[0] = block.flags;
        out[1] = static_cast<uint8_t>(block.predictor);
        std::memcpy(out + kBlockHeadBytes, block.compressed.data(), block.compressedSize);
    };
    const auto count = static_cast<int>(blocks.size());
    if (offset >= kBytesWorthARun)
        pool.Run(count, copyBlock);
    else
        for (int index = 0; index < count; ++index)
            copyBlock(index, 0);
    std::memset(table + offset, 0, kTailBytes);

    // Even sizes only. At an even end the last reported byte is one behind the zeros and stays as the buffer
    // held it.
    const auto end = static_cast<size_t>(table + offset - info.frame);
    return static_cast<uint32_t>((end + 16) & ~size_t{1});
}
