#pragma once

#include "entropy/bit_stream.h"
#include "entropy/interleaved_decode.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace entropy {

/// The entropy stage: residuals of a block in, a bit stream out, and back. One coder holds the code of one
/// plane of a frame; all blocks of the plane share it.
///
/// Threads: Encode, Decode, WriteRaw and ReadRaw may run on one coder at the same time, each with a stream of
/// its own. What builds the tables needs the coder for itself.
class HuffCoder
{
  public:
    HuffCoder() = default;
    HuffCoder(const HuffCoder&) = delete;
    HuffCoder& operator=(const HuffCoder&) = delete;
    virtual ~HuffCoder() = default;

    /// Appends the codes of `count` symbols. Calls on one stream join without a seam. The stream's area must
    /// have room: 12 bits for each symbol and 8 bytes more. A coder without tables does nothing.
    virtual void Encode(OutBitStream& stream, const uint8_t* symbols, size_t count) const = 0;

    /// Fills exactly `count` symbols, whatever the stream holds: bits past its end read as zero, and a
    /// damaged stream gives wrong symbols. Symbols decoded ahead stay in the stream for the next call, so
    /// that many calls give the same as one. Nothing outside the stream's range is read. A coder without
    /// tables does nothing.
    virtual void Decode(InBitStream& stream, uint8_t* symbols, size_t count) const = 0;

    /// Does many blocks at once: each job is a stream of its own, decoded by one Decode. Faster than one by
    /// one.
    virtual void DecodeBlocks(std::span<const DecodeJob> jobs) const = 0;

    /// Copies `count` bytes to a stream that holds no bits of Encode.
    virtual void WriteRaw(OutBitStream& stream, const uint8_t* bytes, size_t count) const = 0;

    /// Copies `count` bytes from a stream that was not decoded from. What lies behind its end reads as zeros.
    virtual void ReadRaw(InBitStream& stream, uint8_t* bytes, size_t count) const = 0;

    /// Builds the tables from code lengths, which may come from a damaged frame.
    /// count        must be the number of symbols, else false
    /// lengths      `count` lengths
    /// encoderOnly  true: for Encode, at its fastest; Decode goes on with tables built before.
    ///              false: for Decode; Encode works too, with the same bits
    /// Returns false if the lengths are no code: 0, above the limit, or too much for the code space. Tables
    /// built before then stay as they are.
    virtual bool BuildFromLengths(size_t count, const uint32_t* lengths, bool encoderOnly) = 0;
};

} // namespace entropy
