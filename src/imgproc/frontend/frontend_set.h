// One object of every front end and of every converter, found by the formats that they stand between.
#pragma once

#include "common/format_id.h"
#include "imgproc/frontend/chroma_converters.h"
#include "imgproc/frontend/packed_frontends.h"
#include "imgproc/frontend/planar_frontends.h"

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

template <class Algo, int... order>
struct DecorrOf;
template <class Algo, int i0, int i1, int i2>
struct DecorrOf<Algo, i0, i1, i2> {
    using Type = Decorr3<i0, i1, i2, Algo>;
};
template <class Algo, int i0, int i1, int i2, int i3>
struct DecorrOf<Algo, i0, i1, i2, i3> {
    using Type = Decorr4<i0, i1, i2, i3, Algo>;
};

template <FormatId host, FormatId planes, int planeCount, class Algo, int... order>
using PackedEntry =
    FrontendEntry<host, planes, TPackedPixelFrontend<planeCount, typename DecorrOf<Algo, order...>::Type>>;

template <class M, FormatId host, FormatId planes, int planeCount, int... order>
using MatrixEntry =
    FrontendEntry<host, planes,
                  TPackedPixelFrontend<planeCount, typename DecorrOf<DecorrAlgoRGBToYUV<M>, order...>::Type>,
                  M::kStandard>;

/// The four matrices.
template <FormatId host, FormatId planes, int planeCount, int... order>
using MatrixEntries = FrontendGroup<MatrixEntry<Rec601_Full, host, planes, planeCount, order...>,
                                    MatrixEntry<Rec709_Full, host, planes, planeCount, order...>,
                                    MatrixEntry<Rec601_Limited, host, planes, planeCount, order...>,
                                    MatrixEntry<Rec709_Limited, host, planes, planeCount, order...>>;

template <FormatId host, int... order>
using RgbaEntries = FrontendGroup<PackedEntry<host, kCodeRgba, 4, DecorrAlgoRGB, order...>,
                                  MatrixEntries<host, kCodeYuva, 4, order...>>;

template <FormatId host, int... order>
using RgbEntries =
    FrontendGroup<PackedEntry<host, kCodeRgb, 3, DecorrAlgoRGB, order...>,
                  MatrixEntries<host, kCodeYuv444, 3, order...>, MatrixEntries<host, kCodeGray, 1, order...>>;

template <FormatId host, int... order>
using YuvaEntries = PackedEntry<host, kCodeYuva, 4, DecorrAlgoYUV, order...>;

template <FormatId host, int... order>
using YuvEntries = FrontendGroup<PackedEntry<host, kCodeYuv444, 3, DecorrAlgoYUV, order...>,
                                 PackedEntry<host, kCodeGray, 1, DecorrAlgoYUV, order...>>;

template <FormatId host, bool uyvy>
using Yuv422Entries = FrontendGroup<FrontendEntry<host, kCodeYuv422, TImgProcFrontend_YUY2_UYVY<uyvy, false>>,
                                    FrontendEntry<host, kCodeGray, TImgProcFrontend_YUY2_UYVY<uyvy, true>>>;

// clang-format off
using FrontendTable = FrontendGroup<
    RgbaEntries<kHostRgba, 0, 1, 2, 3>, RgbaEntries<kHostArgb, 1, 2, 3, 0>,
    RgbaEntries<kHostBgra, 2, 1, 0, 3>, RgbaEntries<kHostAbgr, 3, 2, 1, 0>,
    RgbEntries<kHostRgbx, 0, 1, 2, 3>, RgbEntries<kHostXrgb, 1, 2, 3, 0>,
    RgbEntries<kHostBgrx, 2, 1, 0, 3>, RgbEntries<kHostXbgr, 3, 2, 1, 0>,
    RgbEntries<kHostRgb, 0, 1, 2>, RgbEntries<kHostBgr, 2, 1, 0>,
    YuvaEntries<kHostAyuvOrderAyuv, 1, 2, 3, 0>, YuvaEntries<kHostVuya, 2, 1, 0, 3>,
    YuvaEntries<kHostV408, 1, 0, 2, 3>,
    YuvEntries<kHostVuyx, 2, 1, 0, 3>, YuvEntries<kHostV408X, 1, 0, 2, 3>, YuvEntries<kHostV308, 1, 2, 0>,
    Yuv422Entries<kHostYuy2, false>, Yuv422Entries<kHostUyvy, true>,
    FrontendEntry<kHostYv24, kCodeYuv444, ImgProcFrontend_YV24>,
    FrontendEntry<kHostI444, kCodeYuv444, ImgProcFrontend_I444>,
    FrontendEntry<kHostYv12, kCodeYuv420, ImgProcFrontend_YV12>,
    FrontendEntry<kHostI420, kCodeYuv420, ImgProcFrontend_I420>,
    FrontendEntry<kHostY8, kCodeGray, ImgProcFrontend_Y8>>;
// clang-format on

/// All 92 front ends, each under one key. Every route takes the front end of its host layout and either the
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
    ImgProcConverter* Find(FormatId from, FormatId to);

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
