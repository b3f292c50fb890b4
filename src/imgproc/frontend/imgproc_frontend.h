// What stands between a host picture, in whatever pixel layout the host uses, and the planes of the core.
#pragma once

#include "common/plane_info.h"
#include "imgproc/backend/imgproc_backend.h"

#include <cstdint>

/// A host pixel layout. Objects have no per-frame state: queries, Split and Join may run on any number of threads at
/// once, each on a band of rows of its own. Nothing here fails: the core checks a picture before it comes here.
class ImgProcFrontend
{
  public:
    ImgProcFrontend(const ImgProcBackend& planes, const ImgProcBackend& native)
        : planeBackend(planes), nativeBackend(native)
    {
    }
    ImgProcFrontend(const ImgProcFrontend&) = delete;
    ImgProcFrontend& operator=(const ImgProcFrontend&) = delete;
    virtual ~ImgProcFrontend() = default;

    const ImgProcBackend& planeBackend;  ///< layout of the planes that Split makes and Join takes
    const ImgProcBackend& nativeBackend; ///< layout of the host picture itself
    uint32_t flags = 0;                  ///< reserved; nothing reads it

    // Geometry of the host picture, by picture plane. A class with one plane ignores `plane`.

    virtual int GetPlaneCount() const = 0;
    /// Pitch granule in bytes of a picture that is laid out by default.
    virtual int GetDefaultRowAlignment(int plane) const = 0;
    virtual int GetBaseAlignment(int plane) const = 0;
    virtual int GetPitchAlignment(int plane) const { return GetBaseAlignment(plane); }
    virtual int GetGroupBytes(int plane) const = 0;  ///< bytes of one pixel group
    virtual int GetGroupPixels(int plane) const = 0; ///< pixels of one pixel group
    virtual int GetPlaneWidth(int plane, int width) const = 0;
    virtual int GetPlaneHeight(int plane, int rows) const = 0;
    /// Whether the picture can be handled bottom-up.
    virtual bool SupportsFlip() const = 0;

    /// Plans where plane rows stand, so that Split and Join run aligned on both sides. Called once per frame on the
    /// calling thread.
    /// picture      the checked host picture
    /// scratch      the core's plane arena: (width + 128) * height * planes of planeBackend + 8192 bytes, 16-aligned
    /// planes       receives the planes, cleared by the caller; planar layouts give the host's own
    /// flip         the picture's last memory row is row 0 of the planes
    virtual void PrepareBuffers(const PlaneArray& picture, int width, int height, uint8_t* scratch,
                                PlaneArray& planes, bool flip, bool compressing) const = 0;
    /// Takes `rows` rows of the picture to the planes. Both arrays point at the first row of the band.
    virtual void Split(const PlaneArray& picture, int width, int rows, const PlaneArray& planes) const = 0;
    /// The reverse of Split.
    virtual void Join(const PlaneArray& picture, int width, int rows, const PlaneArray& planes) const = 0;
};
