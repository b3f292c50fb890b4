#include "entropy/bit_stream.h"

#include "entropy/big_endian.h"

#include <cassert>

void BitStreamInit(BitStream& stream, uint8_t* start, uint64_t size)
{
    stream.bits = 0;
    stream.count = 64;
    stream.cursor = start;
    stream.begin = start;
    stream.end = start + size;
    stream.scratchPos = 0;
    stream.scratchCount = 0;
}

void BitStreamInit(BitStream& stream, const uint8_t* start, uint64_t size)
{
    // One record serves both directions; what reads never stores through its pointers.
    BitStreamInit(stream, const_cast<uint8_t*>(start), size);
}

int64_t BitStreamFinish(BitStream& stream)
{
    assert(stream.count >= 57 && stream.count <= 64);
    if (stream.count != 64) {
        StoreBigEndian64(stream.cursor, stream.bits << stream.count);
        ++stream.cursor; // at most seven bits are pending
    }
    stream.bits = 0;
    stream.count = 64;
    return stream.cursor - stream.begin;
}
