// One object of every front end and of every converter, found by the formats that they stand between.
#pragma once

#include "common/format_id.h"
#include "common/host_layouts.h"
#include "imgproc/frontend/chroma_converters.h"
#include "imgproc/frontend/packed_frontends.h"
#include "imgproc/frontend/planar_frontends.h"

#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>

namespace imgproc {

/// What a front end does: host pictures of layout `host` from and to planes of the compressed format
/// `planes`, without any converter.
struct FrontendKey {
    FormatId host;
    FormatId planes;
    ColorStandard standard = {}; ///< matters where RGB becomes YUV only
};

/// One front end object under its key. Without a standard it answers to every one.
template <FormatId host, FormatId planes, class Frontend, ColorStandard... standard>
struct FrontendEntry {
    Frontend frontend;

    const ImgProcFrontend* Find(const FrontendKey& key) const
    {
        const bool standardFits = sizeof...(standard) == 0 || ((key.standard == standard) || ...);
        return key.host == host && key.planes == planes && standardFits ? &frontend : nullptr;
    }
    template <class Visit>
    void ForEach(const Visit& visit) const
    {
        visit(FrontendKey{host, planes, standard...}, frontend);
    }
};

/// Entries, or groups of them, as one.
template <class... Parts>
struct FrontendGroup : Parts... {
    const ImgProcFrontend* Find(const FrontendKey& key) const
    {
        const ImgProcFrontend* found = nullptr;
        static_cast<void>(((found = Parts::Find(key)) || ...));
        return found;
    }
    template <class Visit>
    void ForEach(const Visit& visit) const
    {
        (Parts::ForEach(visit), ...);
    }
};

// The front ends of one layout follow from its descriptor.

template <FormatId host>
inline constexpr LayoutDescriptor kLayout = *FindLayoutDescriptor(host);

/// The arithmetic `Algo` on pixels of 3 or 4 bytes in the order of the layout.
template <FormatId host, class Algo>
constexpr auto MakeDecorr()
{
    constexpr const LayoutDescriptor& layout = kLayout<host>;
    constexpr int first = layout.Place(layout.IsRgb() ? 'R' : 'Y');
    constexpr int second = layout.Place(layout.IsRgb() ? 'G' : 'U');
    constexpr int third = layout.Place(layout.IsRgb() ? 'B' : 'V');
    if constexpr (layout.samples.size() == 3)
        return std::type_identity<Decorr3<first, second, third, Algo>>();
    else
        return std::type_identity<
            Decorr4<first, second, third, layout.Place(layout.HasAlpha() ? 'A' : 'X'), Algo>>();
}

template <FormatId host, FormatId planes, int planeCount, class Algo, ColorStandard... standard>
using PackedEntry =
    FrontendEntry<host, planes,
                  TPackedPixelFrontend<planeCount, typename decltype(MakeDecorr<host, Algo>())::type>,
                  standard...>;

template <class M, FormatId host, FormatId planes, int planeCount>
using MatrixEntry = PackedEntry<host, planes, planeCount, DecorrAlgoRGBToYUV<M>, M::kStandard>;

/// The four matrices.
template <FormatId host, FormatId planes, int planeCount>
using MatrixEntries = FrontendGroup<MatrixEntry<Rec601_Full, host, planes, planeCount>,
                                    MatrixEntry<Rec709_Full, host, planes, planeCount>,
                                    MatrixEntry<Rec601_Limited, host, planes, planeCount>,
                                    MatrixEntry<Rec709_Limited, host, planes, planeCount>>;

template <FormatId host>
using RgbaEntries =
    FrontendGroup<PackedEntry<host, kCodeRgba, 4, DecorrAlgoRGB>, MatrixEntries<host, kCodeYuva, 4>>;

template <FormatId host>
using RgbEntries = FrontendGroup<PackedEntry<host, kCodeRgb, 3, DecorrAlgoRGB>,
                                 MatrixEntries<host, kCodeYuv444, 3>, MatrixEntries<host, kCodeGray, 1>>;

template <FormatId host>
using YuvaEntries = PackedEntry<host, kCodeYuva, 4, DecorrAlgoYUV>;

template <FormatId host>
using YuvEntries = FrontendGroup<PackedEntry<host, kCodeYuv444, 3, DecorrAlgoYUV>,
                                 PackedEntry<host, kCodeGray, 1, DecorrAlgoYUV>>;

template <FormatId host>
using PairOrderOf = PairOrder<kLayout<host>.Place('Y'), kLayout<host>.Place('U'), kLayout<host>.Place('V')>;

template <FormatId host>
using Yuv422Entries =
    FrontendGroup<FrontendEntry<host, kCodeYuv422, TImgProcFrontend_YUY2_UYVY<PairOrderOf<host>, false>>,
                  FrontendEntry<host, kCodeGray, TImgProcFrontend_YUY2_UYVY<PairOrderOf<host>, true>>>;

template <FormatId host>
constexpr auto MakePlanar()
{
    constexpr const LayoutDescriptor& layout = kLayout<host>;
    constexpr bool vFirst = layout.Place('V') < layout.Place('U');
    if constexpr (layout.category == kCodeGray)
        return std::type_identity<ImgProcFrontend_Y8>();
    else if constexpr (layout.category == kCodeYuv420)
        return std::type_identity<std::conditional_t<vFirst, ImgProcFrontend_YV12, ImgProcFrontend_I420>>();
    else if constexpr (layout.category == kCodeYuv444)
        return std::type_identity<std::conditional_t<vFirst, ImgProcFrontend_YV24, ImgProcFrontend_I444>>();
}

/// All front ends of one layout.
template <FormatId host>
constexpr auto MakeEntries()
{
    constexpr const LayoutDescriptor& layout = kLayout<host>;
    if constexpr (layout.IsPlanar())
        return std::type_identity<
            FrontendEntry<host, layout.category, typename decltype(MakePlanar<host>())::type>>();
    else if constexpr (layout.GroupPixels() == 2)
        return std::type_identity<Yuv422Entries<host>>();
    else if constexpr (layout.IsRgb())
        return std::type_identity<
            std::conditional_t<layout.HasAlpha(), RgbaEntries<host>, RgbEntries<host>>>();
    else
        return std::type_identity<
            std::conditional_t<layout.HasAlpha(), YuvaEntries<host>, YuvEntries<host>>>();
}

template <size_t... index>
auto MakeFrontendTable(std::index_sequence<index...>)
    -> FrontendGroup<typename decltype(MakeEntries<kHostLayouts[index].id>())::type...>;

using FrontendTable = decltype(MakeFrontendTable(std::make_index_sequence<std::size(kHostLayouts)>()));

/// All front ends, each under one key. Every route takes the front end of its host layout and either the
/// planes of its compressed format, or, where a converter follows, the planes that the converter has on that
/// side.
class FrontendSet
{
  public:
    FrontendSet();
    FrontendSet(const FrontendSet&) = delete;
    FrontendSet& operator=(const FrontendSet&) = delete;
    ~FrontendSet();

