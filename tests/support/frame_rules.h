// The rules for the structure of a frame once more, written down as plainly as possible and without a line of
// the codec: what a reader has to answer to any bytes. Tests and fuzz targets hold the codec to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

/// What the answer depends on besides the frame.
struct StreamRules {
    std::span<const uint8_t> record; ///< the configuration record, 32 bytes or more
    uint64_t planes;                 ///< of the format
    uint64_t blocks; ///< in the reader's list: planes * bands of the record, after a begin call
};

namespace frame_rules {

inline constexpr int kOk = 0;
inline constexpr int kForeign = -2;
inline constexpr int kDamaged = -3;

using Bytes = std::span<const uint8_t>;

inline uint64_t Word(Bytes bytes, uint64_t at)
{
    uint64_t value = 0;
    for (uint64_t i = 0; i < 4; ++i)
        value |= uint64_t{bytes[static_cast<size_t>(at + i)]} << (8 * i);
    return value;
}

inline bool HasOrvnMagic(Bytes bytes)
{
    return std::memcmp(bytes.data(), "ORVN", 4) == 0;
}

/// 0 and everything that stands for it are one matrix; RGB has no other.
inline uint64_t Matrix(Bytes header)
{
    const uint64_t code = header[9], matrix = header[11];
    if (matrix > 2)
        return matrix;
    const bool rgb = code == 101 || code == 102 || (code >= 109 && code <= 114) || code == 116 ||
                     code == 117 || code == 120 || code == 121;
    return rgb || matrix == 0 ? 2 : matrix;
}

inline uint64_t TablesAt(Bytes header)
{
    const uint64_t flags = Word(header, 12);
    return header[8] >= 7 ? (flags >> 20) % 16 : 1 + flags % 2;
}

inline bool IsOfStream(Bytes header, Bytes record)
{
    return header[8] <= 7 && header[9] == record[9] && header[10] == record[10] &&
           Matrix(header) == Matrix(record) && Word(header, 12) / 2 % 4 == Word(record, 12) / 2 % 4 &&
           Word(header, 16) == Word(record, 16) && Word(header, 20) == Word(record, 20) &&
           TablesAt(header) == TablesAt(record);
}

/// Whether a code can have these 256 lengths.
inline bool IsCode(const uint8_t (&lengths)[256], int limit)
{
    uint64_t used = 0; // in units of the shortest possible share
    for (const uint8_t length : lengths) {
        if (length < 1 || length > limit)
            return false;
        used += uint64_t{1} << (limit - length);
    }
    return used <= uint64_t{1} << limit;
}

/// The code length tables, which reach at most to the end of the frame. 8-bit samples: 12 bits at most.
inline int CheckTables(Bytes tables, uint64_t count)
{
    constexpr int kLimit = 12;
    bool usable = true;
    size_t at = 0;
    for (uint64_t table = 0; table < count; ++table) {
        uint8_t lengths[256];
        for (size_t entries = 0; entries < 256;) {
            if (at == tables.size())
                return kDamaged;
            const uint8_t token = tables[at++];
            size_t run = 1;
            if (token >= 128) {
                if (at == tables.size())
                    return kDamaged;
                run = size_t{1} + tables[at++];
            }
            for (; run > 0 && entries < 256; --run)
                lengths[entries++] = token % 128;
        }
        usable = usable && IsCode(lengths, kLimit);
    }
    return usable ? kOk : kDamaged;
}

inline int CheckCoders(Bytes frame, uint64_t at, uint64_t blocks, uint64_t planes)
{
    if (at >= frame.size())
        return kDamaged;
    const uint64_t coders = frame[static_cast<size_t>(at++)];
    if (blocks > frame.size() - at)
        return kDamaged;
    bool idsFit = true;
    for (uint64_t block = 0; block < blocks; ++block)
        idsFit = idsFit && frame[static_cast<size_t>(at + block)] < coders;
    // A frame with a coder for each plane can do without ids.
    if (!idsFit && coders != planes)
        return kDamaged;
    return CheckTables(frame.subspan(static_cast<size_t>(at + blocks)), coders);
}

inline int CheckBlocks(Bytes frame, uint64_t table, uint64_t blocks)
{
    for (uint64_t block = 0; block < blocks; ++block) {
        const uint64_t word = table + 4 * (block + 1);
        const uint64_t start = table + Word(frame, word);
        uint64_t end = frame.size();
        if (block + 1 < blocks) {
            const uint64_t next = table + Word(frame, word + 4);
            end = next < start ? frame.size() : next;
        }
        if (start != end && (start > end || end > frame.size()))
            return kDamaged;
    }
    return kOk;
}

} // namespace frame_rules

/// What decompressing `frame` must give: 0, -2 or -3. The picture is taken to be good.
inline int ExpectedFrameStatus(std::span<const uint8_t> frame, const StreamRules& stream)
{
    using namespace frame_rules;
    if (frame.size() < 4)
        return kDamaged;
    const Bytes record = stream.record;
    const uint64_t configured = Word(record, 28);
    uint64_t table = 0;
    uint64_t blockHeight = configured;
    if (HasOrvnMagic(frame)) {
        if (frame.size() < 32)
            return kDamaged;
        table = Word(frame, 4);
        if (table > frame.size())
            return kDamaged;
        if (!IsOfStream(frame, record))
            return kForeign;
        if (Word(frame, 28) != 0)
            blockHeight = Word(frame, 28);
    }

    uint64_t blocks = stream.blocks;
    if (blockHeight != configured) {
        const uint64_t height = Word(record, 20);
        blocks = (height + blockHeight - 1) / blockHeight * stream.planes;
        if (blocks > uint64_t{1} << 20)
            return kDamaged;
    }
    const uint64_t behindTable = table + 4 * (blocks + 1);
    if (blocks > 0 && behindTable > frame.size())
        return kDamaged;
    if (const int status = CheckBlocks(frame, table, blocks); status != kOk)
        return status;
    return TablesAt(record) == 2 ? CheckCoders(frame, behindTable, blocks, stream.planes) : kOk;
}
