// The streams that frame inputs are read under: three bytes of an input choose one.
#pragma once

#include "core/orvane.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

enum ChoiceFlag : uint8_t {
    kChooseInterlaced = 1,
    kChooseBottomUp = 2,
    kChooseMatrix601 = 4,
    kChooseFullRange = 8,
    kChooseInterpolate = 16,
    kChooseFrontGuard = 32,  ///< the picture lies against the guard page in front of it
    kChooseOtherTables = 64, ///< no tables in frames: none at all, or with the next bit behind the record
    kChooseRecordTables = 128,
};

/// The first bytes of an input. Every value of each is a choice.
struct StreamChoice {
    uint8_t route; ///< index in DecompressRoutes(), modulo its size
    uint8_t size;  ///< index in kStreamSizes, modulo its size
    uint8_t flags; ///< ChoiceFlag

    bool Has(ChoiceFlag flag) const { return (flags & flag) != 0; }
    uint32_t Key() const { return route | uint32_t{size} << 8 | uint32_t{flags} << 16; }
};

struct StreamSize {
    uint32_t width;
    uint32_t height;
};
/// All suit every layout and interlacing. 28 rows are one band, so there are one to four.
inline constexpr StreamSize kStreamSizes[] = {{4, 4}, {12, 8}, {64, 60}, {36, 32}, {8, 92}, {132, 56}};

struct StreamRoute {
    FormatId code;
    FormatId output;
};

/// Makes a codec ready for any choice: it takes and gives everything.
inline void PrepareCodec(Orvane& codec, bool interpolate)
{
    EncodeSettings encode;
    encode.InterpolateDownscale = interpolate;
    DecodeSettings decode;
    decode.DecompSettings_YUV400 = decode.DecompSettings_YUV420 = 0xFFFFFFFF;
    decode.DecompSettings_YUV422 = decode.DecompSettings_YUV444 = 0xFFFFFFFF;
    codec.ApplyDecodeSettings(decode);
    codec.ApplyEncodeSettings(encode);
}

/// Every compressed format with every output that it can have.
inline const std::vector<StreamRoute>& DecompressRoutes()
{
    static const std::vector<StreamRoute> routes = [] {
        Orvane codec(true, true);
        PrepareCodec(codec, false);
        std::vector<StreamRoute> list;
        for (const auto& [key, route] : codec.Routes())
            if (route.kind == RouteKind::Decompress && key.second != kAnyFormat)
                list.push_back({key.first, key.second});
        return list;
    }();
    return routes;
}

inline StreamRoute RouteOf(const StreamChoice& choice)
{
    const auto& routes = DecompressRoutes();
    return routes[choice.route % routes.size()];
}

inline StreamSize SizeOf(const StreamChoice& choice)
{
    return kStreamSizes[choice.size % std::size(kStreamSizes)];
}

/// The configuration record of a stream, with flat tables behind it where they stand there.
/// flags  ChoiceFlag
inline std::vector<uint8_t> MakeRecord(FormatId code, StreamSize size, uint8_t flags)
{
    const auto has = [&](ChoiceFlag flag) { return (flags & flag) != 0; };
    const bool recordTables = has(kChooseOtherTables) && has(kChooseRecordTables);
    const CoderType tables = recordTables              ? CoderType::InRecord
                             : has(kChooseOtherTables) ? CoderType::None
                                                       : CoderType::InFrame;
    FrameHeader header{};
    std::memcpy(header.magic, kFrameMagic, sizeof kFrameMagic);
    header.headerSize = kFrameHeaderSize;
    header.version = kFrameVersion;
    header.formatCode = static_cast<uint8_t>(code);
    header.maxCodeLength = 12;
    header.colorMatrix = IsYuvFamily(code) && has(kChooseMatrix601) ? 1 : 2;
    header.flags = kFlagAlwaysSet | static_cast<uint32_t>(tables) << kCoderTypeShift;
    if (has(kChooseInterlaced))
        header.flags |= kFlagInterlaced;
    if (IsYuvFamily(code) && has(kChooseFullRange))
        header.flags |= kFlagFullRange;
    header.width = header.codedWidth = size.width;
    header.height = size.height;
    header.blockHeight = 28;

    constexpr std::array<uint8_t, 2> kFlatTable = {0x88, 0xFF};
    const size_t tableCount = recordTables ? kMaxPlanes : 0;
    header.headerSize += static_cast<uint32_t>(tableCount * kFlatTable.size());
    std::vector<uint8_t> record(sizeof header);
    std::memcpy(record.data(), &header, sizeof header);
    for (size_t i = 0; i < tableCount; ++i)
        record.insert(record.end(), kFlatTable.begin(), kFlatTable.end());
    return record;
}

inline std::vector<uint8_t> MakeRecord(const StreamChoice& choice)
{
    return MakeRecord(RouteOf(choice).code, SizeOf(choice), choice.flags);
}

/// The frame of a tight picture of the native layout, or of `host` if it is given.
inline std::vector<uint8_t> EncodePicture(Orvane& codec, CompressInfo& info, std::span<const uint8_t> record,
                                          FormatId host, std::span<const uint8_t> picture)
{
    const FrameHeader header = ReadHeader(record.data());
    codec.BeginCompress(info, record.data(), record.size(), host);
    std::vector<uint8_t> frame(codec.MaxCompressedSize(host, header.width, header.height, header.formatCode));
    codec.SetSource(info, picture.data());
    info.output = frame.data();
    frame.resize(codec.Compress(info));
    return frame;
}

inline uint32_t PictureBytes(const Orvane& codec, FormatId layout, StreamSize size)
{
    PlaneRecords planes;
    uint32_t total = 0;
    codec.ComputePlanes(planes, nullptr, layout, size.width, size.height, &total);
    return total;
}
