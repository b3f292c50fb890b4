// The routing table: one list of what each host layout can become, read in both directions.

#include "core/route_table.h"

#include "common/host_layouts.h"
#include "core/native_table.h"

#include <algorithm>
#include <initializer_list>

namespace {

/// What a host layout becomes in a compressed format, and comes back from. Lossless in its own category's
/// format.
struct Target {
    FormatId code;
    FormatId
        planes; ///< the planes of the front end; a converter follows where they are not those of the code
};

/// What the layouts of one category and arrangement become. Compression never raises the chroma resolution
/// and decompression never lowers it, so that both directions have the same pairs. A packed layout has front
/// ends that take luma alone or convert color on the way; the planes of a planar one are the host's own.
struct Family {
    FormatId category;
    Arrangement arrangement;
    std::initializer_list<Target> targets;
};

constexpr auto kPacked = Arrangement::Packed;
constexpr auto kPlanar = Arrangement::Planar;

constexpr std::initializer_list<Target> kRgbaTargets = {{kCodeRgba, kCodeRgba}, {kCodeYuva, kCodeYuva}};
constexpr std::initializer_list<Target> kRgbTargets = {{kCodeRgb, kCodeRgb},
                                                       {kCodeYuv444, kCodeYuv444},
                                                       {kCodeYuv422, kCodeYuv444},
                                                       {kCodeYuv420, kCodeYuv444},
                                                       {kCodeGray, kCodeGray}};
constexpr std::initializer_list<Target> kYuvaTargets = {{kCodeYuva, kCodeYuva}};
constexpr std::initializer_list<Target> kPacked444Targets = {{kCodeYuv444, kCodeYuv444},
                                                             {kCodeYuv422, kCodeYuv444},
                                                             {kCodeYuv420, kCodeYuv444},
                                                             {kCodeGray, kCodeGray}};
constexpr std::initializer_list<Target> kPlanar444Targets = {{kCodeYuv444, kCodeYuv444},
                                                             {kCodeYuv422, kCodeYuv444},
                                                             {kCodeYuv420, kCodeYuv444},
                                                             {kCodeGray, kCodeYuv444}};
constexpr std::initializer_list<Target> kPacked422Targets = {
    {kCodeYuv422, kCodeYuv422}, {kCodeYuv420, kCodeYuv422}, {kCodeGray, kCodeGray}};
constexpr std::initializer_list<Target> kPlanar420Targets = {{kCodeYuv420, kCodeYuv420},
                                                             {kCodeGray, kCodeYuv420}};
constexpr std::initializer_list<Target> kGrayTargets = {{kCodeGray, kCodeGray}};

constexpr Family kFamilies[] = {
    {kCodeRgba, kPacked, kRgbaTargets},        {kCodeRgb, kPacked, kRgbTargets},
    {kCodeYuva, kPacked, kYuvaTargets},        {kCodeYuv444, kPacked, kPacked444Targets},
    {kCodeYuv444, kPlanar, kPlanar444Targets}, {kCodeYuv422, kPacked, kPacked422Targets},
    {kCodeYuv420, kPlanar, kPlanar420Targets}, {kCodeGray, kPlanar, kGrayTargets},
};

constexpr const Family* FindFamily(const LayoutDescriptor& layout)
{
    for (const Family& family : kFamilies)
        if (family.category == layout.category && family.arrangement == layout.arrangement)
            return &family;
    return nullptr;
}
static_assert(std::ranges::all_of(kHostLayouts, FindFamily));

/// The user's mask of outputs for a compressed format; none for a format whose outputs are not limited.
const uint32_t* OutputMask(const DecodeSettings& settings, FormatId code)
{
    switch (code) {
    case kCodeYuv444:
        return &settings.DecompSettings_YUV444;
    case kCodeYuv422:
        return &settings.DecompSettings_YUV422;
    case kCodeYuv420:
        return &settings.DecompSettings_YUV420;
    case kCodeGray:
        return &settings.DecompSettings_YUV400;
    default:
        return nullptr;
    }
}

/// Whether the user allows the route; a family's own layouts cannot be switched off.
bool IsAllowed(const DecodeSettings& settings, FormatId first, FormatId second)
{
    const FormatId category = CategoryOf(second);
    const uint32_t* mask = OutputMask(settings, first);
    return !mask || category == 0 || category == first || MaskAllows(*mask, category);
}

/// Both directions of every pair.
RouteTable::Map AllPairs(const RouteObjects& objects, imgproc::ColorStandard standard)
{
    RouteTable::Map map;
    for (const LayoutDescriptor& layout : kHostLayouts)
        for (const Target& target : FindFamily(layout)->targets) {
            const imgproc::ImgProcFrontend* frontend =
                objects.frontends.Find(layout.id, target.planes, standard);
            const bool lossy = target.code != layout.category;
            const bool converts = target.planes != target.code;
            const imgproc::ImgProcConverter* down =
                converts ? objects.converters.Find(target.planes, target.code) : nullptr;
            const imgproc::ImgProcConverter* up =
                converts ? objects.converters.Find(target.code, target.planes) : nullptr;
            map[{layout.id, target.code}] = {RouteKind::Compress, frontend, down,
                                             down ? &down->targetBackend : &frontend->planeBackend, lossy};
            map[{target.code, layout.id}] = {RouteKind::Decompress, frontend, up,
                                             up ? &up->sourceBackend : &frontend->planeBackend, lossy};
        }
    return map;
}

RouteTable::Map BuildRoutes(const RouteObjects& objects, const RouteInputs& inputs)
{
    RouteTable::Map map = AllPairs(objects, imgproc::StandardOf(inputs.colorMatrix, inputs.fullRange));

    // The key (id, 255) holds the route to the native partner, for host ids and compressed codes alike.
    for (FormatId id = 0; id < kFormatIds; ++id)
        if (const auto native = map.find({id, NativeOf(id)}); native != map.end())
            map[{id, kAnyFormat}] = native->second;

    std::erase_if(map, [&inputs](const RouteTable::Map::value_type& entry) {
        const auto& [key, route] = entry;
        const int bits = route.backend->GetBitsPerSample();
        return (bits == 8 ? !inputs.enable8Bit : bits < 8 || !inputs.enableHighBit) ||
               !IsAllowed(inputs.decode, key.first, key.second);
    });
    return map;
}

} // namespace

RouteTable::RouteTable(const RouteObjects& objects, const RouteInputs& tableInputs)
    : inputs(tableInputs), routes(BuildRoutes(objects, tableInputs))
{}
