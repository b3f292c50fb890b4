// Front ends of host pictures that are stored as planes already. They hand the picture's own planes on,
// without a copy; classes differ in plane count, in the size of the chroma planes and in the order of U and
// V.
#pragma once

#include "imgproc/frontend/imgproc_frontend.h"
#include "imgproc/frontend/owned_layouts.h"

namespace imgproc {

/// What all planar layouts share. Any address and any pitch of at least a row will do.
class ImgProcFrontend_PlanarCommon : public ImgProcFrontend
{
  public:
    using ImgProcFrontend::ImgProcFrontend;

    size_t GetPlaneCount() const override { return planeBackend.GetPlaneCount(); }
    int GetDefaultRowAlignment(size_t) const override { return 1; }
    int GetBaseAlignment(size_t) const override { return 1; }
    int GetGroupBytes(size_t) const override { return 1; }
    int GetGroupPixels(size_t) const override { return 1; }
    int GetPlaneWidth(size_t, int width) const override { return width; }
    int GetPlaneHeight(size_t, int rows) const override { return rows; }
    bool SupportsFlip() const override { return false; }
    std::optional<size_t> GetHostPlane(size_t plane) const override { return plane; }
    PlaneShapes PrepareBuffers(const ConstPlaneInfo&, int, int, bool) const override { return {}; }
    void Split(const ConstPlaneArray&, int, int, const PlaneArray&) const override {}
    void Join(const PlaneArray&, int, int, const ConstPlaneArray&) const override {}
};

/// Y alone.
class ImgProcFrontend_Y8 final : private OwnedLayouts<Layout400>, public ImgProcFrontend_PlanarCommon
{
  public:
    ImgProcFrontend_Y8() : ImgProcFrontend_PlanarCommon(firstLayout, secondLayout) {}
};

/// Y, U, V; chroma at half the width and half the height, truncated.
class ImgProcFrontend_I420 : private OwnedLayouts<Layout420>, public ImgProcFrontend_PlanarCommon
{
  public:
    ImgProcFrontend_I420() : ImgProcFrontend_PlanarCommon(firstLayout, secondLayout) {}

    int GetPlaneWidth(size_t plane, int width) const override { return plane == 0 ? width : width / 2; }
    int GetPlaneHeight(size_t plane, int rows) const override { return plane == 0 ? rows : rows / 2; }
};

/// Y, U, V, all of full size.
class ImgProcFrontend_I444 : private OwnedLayouts<Layout444>, public ImgProcFrontend_PlanarCommon
{
  public:
    ImgProcFrontend_I444() : ImgProcFrontend_PlanarCommon(firstLayout, secondLayout) {}
};

/// `Base` with V ahead of U in the host's picture. The planes handed on are Y, U, V.
template <class Base>
class TPlanarWithVFirst : public Base
{
  public:
    std::optional<size_t> GetHostPlane(size_t plane) const override { return plane == 0 ? 0 : 3 - plane; }
};

class ImgProcFrontend_YV12 final : public TPlanarWithVFirst<ImgProcFrontend_I420>
{};

class ImgProcFrontend_YV24 final : public TPlanarWithVFirst<ImgProcFrontend_I444>
{};

} // namespace imgproc
