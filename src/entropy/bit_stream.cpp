#include "entropy/bit_stream.h"

#include "common/as_size.h"
#include "entropy/big_endian.h"

#include <cassert>

namespace entropy {

void BitStreamInit(OutBitStream& stream, uint8_t* start, size_t size)
{
    stream.bits = 0;
    stream.count = 64;
    stream.cursor = start;
    stream.begin = start;
    stream.end = start + size;
}

void BitStreamInit(InBitStream& stream, const uint8_t* start, size_t size)
{
    stream.bits = 0;
    stream.count = 64;
    stream.cursor = start;
    stream.end = start + size;
    stream.scratchPos = 0;
    stream.scratchCount = 0;
}

size_t BitStreamFinish(OutBitStream& stream)
{
    assert(stream.count >= 57 && stream.count <= 64);
    if (stream.count != 64) {
        StoreBigEndian64(stream.cursor, stream.bits << stream.count);
        ++stream.cursor; // at most seven bits are pending
    }
    stream.bits = 0;
    stream.count = 64;
    assert(stream.cursor <= stream.end);
    return AsSize(stream.cursor - stream.begin);
}

} // namespace entropy
