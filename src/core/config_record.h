// The configuration record of a stream: a frame header, and code length tables after it if the stream has
// any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

/// The test of a configuration record: 32 bytes or more (at most kMaxRecordSize), magic, header size equal to
/// `size`, version at most 7. On success the record is copied into `holder`, which may be null.
bool ParseConfig(std::vector<uint8_t>* holder, const uint8_t* record, size_t size);

/// Code length limit for a sample depth: 8 bits 12, 10 bits 14, 12 bits 16, 14 bits 18; 0 for others.
constexpr uint32_t CodeLengthLimit(int bitsPerSample)
{
    switch (bitsPerSample) {
    case 8:
    case 10:
    case 12:
    case 14:
        return static_cast<uint32_t>(bitsPerSample) + 4;
    default:
        return 0;
    }
}
