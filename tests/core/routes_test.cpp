#include "core/native_table.h"
#include "core/orvane.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <typeinfo>

namespace {

template <class T>
constexpr const std::type_info* TypeOf = &typeid(T);

struct Expected {
    const std::type_info* frontend;
    const std::type_info* converter; // null: none
    const std::type_info* backend;
    bool lossy;
};

using Key = std::pair<int, int>;

template <int planes, class Algo, int... order>
constexpr const std::type_info* PackedType()
{
    if constexpr (sizeof...(order) == 3)
        return TypeOf<TImgProcFrontend24<planes, Decorr3<order..., Algo>>>;
    else
        return TypeOf<TImgProcFrontend32<planes, Decorr4<order..., Algo>>>;
}

/// The table once more, spelled out pair by pair as the product page of the formats tells it.
template <class M>
class ExpectedRoutes
{
  public:
    ExpectedRoutes()
    {
        AddRgba<0, 1, 2, 3>(20);
        AddRgba<1, 2, 3, 0>(19);
        AddRgba<2, 1, 0, 3>(2);
        AddRgba<3, 2, 1, 0>(21);
        AddRgb<0, 1, 2, 3>(17);
        AddRgb<1, 2, 3, 0>(16);
        AddRgb<2, 1, 0, 3>(1);
        AddRgb<3, 2, 1, 0>(18);
        AddRgb<0, 1, 2>(22);
        AddRgb<2, 1, 0>(3);

        Both(8, 106, PackedType<4, DecorrAlgoYUV, 1, 2, 3, 0>(), TypeOf<Layout4444>, false);
        Both(50, 106, PackedType<4, DecorrAlgoYUV, 2, 1, 0, 3>(), TypeOf<Layout4444>, false);
        Both(46, 106, PackedType<4, DecorrAlgoYUV, 1, 0, 2, 3>(), TypeOf<Layout4444>, false);
        Add444(49, PackedType<3, DecorrAlgoYUV, 2, 1, 0, 3>());
        Both(49, 107, PackedType<1, DecorrAlgoYUV, 2, 1, 0, 3>(), TypeOf<Layout400>, true);
        Add444(45, PackedType<3, DecorrAlgoYUV, 1, 0, 2, 3>());
        Both(45, 107, PackedType<1, DecorrAlgoYUV, 1, 0, 2, 3>(), TypeOf<Layout400>, true);
        Add444(44, PackedType<3, DecorrAlgoYUV, 1, 2, 0>());
        Both(44, 107, PackedType<1, DecorrAlgoYUV, 1, 2, 0>(), TypeOf<Layout400>, true);
        Add444(7, TypeOf<ImgProcFrontend_YV24>);
        Add444(29, TypeOf<ImgProcFrontend_I444>);
        for (const auto& [id, frontend] :
             {std::pair{7, TypeOf<ImgProcFrontend_YV24>}, {29, TypeOf<ImgProcFrontend_I444>}})
            Converted(id, 107, frontend, TypeOf<TImgProcConverter_4xx_to_400<unsigned char, 8, 3, 1, 1>>,
                      TypeOf<TImgProcConverter_400_to_4xx<unsigned char, 8, 3, 1, 1>>, TypeOf<Layout400>);

        Both(4, 104, TypeOf<TImgProcFrontend_YUY2_UYVY<false, false>>, TypeOf<Layout422>, false);
        Both(5, 104, TypeOf<TImgProcFrontend_YUY2_UYVY<true, false>>, TypeOf<Layout422>, false);
        Both(4, 107, TypeOf<TImgProcFrontend_YUY2_UYVY<false, true>>, TypeOf<Layout400>, true);
        Both(5, 107, TypeOf<TImgProcFrontend_YUY2_UYVY<true, true>>, TypeOf<Layout400>, true);
        Converted(4, 105, TypeOf<TImgProcFrontend_YUY2_UYVY<false, false>>,
                  TypeOf<ImgProcConverter8_422_to_420>, TypeOf<ImgProcConverter8_420_to_422>,
                  TypeOf<Layout420>);
        Converted(5, 105, TypeOf<TImgProcFrontend_YUY2_UYVY<true, false>>,
                  TypeOf<ImgProcConverter8_422_to_420>, TypeOf<ImgProcConverter8_420_to_422>,
                  TypeOf<Layout420>);

        for (const auto& [id, frontend] :
             {std::pair{6, TypeOf<ImgProcFrontend_YV12>}, {10, TypeOf<ImgProcFrontend_I420>}}) {
            Both(id, 105, frontend, TypeOf<Layout420>, false);
            Converted(id, 107, frontend, TypeOf<TImgProcConverter_4xx_to_400<unsigned char, 8, 3, 2, 2>>,
                      TypeOf<TImgProcConverter_400_to_4xx<unsigned char, 8, 3, 2, 2>>, TypeOf<Layout400>);
        }
        Both(9, 107, TypeOf<ImgProcFrontend_Y8>, TypeOf<Layout400>, false);
    }

