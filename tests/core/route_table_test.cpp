#include "core/route_table.h"

#include "core/native_table.h"
#include "core/orvane.h"
#include "support/plain_layouts.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <typeinfo>
#include <vector>

using namespace imgproc;

namespace {

template <class T>
constexpr const std::type_info* TypeOf = &typeid(T);

struct Expected {
    const ImgProcFrontend* frontend;
    const std::type_info* converter; // null: none
    const std::type_info* backend;
    bool lossy;
};

using Key = std::pair<int, int>;

/// A compressed format that layouts of one family become, and the planes that their front ends give for it.
struct Way {
    FormatId code;
    FormatId planes;
};

std::vector<Way> WaysOf(const PlainLayout& layout)
{
    switch (layout.code) {
    case kCodeRgb:
        return {{101, 101}, {103, 103}, {104, 103}, {105, 103}, {107, 107}};
    case kCodeRgba:
        return {{102, 102}, {106, 106}};
    case kCodeYuv444:
        return {{103, 103}, {104, 103}, {105, 103}, {107, layout.planar ? 103 : 107}};
    case kCodeYuv422:
        return {{104, 104}, {105, 104}, {107, 107}};
    case kCodeYuv420:
        return {{105, 105}, {107, 105}};
    default:
        return {{layout.code, layout.code}};
    }
}

const std::type_info* BackendOf(FormatId code)
{
    switch (code) {
    case kCodeRgba:
    case kCodeYuva:
        return TypeOf<Layout4444>;
    case kCodeYuv422:
        return TypeOf<Layout422>;
    case kCodeYuv420:
        return TypeOf<Layout420>;
    case kCodeGray:
        return TypeOf<Layout400>;
    default:
        return TypeOf<Layout444>;
    }
}

const std::type_info* ConverterOf(FormatId from, FormatId to)
{
    const std::map<Key, const std::type_info*> types = {
        {{103, 104}, TypeOf<ImgProcConverter8_444_to_422>},
        {{103, 105}, TypeOf<ImgProcConverter8_444_to_420>},
        {{104, 105}, TypeOf<ImgProcConverter8_422_to_420>},
        {{104, 103}, TypeOf<ImgProcConverter8_422_to_444>},
        {{105, 104}, TypeOf<ImgProcConverter8_420_to_422>},
        {{105, 103}, TypeOf<ImgProcConverter8_420_to_444>},
        {{103, 107}, TypeOf<TImgProcConverter_4xx_to_400<unsigned char, 8, 3, 1, 1>>},
        {{105, 107}, TypeOf<TImgProcConverter_4xx_to_400<unsigned char, 8, 3, 2, 2>>},
        {{107, 103}, TypeOf<TImgProcConverter_400_to_4xx<unsigned char, 8, 3, 1, 1>>},
        {{107, 105}, TypeOf<TImgProcConverter_400_to_4xx<unsigned char, 8, 3, 2, 2>>}};
    return from == to ? nullptr : types.at({from, to});
}

/// The table once more, from the plain layouts. Which class a front end is of is held by the tests of the
/// set.
std::map<Key, Expected> ExpectedRoutes(const RouteObjects& objects, ColorStandard standard)
{
    std::map<Key, Expected> routes;
    for (const PlainLayout& layout : kPlainLayouts)
        for (const auto& [code, planes] : WaysOf(layout)) {
            const ImgProcFrontend* frontend = objects.frontends.Find(layout.host, planes, standard);
            const bool lossy = code != layout.code;
            routes[{layout.host, code}] = {frontend, ConverterOf(planes, code), BackendOf(code), lossy};
            routes[{code, layout.host}] = {frontend, ConverterOf(code, planes), BackendOf(code), lossy};
        }
    return routes;
}

DecodeSettings Masks(uint32_t mask)
{
    DecodeSettings settings;
    settings.DecompSettings_YUV400 = settings.DecompSettings_YUV420 = mask;
    settings.DecompSettings_YUV422 = settings.DecompSettings_YUV444 = mask;
    return settings;
}

void ExpectTable(uint32_t matrix, bool fullRange, ColorStandard standard)
{
    RouteObjects objects;
    const RouteTable table(objects,
                           {.decode = Masks(0xFFFFFFFF), .colorMatrix = matrix, .fullRange = fullRange});

    auto expected = ExpectedRoutes(objects, standard);
    for (const auto& [key, route] : table.Routes()) {
        if (key.second == kAnyFormat)
            continue;
        const std::string where = std::to_string(key.first) + " to " + std::to_string(key.second);
        const auto found = expected.find(key);
        ASSERT_NE(found, expected.end()) << where;
        EXPECT_EQ(route.kind, key.first < 101 ? RouteKind::Compress : RouteKind::Decompress) << where;
        EXPECT_EQ(route.frontend, found->second.frontend) << where;
        ASSERT_NE(route.frontend, nullptr) << where;
        ASSERT_EQ(route.converter != nullptr, found->second.converter != nullptr) << where;
        if (route.converter) {
            const ImgProcConverter& converter = *route.converter;
            EXPECT_EQ(typeid(converter), *found->second.converter) << where;
        }
        const ImgProcBackend& backend = *route.backend;
        EXPECT_EQ(typeid(backend), *found->second.backend) << where;
        EXPECT_EQ(route.lossy, found->second.lossy) << where;
        expected.erase(found);
    }
    for (const auto& [key, route] : expected)
        ADD_FAILURE() << "no route " << key.first << " to " << key.second;
}

TEST(RouteTable, HoldsEveryPairWithItsObjectsForEachMatrix)
{
    ExpectTable(1, true, ColorStandard::Rec601_Full);
    ExpectTable(1, false, ColorStandard::Rec601_Limited);
    ExpectTable(2, true, ColorStandard::Rec709_Full);
    ExpectTable(2, false, ColorStandard::Rec709_Limited);
}

TEST(RouteTable, DefaultsAreCopiesOfTheNativePairs)
{
    RouteObjects objects;
    const RouteTable table(objects, {});
    std::set<int> ids;
    for (const auto& [key, route] : table.Routes()) {
        if (key.second != kAnyFormat)
            continue;
        ids.insert(key.first);
        const FormatRoute& native =
            table.Routes().at({key.first, NativeTable[static_cast<size_t>(key.first)]});
        EXPECT_EQ(route.frontend, native.frontend);
        EXPECT_EQ(route.kind, native.kind);
        EXPECT_EQ(route.backend, native.backend);
        EXPECT_FALSE(route.lossy) << key.first;
    }
    std::set<int> expected{101, 102, 103, 104, 105, 106, 107};
    for (const PlainLayout& layout : kPlainLayouts)
        expected.insert(layout.host);
    EXPECT_EQ(ids, expected);
}

/// Outputs that a stream of `code` decodes to under these masks.
std::set<int> OutputsOf(const DecodeSettings& settings, int code)
{
    RouteObjects objects;
    const RouteTable table(objects, {.decode = settings});
    std::set<int> outputs;
    for (const auto& [key, route] : table.Routes())
        if (key.first == code && key.second != kAnyFormat)
            outputs.insert(key.second);
    return outputs;
}

/// The layouts of these families.
std::set<int> LayoutsOf(const std::set<int>& codes)
{
    std::set<int> layouts;
    for (const PlainLayout& layout : kPlainLayouts)
        if (codes.contains(layout.code))
            layouts.insert(layout.host);
    return layouts;
}

TEST(RouteTable, MasksAllowOutputsByTheirCategory)
{
    for (const int code : {103, 104, 105, 107})
        EXPECT_EQ(OutputsOf(Masks(0), code), LayoutsOf({code})) << code;
    EXPECT_EQ(OutputsOf(Masks(0), 101), LayoutsOf({101})) << "never filtered";
    EXPECT_EQ(OutputsOf(Masks(0), 102), LayoutsOf({102}));
    EXPECT_EQ(OutputsOf(Masks(0), 106), LayoutsOf({102, 106}));

    const uint32_t rgb = 1, yuv444 = 4, yuv422And420 = 8 + 16;
    EXPECT_EQ(OutputsOf(Masks(rgb), 104), LayoutsOf({101, 104}));
    EXPECT_EQ(OutputsOf(Masks(yuv444), 105), LayoutsOf({103, 105}));
    EXPECT_EQ(OutputsOf(Masks(yuv422And420), 107), LayoutsOf({104, 105, 107}));

    EXPECT_EQ(OutputsOf(DecodeSettings(), 105), LayoutsOf({101, 104, 105}));
}

TEST(RouteTable, DepthSwitchesTakeRoutesAway)
{
    RouteObjects objects;
    const RouteTable high(objects, {.enable8Bit = false});
    EXPECT_TRUE(high.Routes().empty());
    EXPECT_FALSE(high.CanCompress(kHostY8, kCodeGray, 8, 8));
    const RouteTable eight(objects, {.enableHighBit = false});
    EXPECT_FALSE(eight.Routes().empty());
}

TEST(RouteTable, FindsOnlyExactKeysAndHostsOnlyByALayout)
{
    RouteObjects objects;
    const RouteTable table(objects, {});
    EXPECT_EQ(table.Find(kHostI420, kCodeYuv420), &table.Routes().at({kHostI420, kCodeYuv420}));
    EXPECT_EQ(table.Find(kHostI420, kCodeYuv444), nullptr);
    EXPECT_EQ(table.FindHost(kHostI420), table.Find(kHostI420, kAnyFormat));
    EXPECT_EQ(table.FindHost(kCodeYuv420), nullptr) << "a compressed format";
    EXPECT_EQ(table.FindHost(-1), nullptr);
}

TEST(RouteTable, AnswersFromItsOwnSettings)
{
    RouteObjects objects;
    RouteInputs inputs;
    const RouteTable before(objects, inputs);
    inputs.encode.Interlaced = 1;
    inputs.encode.InputColorSpace = ~16U; // 4:2:0 refused
    const RouteTable after(objects, inputs);
    EXPECT_TRUE(before.CanCompress(kHostI420, kCodeYuv420, 8, 6));
    EXPECT_FALSE(after.CanCompress(kHostI420, kCodeYuv420, 8, 8));
    EXPECT_TRUE(before.CanCompress(kHostYuy2, kCodeYuv420, 8, 6));
    EXPECT_FALSE(after.CanCompress(kHostYuy2, kCodeYuv420, 8, 6)) << "fields of three rows";
    EXPECT_TRUE(after.CanCompress(kHostYuy2, kCodeYuv420, 8, 8));
    FrameHeader record;
    ASSERT_TRUE(before.FillConfig(record, kHostYuy2, 8, 8, kAnyFormat));
    EXPECT_FALSE(IsInterlaced(record));
    ASSERT_TRUE(after.FillConfig(record, kHostYuy2, 8, 8, kAnyFormat));
    EXPECT_TRUE(IsInterlaced(record));
}

TEST(RouteTable, PicturesEndWhereSignedOffsetsDo)
{
    struct Row {
        FormatId host, code;
        uint32_t width; // the largest of four rows
        uint32_t step;
    };
    constexpr Row rows[] = {{kHostBgra, kCodeRgba, 134'217'727, 1}, // the host's rows
                            {kHostI444, kCodeYuv444, 536'870'911, 1},
                            {kHostI444, kCodeYuv422, 536'870'896, 2}}; // rows of 16 samples after a converter
    RouteObjects objects;
    const RouteTable table(objects, {});
    for (const Row& row : rows) {
        EXPECT_TRUE(table.CanCompress(row.host, row.code, row.width, 4)) << row.host << " as " << row.code;
        EXPECT_FALSE(table.CanCompress(row.host, row.code, row.width + row.step, 4))
            << row.host << " as " << row.code;
    }
}

TEST(RouteTable, HasAlphaWhereTheDefaultHasFourPlanes)
{
    RouteObjects objects;
    const RouteTable table(objects, {});
    for (int id = -1; id <= 300; ++id) {
        const PlainLayout* layout = FindPlainLayout(id);
        const bool alpha = layout ? layout->Has('A') : id == 102 || id == 106;
        EXPECT_EQ(table.HasAlpha(id), alpha) << id;
    }
}

TEST(Orvane, TakesAnotherTableWithTheSettingsAndWithARun)
{
    Orvane codec(true, true);
    const auto standard = [&codec] {
        const ImgProcFrontend& frontend = *codec.Routes().at({kHostBgrx, kCodeYuv444}).frontend;
        return &typeid(frontend);
    };
    constexpr auto kTypeOf = []<class M>(M) {
        return TypeOf<TImgProcFrontend32<3, Decorr4<2, 1, 0, 3, DecorrAlgoRGBToYUV<M>>>>;
    };
    EXPECT_EQ(*standard(), *kTypeOf(Rec709_Limited()));
    EncodeSettings encode;
    encode.ColorMatrix = 1;
    codec.ApplyEncodeSettings(encode);
    EXPECT_EQ(*standard(), *kTypeOf(Rec601_Limited()));

    FrameHeader record;
    ASSERT_TRUE(codec.FillConfig(record, kHostBgrx, 8, 8, kCodeYuv444));
    record.colorMatrix = 2;
    record.flags |= kFlagFullRange;
    CompressInfo info;
    codec.BeginCompress(info, reinterpret_cast<const uint8_t*>(&record), sizeof record, kHostBgrx);
    EXPECT_EQ(*standard(), *kTypeOf(Rec709_Full())) << "the record governs a run";
    codec.ApplyDecodeSettings({});
    EXPECT_EQ(*standard(), *kTypeOf(Rec601_Limited())) << "the settings govern again";
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
