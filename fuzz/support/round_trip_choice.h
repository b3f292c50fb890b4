// What the first bytes of a round trip input choose: layout, format, size and method.
#pragma once

#include "common/host_layouts.h"
#include "support/stream_choice.h"

#include <algorithm>

struct RoundTripChoice {
    uint8_t route;  ///< index in RoundTripRoutes(), modulo its size
    uint8_t width;  ///< pixels, 1 more
    uint8_t height; ///< rows, 1 more, modulo kMaxRows
    uint8_t flags;  ///< ChoiceFlag; frames have tables all the same
    uint8_t method; ///< index of the predictor, modulo 4
    uint8_t drift;  ///< added to the content with each repetition

    static constexpr uint32_t kMaxRows = 64;
    bool Has(ChoiceFlag flag) const { return (flags & flag) != 0; }
};

struct RoundTripRoute {
    FormatId host;
    FormatId code;
    bool lossy;
    uint32_t widthMultiple;
    uint32_t heightMultiple; ///< not interlaced
};

/// Every host layout with every compressed format that it can become.
inline const std::vector<RoundTripRoute>& RoundTripRoutes()
{
    static const std::vector<RoundTripRoute> routes = [] {
        Orvane codec(true, true);
        PrepareCodec(codec, false);
        std::vector<RoundTripRoute> list;
        for (const auto& [key, route] : codec.Routes())
            if (route.kind == RouteKind::Compress && key.second != kAnyFormat) {
                const auto [host, code] = key;
                const FormatDescriptor& own = FindLayoutDescriptor(host)->Native();
                const FormatDescriptor& coded = *FindFormatDescriptor(code);
                list.push_back({host, code, route.lossy, uint32_t{std::max(own.horizontal, coded.horizontal)},
                                uint32_t{std::max(own.vertical, coded.vertical)}});
            }
        return list;
    }();
    return routes;
}

inline const RoundTripRoute& RouteOf(const RoundTripChoice& choice)
{
    return RoundTripRoutes()[choice.route % RoundTripRoutes().size()];
}

inline StreamSize SizeOf(const RoundTripChoice& choice)
{
    return {choice.width + 1U, choice.height % RoundTripChoice::kMaxRows + 1U};
}

inline std::vector<uint8_t> MakeRecord(const RoundTripChoice& choice)
{
    constexpr uint8_t kTables = kChooseOtherTables | kChooseRecordTables;
    return MakeRecord(RouteOf(choice).code, SizeOf(choice), static_cast<uint8_t>(choice.flags & ~kTables));
}

/// Whether two tight pictures show the same: bytes between rows and bytes that stand in for alpha count for
/// nothing.
inline bool IsSamePicture(FormatId host, uint32_t width, std::span<const uint8_t> a,
                          std::span<const uint8_t> b)
{
    const LayoutDescriptor& layout = *FindLayoutDescriptor(host);
    if (layout.arrangement == Arrangement::Packed && layout.samples.size() == 3) {
        const size_t rowBytes = size_t{3} * width, pitch = (rowBytes + 3) / 4 * 4;
        for (size_t i = 0; i < a.size(); ++i)
            if (i % pitch < rowBytes && a[i] != b[i])
                return false;
        return true;
    }
    const int unused = layout.Place('X'); // -1 where every byte counts
    for (size_t i = 0; i < a.size(); ++i)
        if (static_cast<int>(i % 4) != unused && a[i] != b[i])
            return false;
    return true;
}
