#include "files/avi_chunks.h"
#include "files/little_endian.h"

AviHead ReadAviHead(const ByteSource& source, uint64_t at)
{
    std::array<uint8_t, avi::kListHead> bytes{};
    source.Read(at, bytes);
    return {Get<uint32_t>(bytes, 0), Get<uint32_t>(bytes, 4), Get<uint32_t>(bytes, 8)};
}

AviChain WalkChunks(const ByteSource& source, AviChunkTaker& taker)
{
    const uint64_t size = source.Size();
    AviChain chain;
    uint64_t riffEnd = 0; // of the latest segment, as it says
    for (uint64_t& at = chain.end; at < size;) {
        const uint64_t left = size - at;
        if (left < avi::kChunkHead) {
            chain.cut = at < riffEnd;
            return chain;
        }
        const AviHead head = ReadAviHead(source, at);
        const uint64_t payload = at + avi::kChunkHead;
        if (IsSteppedInto(head) && left >= avi::kListHead) {
            if (head.id == avi::kRiff)
                riffEnd = payload + head.size;
            taker.TakeList(at, head);
            at += avi::kListHead;
        } else if (!IsPlausibleId(head.id)) {
            ++chain.brokenPlaces;
            return chain;
        } else if (head.size > left - avi::kChunkHead) {
            chain.cut = true;
            return chain;
        } else {
            taker.TakeChunk({head.id, payload, head.size});
            at = payload + head.size;
            // Some writers leave out the padding byte of an odd size.
            if (head.size % 2 != 0) {
                const AviHead unpadded = ReadAviHead(source, at);
                if (!StreamOfFrame(unpadded.id) || unpadded.third != kOrvaneMagic)
                    ++at;
            }
        }
    }
    return chain;
}
