// Reads the first stream of this codec from an AVI file of any origin and in any state.
//
// The file is walked once from its first byte to its last, chunk by chunk, without belief in the sizes of
// lists: RIFF and the lists that hold streams and frames are stepped into, everything else is stepped over.
// Where the chain breaks (a size that lies, bytes that are no chunk) the walk goes on at the next frame,
// which is known by its magic. So the frames are found without an index; the index is only compared with what
// was found.
#pragma once

#include "files/byte_source.h"
#include "files/rational.h"

#include <cstdint>
#include <string>
#include <vector>

struct AviFrame {
    uint64_t offset = 0; ///< of the first payload byte
    uint32_t size = 0;   ///< 0: the picture before it stays

    bool operator==(const AviFrame&) const = default;
};

struct AviChunk {
    uint32_t id = 0;
    uint64_t offset = 0; ///< of the first payload byte
    uint32_t size = 0;   ///< bytes of payload, all inside the file
};

enum class AviIndexState {
    None,
    Whole, ///< names every frame of the file, and nothing else
    Wrong, ///< incomplete, or names what is not there
};

struct AviFile {
    uint32_t handler = 0;            ///< of the stream header, as it stands there; may be 0
    std::vector<uint8_t> bitmapInfo; ///< strf as it stands, 40 bytes or more, at most kMaxBitmapInfo
    Rational rate;                   ///< 25/1 when the file has none
    int stream = 0;                  ///< number of the stream in the file, from 0
    std::vector<AviFrame> frames;    ///< in playing order, all inside the file
    /// By stream number what describes the streams: strh, strf, strd, strn, vprp as they stand.
    std::vector<std::vector<AviChunk>> streams;
    std::vector<AviChunk>
        others; ///< other chunks and lists that are no part of this stream's video, in file order
    AviIndexState index = AviIndexState::None;
    bool cut = false;          ///< the file ends before what it promises
    uint32_t brokenPlaces = 0; ///< places where the chain of chunks was broken

    static constexpr size_t kMaxBitmapInfo = 4096;

    bool IsWhole() const { return !cut && brokenPlaces == 0 && index == AviIndexState::Whole; }
};

/// Whether a FourCC, in any case, is one of this codec's seven or its generic name.
bool IsOurFourCC(uint32_t fourcc);

/// Never reads outside the source, takes memory in proportion to the source at most, and ends for any bytes.
/// name  for errors
/// Throws ToolError when this is no AVI file or has no stream of this codec.
AviFile ReadAvi(const ByteSource& source, const std::string& name);
