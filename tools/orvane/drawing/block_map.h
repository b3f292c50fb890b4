// One compressed frame as a picture: what it shows, beside it each block of each plane with its predictor and
// the bits that a sample takes, as a heat map with a legend.
#pragma once

#include "drawing/canvas.h"
#include "files/frame_structure.h"

#include <string>
#include <vector>

struct BlockMapSubject {
    std::string title;              ///< file and frame
    std::vector<std::string> facts; ///< lines below it
    const CompressedFormat* format;
    StillImage picture;       ///< RGB24, RGBA or Y800, of the size of the frame
    FrameStructure structure; ///< without a fault
};

/// Samples of a block.
uint64_t SamplesOf(const BlockMapSubject& subject, size_t block);
/// Bits that a sample takes in a block: 8 when it is raw.
double BitsOf(const BlockMapSubject& subject, size_t block);

Canvas DrawBlockMap(const BlockMapSubject& subject);
