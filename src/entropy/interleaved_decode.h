// Decoding many blocks of one code at once.
#pragma once

#include "entropy/wide_decode_table.h"

#include <cstdint>
#include <span>

namespace entropy {

/// A coded block to decode: its stream gives exactly `symbols`.
struct DecodeJob {
    std::span<const uint8_t> coded;
    std::span<uint8_t> symbols;
};

/// Jobs that are decoded interleaved.
inline constexpr size_t kDecodeLanes = 7;

/// Does all jobs, several interleaved. Every job writes exactly its symbols; bits past the end of its stream
/// read as zero. Nothing outside the stream is read.
/// table  1 << kTableBits entries (BuildWideTable)
void DecodeInterleaved(const WideRow* table, std::span<const DecodeJob> jobs);

} // namespace entropy
