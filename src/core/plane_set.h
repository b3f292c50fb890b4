// The planes of a picture with what the core knows of each.
#pragma once

#include "common/plane_info.h"

#include <array>
#include <cstdint>

template <class Sample>
struct BasicPlaneRecord : BasicPlane<Sample> {
    uint32_t size = 0; ///< bytes
};

template <class Sample>
using BasicPlaneRecords = std::array<BasicPlaneRecord<Sample>, kMaxPlanes>;

using PlaneRecord = BasicPlaneRecord<uint8_t>;
using PlaneRecords = BasicPlaneRecords<uint8_t>;
/// A picture that is only read.
using ConstPlaneRecord = BasicPlaneRecord<const uint8_t>;
using ConstPlaneRecords = BasicPlaneRecords<const uint8_t>;

/// The same planes, to be read.
inline ConstPlaneRecords ReadOnly(const PlaneRecords& records)
{
    ConstPlaneRecords result;
    for (size_t i = 0; i < records.size(); ++i)
        result[i] = {records[i], records[i].size};
    return result;
}

template <class Sample>
BasicPlaneArray<Sample> ViewOf(const BasicPlaneRecords<Sample>& records)
{
    return {records[0], records[1], records[2], records[3]};
}
