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
    bool promisesOldIndex = false;        ///< the main header says that there is idx1
};

/// Sets file.index, file.unindexed and file.reordered, and puts file.frames in the order of an index that
/// names all of them. Where the index is wrong and still knows most of the frames, sets file.gaps. Returns
/// whether an index names all frames and nothing else, as a whole index does.
bool CompareIndex(const ByteSource& source, const AviIndexPlaces& places, AviFile& file);
