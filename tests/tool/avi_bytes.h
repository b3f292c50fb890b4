// AVI files byte by byte: as other writers make them, and where things stand in them.
#pragma once

#include "files/avi_records.h"
#include "files/fourcc.h"
#include "files/little_endian.h"
#include "tool/tool_test_support.h"

#include <gtest/gtest.h>

#include <cstring>

inline std::vector<Bytes> SomeFrames(size_t count)
{
    std::vector<Bytes> frames;
    for (size_t i = 0; i < count; ++i) // odd sizes too: chunks are padded
        frames.push_back(MakeFrame(40 + i * 7 % 61, static_cast<uint8_t>(i + 1)));
    return frames;
}

inline uint32_t WordAt(const Bytes& bytes, size_t at)
{
    return Get<uint32_t>(bytes, at);
}

inline void SetWord(Bytes& bytes, size_t at, uint32_t value)
{
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

/// Offset of the first place with these four characters at or behind `from`.
inline size_t Find(const Bytes& bytes, uint32_t fourcc, size_t from = 0)
{
    for (size_t at = from; at + 4 <= bytes.size(); ++at)
        if (WordAt(bytes, at) == fourcc)
            return at;
    ADD_FAILURE() << "no " << PrintableFourCC(fourcc);
    return 0;
}

/// Builds AVI files of other writers, chunk by chunk.
struct OtherWriter {
    Bytes bytes;

    void Chunk(uint32_t id, const Bytes& payload, bool pad = true)
    {
        Put<uint32_t>(bytes, id);
        Put<uint32_t>(bytes, static_cast<uint32_t>(payload.size()));
        PutBytes(bytes, payload);
        if (pad && payload.size() % 2 != 0)
            bytes.push_back(0);
    }
    void List(uint32_t id, uint32_t type, uint32_t size)
    {
        Put<uint32_t>(bytes, id);
        Put<uint32_t>(bytes, size);
        Put<uint32_t>(bytes, type);
    }
    void Stream(uint32_t type, uint32_t handler, const Bytes& format)
    {
        Bytes header;
        Put<uint32_t>(header, type);
        Put<uint32_t>(header, handler);
        header.resize(56);
        List(avi::kList, avi::kStrl, static_cast<uint32_t>(4 + 8 + 56 + 8 + avi::Padded(format.size())));
        Chunk(avi::kStrh, header);
        Chunk(avi::kStrf, format);
    }
};

inline Bytes OtherBitmapInfo(uint32_t compression)
{
    Bytes info = MakeBitmapInfo(64, 48);
    SetWord(info, 16, compression);
    return info;
}
