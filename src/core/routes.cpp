// The routing table: one list of what each host layout can become, read in both directions.

#include "core/native_table.h"
#include "core/orvane.h"

#include <initializer_list>

namespace {

/// What a host layout becomes in a compressed format, and comes back from.
struct Target {
    FormatId code;
    FormatId
        planes; ///< the front end's planes; where they are not the code's own, a converter stands between
    bool lossy;
};

struct HostFamily {
    std::initializer_list<FormatId> hosts;
    std::initializer_list<Target> targets;
};

// Compression never raises the chroma resolution and decompression never lowers it, so that both directions
// have the same pairs.
constexpr std::initializer_list<FormatId> kRgbaHosts = {kHostRgba, kHostArgb, kHostBgra, kHostAbgr};
constexpr std::initializer_list<Target> kRgbaTargets = {{kCodeRgba, kCodeRgba, false},
                                                        {kCodeYuva, kCodeYuva, true}};

constexpr std::initializer_list<FormatId> kRgbHosts = {kHostRgbx, kHostXrgb, kHostBgrx,
                                                       kHostXbgr, kHostRgb,  kHostBgr};
constexpr std::initializer_list<Target> kRgbTargets = {{kCodeRgb, kCodeRgb, false},
                                                       {kCodeYuv444, kCodeYuv444, true},
                                                       {kCodeYuv422, kCodeYuv444, true},
                                                       {kCodeYuv420, kCodeYuv444, true},
                                                       {kCodeGray, kCodeGray, true}};

constexpr std::initializer_list<FormatId> kYuvaHosts = {kHostAyuvOrderAyuv, kHostVuya, kHostV408};
constexpr std::initializer_list<Target> kYuvaTargets = {{kCodeYuva, kCodeYuva, false}};

constexpr std::initializer_list<FormatId> kPacked444Hosts = {kHostVuyx, kHostV408X, kHostV308};
constexpr std::initializer_list<Target> kPacked444Targets = {{kCodeYuv444, kCodeYuv444, false},
                                                             {kCodeYuv422, kCodeYuv444, true},
                                                             {kCodeYuv420, kCodeYuv444, true},
                                                             {kCodeGray, kCodeGray, true}};

constexpr std::initializer_list<FormatId> kPlanar444Hosts = {kHostYv24, kHostI444};
constexpr std::initializer_list<Target> kPlanar444Targets = {{kCodeYuv444, kCodeYuv444, false},
                                                             {kCodeYuv422, kCodeYuv444, true},
                                                             {kCodeYuv420, kCodeYuv444, true},
                                                             {kCodeGray, kCodeYuv444, true}};

constexpr std::initializer_list<FormatId> kPacked422Hosts = {kHostYuy2, kHostUyvy};
constexpr std::initializer_list<Target> kPacked422Targets = {
    {kCodeYuv422, kCodeYuv422, false}, {kCodeYuv420, kCodeYuv422, true}, {kCodeGray, kCodeGray, true}};

constexpr std::initializer_list<FormatId> kPlanar420Hosts = {kHostYv12, kHostI420};
constexpr std::initializer_list<Target> kPlanar420Targets = {{kCodeYuv420, kCodeYuv420, false},
                                                             {kCodeGray, kCodeYuv420, true}};

constexpr std::initializer_list<FormatId> kGrayHosts = {kHostY8};
constexpr std::initializer_list<Target> kGrayTargets = {{kCodeGray, kCodeGray, false}};

constexpr HostFamily kFamilies[] = {
    {kRgbaHosts, kRgbaTargets},           {kRgbHosts, kRgbTargets},
    {kYuvaHosts, kYuvaTargets},           {kPacked444Hosts, kPacked444Targets},
    {kPlanar444Hosts, kPlanar444Targets}, {kPacked422Hosts, kPacked422Targets},
    {kPlanar420Hosts, kPlanar420Targets}, {kGrayHosts, kGrayTargets},
};

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
    const FormatId category = CategoryTable[static_cast<size_t>(second)];
    const uint32_t* mask = OutputMask(settings, first);
    return !mask || category == 0 || category == first || MaskAllows(*mask, category);
}

} // namespace

void Orvane::AddPairs(RouteMap& map, ColorStandard standard)
{
    for (const HostFamily& family : kFamilies)
        for (const FormatId host : family.hosts)
            for (const Target& target : family.targets) {
                const ImgProcFrontend* frontend = frontends.Find(host, target.planes, standard);
                const bool converts = target.planes != target.code;
                ImgProcConverter* down = converts ? converters.Find(target.planes, target.code) : nullptr;
                ImgProcConverter* up = converts ? converters.Find(target.code, target.planes) : nullptr;
                map[{host, target.code}] = {RouteKind::Compress, frontend, down,
                                            down ? &down->targetBackend : &frontend->planeBackend,
                                            target.lossy};
                map[{target.code, host}] = {RouteKind::Decompress, frontend, up,
                                            up ? &up->sourceBackend : &frontend->planeBackend, target.lossy};
            }
}

void Orvane::BuildRoutes(uint32_t colorMatrix, bool fullRange)
{
    // Built aside: if memory runs out, the table in force stays.
    RouteMap map;
    AddPairs(map, StandardOf(colorMatrix, fullRange));

    // Under (id, 255) stands the route to the native partner, for host ids and compressed codes alike.
    for (FormatId id = 0; id < static_cast<FormatId>(NativeTable.size()); ++id)
        if (const auto native = map.find({id, NativeTable[static_cast<size_t>(id)]}); native != map.end())
            map[{id, kAnyFormat}] = native->second;

    std::erase_if(map, [this](const RouteMap::value_type& entry) {
        const auto& [key, route] = entry;
        const int bits = route.backend->GetBitsPerSample();
        return (bits == 8 ? !enable8Bit : bits < 8 || !enableHighBit) ||
               !IsAllowed(decodeSettings, key.first, key.second);
    });
    routes.swap(map);
}
