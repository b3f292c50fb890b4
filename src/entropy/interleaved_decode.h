// Decoding many blocks of one code at once.
#pragma once

#include "entropy/wide_decode_table.h"

#include <cstdint>
#include <span>

/// A coded block on its way out: `count` symbols of the stream in [begin, end) go to `out`.
struct DecodeJob {
    const uint8_t* begin;
    const uint8_t* end;
    uint8_t* out;
    uint32_t count;
};

/// Jobs that are done side by side.
inline constexpr int kDecodeLanes = 7;

/// Does all jobs, several side by side. Every job writes exactly its `count` symbols; bits behind its end are
/// zeros. Nothing outside a job's range is read. The table has 1 << 12 rows.
void DecodeInterleaved(const WideRow* table, std::span<const DecodeJob> jobs);
