// What stands between a host picture, in whatever pixel layout the host uses, and the planes of the core.
#pragma once

#include "common/plane_info.h"
#include "common/plane_layout.h"
#include "imgproc/backend/imgproc_backend.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace imgproc {

/// Bytes by which a row of planes may be longer than its samples.
inline constexpr int kMaxRowPadding = 64;

/// A host pixel layout. Objects have no per-frame state: queries, Split and Join may run on any number of
/// threads at once, each on a band of rows of its own. Nothing here fails: the core checks a picture before
/// it comes here.
class ImgProcFrontend
{
  public:
    ImgProcFrontend(const ImgProcBackend& planes, const ImgProcBackend& native)
        : planeBackend(planes), nativeBackend(native)
    {}
    ImgProcFrontend(const ImgProcFrontend&) = delete;
    ImgProcFrontend& operator=(const ImgProcFrontend&) = delete;
    virtual ~ImgProcFrontend() = default;

    const ImgProcBackend& planeBackend;  ///< layout of the planes that Split makes and Join takes
    const ImgProcBackend& nativeBackend; ///< layout of the host picture itself

    // Geometry of the host picture, by picture plane. A class with one plane ignores `plane`.

    virtual size_t GetPlaneCount() const = 0;
    /// Pitch granule in bytes of a picture that is laid out by default.
    virtual int GetDefaultRowAlignment(size_t plane) const = 0;
    virtual int GetBaseAlignment(size_t plane) const = 0;
    virtual int GetPitchAlignment(size_t plane) const { return GetBaseAlignment(plane); }
    virtual int GetGroupBytes(size_t plane) const = 0;  ///< bytes of one pixel group
    virtual int GetGroupPixels(size_t plane) const = 0; ///< pixels of one pixel group
    virtual int GetPlaneWidth(size_t plane, int width) const = 0;
    virtual int GetPlaneHeight(size_t plane, int rows) const = 0;
    /// Whether the picture can be handled bottom-up.
    virtual bool SupportsFlip() const = 0;

    /// The plane of the host's picture that is plane `plane` of planeBackend itself, so that Split and Join
    /// have nothing to do; none where they move the samples.
    virtual std::optional<size_t> GetHostPlane(size_t plane) const = 0;
    /// How rows of planes are to be stored so that Split and Join run aligned on both sides. A row is at most
    /// kMaxRowPadding bytes longer than its samples. Planes that are the host's own have no shape.
    /// picture  plane 0 of the checked host picture
    /// flip     the picture's last memory row is row 0 of the planes
    virtual PlaneShapes PrepareBuffers(const ConstPlaneInfo& picture, int width, int height,
                                       bool flip) const = 0;
    /// Takes `rows` rows of the picture to the planes. Both arrays point at the first row of the band.
    virtual void Split(const ConstPlaneArray& picture, int width, int rows,
                       const PlaneArray& planes) const = 0;
    /// The reverse of Split.
    virtual void Join(const PlaneArray& picture, int width, int rows,
                      const ConstPlaneArray& planes) const = 0;
};

} // namespace imgproc
