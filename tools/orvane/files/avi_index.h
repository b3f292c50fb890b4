// The indexes of an AVI file, compared with the frames that a walk over the file has found.
#pragma once

#include "files/avi_reader.h"

/// Where a walk found what concerns the index of one stream.
struct AviIndexPlaces {
    uint32_t stream = 0;
    uint64_t moviType = 0;                ///< offset of the type "movi" of the first segment
    std::vector<AviChunk> superIndex;     ///< indx: none or one
    std::vector<AviChunk> segmentIndexes; ///< ix##, rising offsets
    std::vector<AviChunk> oldIndex;       ///< idx1: none or one
};

/// Sets file.index, and where the index is whole puts file.frames in its order.
void CompareIndex(const ByteSource& source, const AviIndexPlaces& places, AviFile& file);
