// What changes the chroma resolution of a set of planes between a front end and a back end.
#pragma once

#include "common/plane_info.h"
#include "imgproc/backend/imgproc_backend.h"

#include <array>
#include <cstdint>

namespace imgproc {

/// A chroma converter. Objects have no state. It works on planes 1 and 2 alone; where planeConverted is false
/// the target plane is the source plane and not looked at. Convert may run on any number of threads at once,
/// each on a band of rows of its own; a pass whose row dependency a band cannot meet needs all bands of the
/// work before it to be finished.
class ImgProcConverter
{
  public:
    ImgProcConverter(const ImgProcBackend& source, const ImgProcBackend& target,
                     std::array<bool, kMaxPlanes> converted, int passes)
        : sourceBackend(source), targetBackend(target), planeConverted(converted), passCount(passes)
    {}
    ImgProcConverter(const ImgProcConverter&) = delete;
    ImgProcConverter& operator=(const ImgProcConverter&) = delete;
    virtual ~ImgProcConverter() = default;

    const ImgProcBackend& sourceBackend; ///< layout of the planes it reads
    const ImgProcBackend& targetBackend; ///< layout of the planes it writes
    const std::array<bool, kMaxPlanes> planeConverted;
    const int passCount;

    const std::array<bool, kMaxPlanes>& GetConvertedPlanes() const { return planeConverted; }
    int GetPassCount() const { return passCount; }
    /// n above 0: a band whose height is a multiple of n depends on nothing outside itself in this pass.
    /// 0: the pass reads rows of neighbouring bands.
    /// interpolate  as for Convert
    virtual uint32_t GetRowDependency(int pass, bool interpolate) const = 0;
    /// Converts the rows of one band.
    /// source, target  whole planes, not the band: row 0 is the picture's (or the field's) first
    /// width, height   of the luma plane
    /// first, rows     the band, in luma rows
    /// pass            0 to passCount - 1
    /// interpolate     filter when downsampling; upsampling always does
    virtual void Convert(const ConstPlaneArray& source, const PlaneArray& target, int width, int height,
                         int first, int rows, int pass, bool interpolate) const = 0;
};

} // namespace imgproc
