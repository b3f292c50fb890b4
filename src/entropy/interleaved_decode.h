// Decoding many blocks of one code at once.
#pragma once

#include "entropy/wide_decode_table.h"

#include <cstdint>
#include <span>

/// A coded block to decode: `count` symbols of the stream in [begin, end) go to `out`.
struct DecodeJob {
    const uint8_t* begin;
    const uint8_t* end;
    uint8_t* out;
    uint32_t count;
};

/// Jobs that are decoded interleaved.
inline constexpr int kDecodeLanes = 7;

/// Does all jobs, several interleaved. Every job writes exactly its `count` symbols; bits past its end read
/// as zero. Nothing outside a job's range is read. table  1 << kTableBits entries (BuildWideTable)
void DecodeInterleaved(const WideRow* table, std::span<const DecodeJob> jobs);
