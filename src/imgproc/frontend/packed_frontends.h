// Front ends of host pictures whose pixels hold all their channels side by side.
#pragma once

#include "imgproc/frontend/decorr.h"
#include "imgproc/frontend/imgproc_frontend.h"
#include "imgproc/frontend/owned_layouts.h"
#include "imgproc/frontend/packed_rows.h"

#include <type_traits>

namespace imgproc {

/// What all packed classes share: one picture plane whose address and pitch are multiples of 4, and rows that
/// are walked one by one.
class PackedFrontend : public ImgProcFrontend
{
  public:
    /// forms, matrix  the class's row kernels and their matrix, null where they need none
    PackedFrontend(const ImgProcBackend& planes, const ImgProcBackend& native, const PackedRowForms& forms,
                   const ColorMatrix* matrix)
        : ImgProcFrontend(planes, native), rowForms(forms), colorMatrix(matrix)
    {}

    size_t GetPlaneCount() const override { return 1; }
    int GetDefaultRowAlignment(size_t) const override { return 4; }
    int GetBaseAlignment(size_t) const override { return 4; }
    int GetPlaneWidth(size_t, int width) const override { return width; }
    int GetPlaneHeight(size_t, int rows) const override { return rows; }
    std::optional<size_t> GetHostPlane(size_t) const override { return std::nullopt; }
    void Split(const ConstPlaneArray& picture, int width, int rows, const PlaneArray& planes) const final;
    void Join(const PlaneArray& picture, int width, int rows, const ConstPlaneArray& planes) const final;

    const PackedRowForms& rowForms;       ///< all forms, for tests and benchmarks
    const ColorMatrix* const colorMatrix; ///< what the row kernels take
};

/// Plane rows of 3- and 4-byte pixels: see PrepareBuffers in the source for how they are placed.
class PackedPixelFrontend : public PackedFrontend
{
  public:
    using PackedFrontend::PackedFrontend;

    int GetGroupPixels(size_t) const override { return 1; }
    bool SupportsFlip() const override { return true; }
    PlaneShapes PrepareBuffers(const ConstPlaneInfo& picture, int width, int height,
                               bool flip) const override;
};

template <int planes>
using LayoutOf =
    std::conditional_t<planes == 1, Layout400, std::conditional_t<planes == 3, Layout444, Layout4444>>;

/// One packed layout of `D` (Decorr3 or Decorr4) with the first `planeCount` planes of its algorithm.
template <int planeCount, class D>
class TPackedPixelFrontend final
    : private OwnedLayouts<LayoutOf<planeCount>, LayoutOf<D::Order::kPixelBytes>>,
      public PackedPixelFrontend
{
  public:
    TPackedPixelFrontend()
        : PackedPixelFrontend(this->firstLayout, this->secondLayout,
                              TPackedRows<planeCount, typename D::Order, typename D::Algo::Step>::Forms(),
                              D::Algo::kMatrix)
    {}

    int GetGroupBytes(size_t) const override { return D::Order::kPixelBytes; }
};

template <int planes, class D>
requires(D::Order::kPixelBytes == 3) using TImgProcFrontend24 = TPackedPixelFrontend<planes, D>;

template <int planes, class D>
requires(D::Order::kPixelBytes == 4) using TImgProcFrontend32 = TPackedPixelFrontend<planes, D>;

/// Plane rows of packed 4:2:2.
class Packed422Frontend : public PackedFrontend
{
  public:
    using PackedFrontend::PackedFrontend;

    int GetGroupBytes(size_t) const override { return 4; }
    int GetGroupPixels(size_t) const override { return 2; }
    bool SupportsFlip() const override { return false; }
    PlaneShapes PrepareBuffers(const ConstPlaneInfo& picture, int width, int height,
                               bool flip) const override;
};

/// Pairs of pixels in `Order` (a PairOrder). With `lumaOnly` only plane 0 exists.
template <class Order, bool lumaOnly>
class TImgProcFrontend_YUY2_UYVY final
    : private OwnedLayouts<std::conditional_t<lumaOnly, Layout400, Layout422>, Layout422>,
      public Packed422Frontend
{
  public:
    TImgProcFrontend_YUY2_UYVY()
        : Packed422Frontend(this->firstLayout, this->secondLayout, TPackedRows422<Order, lumaOnly>::Forms(),
                            nullptr)
    {}
};

} // namespace imgproc