    /// Null where no front end turns that layout into these planes by itself. The object lives as long as the
    /// set.
    const ImgProcFrontend* Find(FormatId host, FormatId planes, ColorStandard standard) const;

    /// Calls visit(FrontendKey, const Frontend&) for every object, with its own class.
    template <class Visit>
    void ForEach(const Visit& visit) const
    {
        table.ForEach(visit);
    }

  private:
    FrontendTable table;
};

/// The ten converters by the chroma of the planes they read and write, as the compressed formats 103 (4:4:4),
/// 104 (4:2:2), 105 (4:2:0) and 107 (4:0:0).
class ConverterSet
{
  public:
    /// Null where no converter leads from one to the other. The object lives as long as the set.
    const ImgProcConverter* Find(FormatId from, FormatId to) const;

  private:
    ImgProcConverter8_444_to_422 from444To422;
    ImgProcConverter8_444_to_420 from444To420;
    ImgProcConverter8_422_to_420 from422To420;
    ImgProcConverter8_422_to_444 from422To444;
    ImgProcConverter8_420_to_422 from420To422;
    ImgProcConverter8_420_to_444 from420To444;
    TImgProcConverter_400_to_4xx<unsigned char, 8, 3, 1, 1> from400To444;
    TImgProcConverter_400_to_4xx<unsigned char, 8, 3, 2, 2> from400To420;
    TImgProcConverter_4xx_to_400<unsigned char, 8, 3, 1, 1> from444To400;
    TImgProcConverter_4xx_to_400<unsigned char, 8, 3, 2, 2> from420To400;
};

} // namespace imgproc