    std::map<Key, Expected> routes;

  private:
    void Both(int id, int code, const std::type_info* frontend, const std::type_info* backend, bool lossy)
    {
        routes[{id, code}] = routes[{code, id}] = {frontend, nullptr, backend, lossy};
    }
    void Converted(int id, int code, const std::type_info* frontend, const std::type_info* down,
                   const std::type_info* up, const std::type_info* backend)
    {
        routes[{id, code}] = {frontend, down, backend, true};
        routes[{code, id}] = {frontend, up, backend, true};
    }
    void AddSubsampled(int id, const std::type_info* frontend)
    {
        Converted(id, 104, frontend, TypeOf<ImgProcConverter8_444_to_422>,
                  TypeOf<ImgProcConverter8_422_to_444>, TypeOf<Layout422>);
        Converted(id, 105, frontend, TypeOf<ImgProcConverter8_444_to_420>,
                  TypeOf<ImgProcConverter8_420_to_444>, TypeOf<Layout420>);
    }
    void Add444(int id, const std::type_info* frontend)
    {
        Both(id, 103, frontend, TypeOf<Layout444>, false);
        AddSubsampled(id, frontend);
    }
    template <int... order>
    void AddRgba(int id)
    {
        Both(id, 102, PackedType<4, DecorrAlgoRGB, order...>(), TypeOf<Layout4444>, false);
        Both(id, 106, PackedType<4, DecorrAlgoRGBToYUV<M>, order...>(), TypeOf<Layout4444>, true);
    }
    template <int... order>
    void AddRgb(int id)
    {
        Both(id, 101, PackedType<3, DecorrAlgoRGB, order...>(), TypeOf<Layout444>, false);
        Both(id, 103, PackedType<3, DecorrAlgoRGBToYUV<M>, order...>(), TypeOf<Layout444>, true);
        AddSubsampled(id, PackedType<3, DecorrAlgoRGBToYUV<M>, order...>());
        Both(id, 107, PackedType<1, DecorrAlgoRGBToYUV<M>, order...>(), TypeOf<Layout400>, true);
    }
};

DecodeSettings Masks(uint32_t mask)
{
    DecodeSettings settings;
    settings.DecompSettings_YUV400 = settings.DecompSettings_YUV420 = mask;
    settings.DecompSettings_YUV422 = settings.DecompSettings_YUV444 = mask;
    return settings;
}

template <class M>
void ExpectTable(uint32_t matrix, uint32_t fullRange)
{
    Orvane codec(true, true);
    EncodeSettings encode;
    encode.ColorMatrix = matrix;
    encode.FullRangeYUV = fullRange;
    codec.ApplyEncodeSettings(encode);
    codec.ApplyDecodeSettings(Masks(0xFFFFFFFF));

    const auto expected = ExpectedRoutes<M>().routes;
    ASSERT_EQ(expected.size(), 144U);
    size_t pairs = 0;
    for (const auto& [key, route] : codec.Routes()) {
        if (key.second == kAnyFormat)
            continue;
        ++pairs;
        const auto found = expected.find(key);
        ASSERT_NE(found, expected.end()) << key.first << " " << key.second;
        const std::string where = std::to_string(key.first) + " to " + std::to_string(key.second);
        EXPECT_EQ(route.kind, key.first < 101 ? RouteKind::Compress : RouteKind::Decompress) << where;
        const ImgProcFrontend& frontend = *route.frontend;
        EXPECT_EQ(typeid(frontend), *found->second.frontend) << where;
        ASSERT_EQ(route.converter != nullptr, found->second.converter != nullptr) << where;
        if (route.converter) {
            const ImgProcConverter& converter = *route.converter;
            EXPECT_EQ(typeid(converter), *found->second.converter) << where;
        }
        const ImgProcBackend& backend = *route.backend;
        EXPECT_EQ(typeid(backend), *found->second.backend) << where;
        EXPECT_EQ(route.lossy, found->second.lossy) << where;
    }
    EXPECT_EQ(pairs, 144U);
}

TEST(Routes, HoldThe144PairsWithTheirObjectsForEachMatrix)
{
    ExpectTable<Rec601_Full>(1, 1);
    ExpectTable<Rec601_Limited>(1, 0);
    ExpectTable<Rec709_Full>(2, 1);
    ExpectTable<Rec709_Limited>(2, 0);
}

TEST(Routes, DefaultsAreCopiesOfTheNativePairs)
{
    const Orvane codec(true, true);
    std::set<int> ids;
    for (const auto& [key, route] : codec.Routes()) {
        if (key.second != kAnyFormat)
            continue;
        ids.insert(key.first);
        const FormatRoute& native =
            codec.Routes().at({key.first, NativeTable[static_cast<size_t>(key.first)]});
        EXPECT_EQ(route.frontend, native.frontend);
        EXPECT_EQ(route.kind, native.kind);
        EXPECT_EQ(route.backend, native.backend);
        EXPECT_FALSE(route.lossy) << key.first;
    }
    const std::set<int> expected{1,  2,  3,  4,  5,  6,  7,  8,  9,   10,  16,  17,  18,  19,  20,
                                 21, 22, 29, 44, 45, 46, 49, 50, 101, 102, 103, 104, 105, 106, 107};
    EXPECT_EQ(ids, expected);
}

/// Outputs that a stream of `code` decodes to.
std::set<int> OutputsOf(const Orvane& codec, int code)
{
    std::set<int> outputs;
    for (const auto& [key, route] : codec.Routes())
        if (key.first == code && key.second != kAnyFormat)
            outputs.insert(key.second);
    return outputs;
}

TEST(Routes, MasksAllowOutputsByTheirCategory)
{
    Orvane codec(true, true);
    codec.ApplyDecodeSettings(Masks(0));
    EXPECT_EQ(OutputsOf(codec, 103), (std::set{7, 29, 44, 45, 49}));
    EXPECT_EQ(OutputsOf(codec, 104), (std::set{4, 5}));
    EXPECT_EQ(OutputsOf(codec, 105), (std::set{6, 10}));
    EXPECT_EQ(OutputsOf(codec, 107), (std::set{9}));
    EXPECT_EQ(OutputsOf(codec, 101), (std::set{1, 3, 16, 17, 18, 22})) << "never filtered";
    EXPECT_EQ(OutputsOf(codec, 102), (std::set{2, 19, 20, 21}));
    EXPECT_EQ(OutputsOf(codec, 106), (std::set{2, 8, 19, 20, 21, 46, 50}));

    codec.ApplyDecodeSettings(Masks(1)); // RGB
    EXPECT_EQ(OutputsOf(codec, 104), (std::set{1, 3, 4, 5, 16, 17, 18, 22}));
    codec.ApplyDecodeSettings(Masks(4)); // 4:4:4
    EXPECT_EQ(OutputsOf(codec, 105), (std::set{6, 7, 10, 29, 44, 45, 49}));
    codec.ApplyDecodeSettings(Masks(8 + 16)); // 4:2:2 and 4:2:0
    EXPECT_EQ(OutputsOf(codec, 107), (std::set{4, 5, 6, 9, 10}));

    codec.ApplyDecodeSettings(DecodeSettings());
    EXPECT_EQ(OutputsOf(codec, 105), (std::set{1, 3, 4, 5, 6, 10, 16, 17, 18, 22}));
}

TEST(Routes, DepthSwitchesTakeRoutesAway)
{
    const Orvane high(false, true);
    EXPECT_TRUE(high.Routes().empty());
    EXPECT_FALSE(high.CanCompress(kHostY8, kCodeGray, 8, 8));
    const Orvane eight(true, false);
    EXPECT_FALSE(eight.Routes().empty());
}

TEST(HasAlpha, IsTrueForDefaultsWithFourPlanes)
{
    const Orvane codec(true, true);
    for (int id = -1; id <= 300; ++id) {
        const bool alpha = id == 2 || id == 8 || id == 19 || id == 20 || id == 21 || id == 46 || id == 50 ||
                           id == 102 || id == 106;
        EXPECT_EQ(codec.HasAlpha(id), alpha) << id;
    }
}

TEST(BeginRun, StopsTheProcessWithoutARoute)
{
    Orvane codec(true, true);
    FrameHeader record;
    ASSERT_TRUE(codec.FillConfig(record, kHostY8, 8, 8, kCodeGray));
    CompressInfo info;
    EXPECT_DEATH(
        codec.BeginCompress(info, reinterpret_cast<const uint8_t*>(&record), sizeof record, kHostYuy2 + 100),
        "");
}

} // namespace
