// The ten chroma converters. All rows that they read or write exist: a band is held to the height, and sizes
// that a layout does not divide lose what truncation drops.
#pragma once

#include "imgproc/frontend/imgproc_converter.h"
#include "imgproc/frontend/owned_layouts.h"

namespace imgproc {

/// A converter between two layouts that differ in their chroma.
template <class Source, class Target>
class TChromaConverter : private OwnedLayouts<Source, Target>, public ImgProcConverter
{
  public:
    explicit TChromaConverter(int passes)
        : ImgProcConverter(this->firstLayout, this->secondLayout, {false, passes > 0, passes > 0, false},
                           passes)
    {}
    uint32_t GetRowDependency(int, bool) const override { return 1; }
};

class ImgProcConverter8_444_to_422 final : public TChromaConverter<Layout444, Layout422>
{
  public:
    ImgProcConverter8_444_to_422() : TChromaConverter(1) {}
    void Convert(const ConstPlaneArray& source, const PlaneArray& target, int width, int height, int first,
                 int rows, int pass, bool interpolate) const override;
};

class ImgProcConverter8_444_to_420 final : public TChromaConverter<Layout444, Layout420>
{
  public:
    ImgProcConverter8_444_to_420() : TChromaConverter(1) {}
    /// The filter reads the row above a band.
    uint32_t GetRowDependency(int, bool interpolate) const override { return interpolate ? 0 : 1; }
    void Convert(const ConstPlaneArray& source, const PlaneArray& target, int width, int height, int first,
                 int rows, int pass, bool interpolate) const override;
};

class ImgProcConverter8_422_to_420 final : public TChromaConverter<Layout422, Layout420>
{
  public:
    ImgProcConverter8_422_to_420() : TChromaConverter(1) {}
    /// The filter reads the row above a band.
    uint32_t GetRowDependency(int, bool interpolate) const override { return interpolate ? 0 : 1; }
    void Convert(const ConstPlaneArray& source, const PlaneArray& target, int width, int height, int first,
                 int rows, int pass, bool interpolate) const override;
};

class ImgProcConverter8_422_to_444 final : public TChromaConverter<Layout422, Layout444>
{
  public:
    ImgProcConverter8_422_to_444() : TChromaConverter(1) {}
    void Convert(const ConstPlaneArray& source, const PlaneArray& target, int width, int height, int first,
                 int rows, int pass, bool interpolate) const override;
};

/// Pass 0 makes the even rows of the target, pass 1 the odd ones between them, from even rows of the bands
/// above and below too.
class ImgProcConverter8_420_to_422 final : public TChromaConverter<Layout420, Layout422>
{
  public:
    ImgProcConverter8_420_to_422() : TChromaConverter(2) {}
    uint32_t GetRowDependency(int pass, bool) const override { return pass == 0 ? 1 : 0; }
    void Convert(const ConstPlaneArray& source, const PlaneArray& target, int width, int height, int first,
                 int rows, int pass, bool interpolate) const override;
};

/// Passes as above.
class ImgProcConverter8_420_to_444 final : public TChromaConverter<Layout420, Layout444>
{
  public:
    ImgProcConverter8_420_to_444() : TChromaConverter(2) {}
    uint32_t GetRowDependency(int pass, bool) const override { return pass == 0 ? 1 : 0; }
    void Convert(const ConstPlaneArray& source, const PlaneArray& target, int width, int height, int first,
                 int rows, int pass, bool interpolate) const override;
};

/// Fills those rows of a plane, subsampled by `vsub`, that belong to a band of luma rows.
void FillBand(const PlaneInfo& plane, int planeWidth, int vsub, int height, int first, int rows,
              uint8_t value);

/// Gray to a layout with chroma, which is filled with neutral values. Does not read the source.
template <class Sample, int bits, size_t comps, int hsub, int vsub>
class TImgProcConverter_400_to_4xx final
    : public TChromaConverter<Layout400, TImgProcBackend<Sample, bits, comps, hsub, vsub>>
{
    using Base = TChromaConverter<Layout400, TImgProcBackend<Sample, bits, comps, hsub, vsub>>;

  public:
    TImgProcConverter_400_to_4xx() : Base(1) {}

    void Convert(const ConstPlaneArray&, const PlaneArray& target, int width, int height, int first, int rows,
                 int, bool) const override
    {
        FillBand(target[1], width / hsub, vsub, height, first, rows, fillU);
        FillBand(target[2], width / hsub, vsub, height, first, rows, fillV);
    }

    const uint8_t fillU = 128;
    const uint8_t fillV = 128;
};

/// A layout with chroma to gray: chroma is not taken over, so there is no pass.
template <class Sample, int bits, size_t comps, int hsub, int vsub>
class TImgProcConverter_4xx_to_400 final
    : public TChromaConverter<TImgProcBackend<Sample, bits, comps, hsub, vsub>, Layout400>
{
    using Base = TChromaConverter<TImgProcBackend<Sample, bits, comps, hsub, vsub>, Layout400>;

  public:
    TImgProcConverter_4xx_to_400() : Base(0) {}

    void Convert(const ConstPlaneArray&, const PlaneArray&, int, int, int, int, int, bool) const override {}
};

} // namespace imgproc
