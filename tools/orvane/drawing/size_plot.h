// Compressed size and ratio of the frames of a stream over time, as an SVG picture.
#pragma once

#include "files/rational.h"

#include <cstdint>
#include <string>
#include <vector>

struct SizePlotSubject {
    std::string title; ///< UTF-8
    std::string facts; ///< a line below it
    std::vector<uint32_t>
        sizes;             ///< compressed bytes of each frame, at least one; 0: the picture before stays
    uint64_t rawBytes = 0; ///< of a picture before it was compressed
    Rational rate;
};

std::string DrawSizePlot(const SizePlotSubject& subject);
