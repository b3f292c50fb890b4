// What the routing table answers: which pairs of formats, and which sizes, this codec takes.

#include "common/align_up.h"
#include "common/frame_match.h"
#include "core/block_list.h"
#include "core/config_record.h"
#include "core/frame_layout.h"
#include "core/native_table.h"
#include "core/picture_layout.h"
#include "core/route_table.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

/// Smallest picture that is compressed.
constexpr uint32_t kLeastSize = 4;
/// Room in a frame's bound for all that is not payload.
constexpr uint64_t kBoundOverhead = 0x40000;
constexpr uint64_t kLengthTableRoom = 512;

/// Whether width and height are multiples of what both layouts of a route ask for.
bool SuitsSubsampling(const FormatRoute& route, uint32_t width, uint32_t height, bool interlaced)
{
    const imgproc::ImgProcBackend& native = route.frontend->nativeBackend;
    const int across = std::max(route.backend->GetHorizontalSubsampling(), native.GetHorizontalSubsampling());
    const int down = std::max(route.backend->GetVerticalSubsampling(), native.GetVerticalSubsampling()) *
                     (interlaced ? 2 : 1);
    return width % static_cast<uint32_t>(across) == 0 && height % static_cast<uint32_t>(down) == 0;
}

/// Whether all rows of all planes lie within signed 32-bit offsets, and the blocks within their limit.
bool IsAddressable(const FormatRoute& route, uint32_t width, uint32_t height, uint32_t blockHeight)
{
    if (width > kMaxPlaneBytes || height > kMaxPlaneBytes)
        return false;
    const imgproc::ImgProcFrontend& frontend = *route.frontend;
    for (size_t i = 0; i < frontend.GetPlaneCount(); ++i) {
        const uint64_t pitch = LeastPitch(frontend, i, width, frontend.GetDefaultRowAlignment(i));
        if (pitch * PlaneRows(frontend, i, height) > kMaxPlaneBytes)
            return false;
    }
    // Planes of our own: aligned rows behind a converter, rows a little wider than the picture's after a
    // packed front end. They are larger than the host's planes only where pictures are very narrow.
    const uint64_t ownPitch = frontend.GetBaseAlignment(0) > 1 ? uint64_t{width} + imgproc::kMaxRowPadding
                              : route.converter                ? alignUp(uint64_t{width}, uint64_t{16})
                                                               : width;
    const uint64_t bands = core::CountBands(height, std::min(blockHeight, height));
    return ownPitch * height <= kMaxPlaneBytes && bands * route.backend->GetPlaneCount() <= kMaxBlocks;
}

/// Bytes of all coded planes as raw residuals.
uint64_t RawBytes(const imgproc::ImgProcBackend& backend, uint32_t width, uint32_t height)
{
    uint64_t sum = 0;
    for (size_t i = 0; i < backend.GetPlaneCount(); ++i) {
        const auto samples = static_cast<uint64_t>(backend.GetPlaneWidth(i, static_cast<int>(width))) *
                             static_cast<uint64_t>(backend.GetPlaneHeight(i, static_cast<int>(height)));
        sum += (samples * static_cast<uint64_t>(backend.GetBitsPerSample()) + 7) / 8;
    }
    return sum;
}

/// The compressed format that a caller means: kAnyFormat is the native one.
FormatId ResolveCode(FormatId formatId, FormatId formatCode)
{
    if (formatCode != kAnyFormat)
        return formatCode;
    return NativeOf(formatId);
}

} // namespace

const FormatRoute* RouteTable::Find(FormatId first, FormatId second) const
{
    const auto found = routes.find({first, second});
    return found == routes.end() ? nullptr : &found->second;
}

const FormatRoute* RouteTable::FindHost(FormatId layout) const
{
    const FormatRoute* route = Find(layout, kAnyFormat);
    return route && route->kind == RouteKind::Compress ? route : nullptr;
}

FormatId RouteTable::NativeFormat(const FrameHeader& record)
{
    return NativeTable[record.formatCode];
}

bool RouteTable::HasAlpha(FormatId id) const
{
    const FormatRoute* route = Find(id, kAnyFormat);
    return route && route->backend->GetPlaneCount() == 4;
}

bool RouteTable::CanCompress(FormatId inputId, FormatId formatCode, uint32_t width, uint32_t height) const
{
    if (!MaskAllows(inputs.encode.InputColorSpace, CategoryOf(inputId)))
        return false;
    const FormatRoute* route = Find(inputId, formatCode);
    return route && route->kind == RouteKind::Compress && width >= kLeastSize && height >= kLeastSize &&
           SuitsSubsampling(*route, width, height, inputs.encode.Interlaced != 0) &&
           IsAddressable(*route, width, height, kBlockHeight);
}

bool RouteTable::CanCompressWith(const uint8_t* record, size_t size, FormatId inputId, uint32_t width,
                                 uint32_t height) const
{
    if (!ParseConfig(nullptr, record, size))
        return false;
    const FrameHeader header = ReadHeader(record);
    const FormatRoute* route = Find(inputId, header.formatCode);
    if (!route || route->kind != RouteKind::Compress || header.width != width || header.height != height ||
        !SuitsSubsampling(*route, width, height, IsInterlaced(header)) ||
        !core::GivesWholeRows(header, route->backend->GetVerticalSubsampling()) ||
        !IsAddressable(*route, width, height, header.blockHeight))
        return false;
    // Header, offset table, ids, block heads, code tables and tail have what the bound leaves beside raw
    // payloads.
    const uint64_t planes = route->backend->GetPlaneCount();
    const uint64_t count = planes * core::CountBands(height, std::min(header.blockHeight, height));
    const uint64_t perBlock = sizeof(uint32_t) + 1 + core::kBlockHeaderBytes;
    const uint64_t fixed = size + sizeof(uint32_t) + 1 + planes * kLengthTableRoom + core::FrameSize(0);
    return fixed + count * perBlock <= kBoundOverhead;
}

bool RouteTable::CanDecompress(const uint8_t* record, size_t size, FormatId outputId) const
{
    if (!ParseConfig(nullptr, record, size))
        return false;
    const FrameHeader header = ReadHeader(record);
    const FormatRoute* route = Find(header.formatCode, outputId);
    return route && route->kind == RouteKind::Decompress &&
           SuitsSubsampling(*route, header.width, header.height, IsInterlaced(header)) &&
           CodeLengthLimit(route->backend->GetBitsPerSample()) == header.maxCodeLength &&
           header.colorMatrix <= 2 && IsAddressable(*route, header.width, header.height, header.blockHeight);
}

uint32_t RouteTable::MaxCompressedSize(FormatId formatId, uint32_t width, uint32_t height,
                                       FormatId formatCode) const
{
    const FormatRoute* route = Find(formatId, formatCode);
    if (!route || route->kind != RouteKind::Compress || width > kMaxPlaneBytes || height > kMaxPlaneBytes)
        return 0;
    const uint64_t bound = alignUp(kBoundOverhead + RawBytes(*route->backend, width, height), uint64_t{4});
    return bound <= std::numeric_limits<uint32_t>::max() ? static_cast<uint32_t>(bound) : 0;
}

bool RouteTable::FillConfig(FrameHeader& record, FormatId formatId, uint32_t width, uint32_t height,
                            FormatId formatCode) const
{
    const FormatId code = ResolveCode(formatId, formatCode);
    const FormatRoute* route = Find(formatId, code);
    if (!route)
        return false;
    const bool yuv = IsYuvFamily(code);
    record = {};
    std::memcpy(record.magic, kFrameMagic, sizeof kFrameMagic);
    record.headerSize = kFrameHeaderSize;
    record.version = kFrameVersion;
    record.formatCode = static_cast<uint8_t>(code);
    record.maxCodeLength = static_cast<uint8_t>(CodeLengthLimit(route->backend->GetBitsPerSample()));
    record.colorMatrix = static_cast<uint8_t>(yuv ? inputs.encode.ColorMatrix : 2);
    record.flags = kFlagAlwaysSet;
    if (inputs.encode.Interlaced)
        record.flags |= kFlagInterlaced;
    if (inputs.encode.FullRangeYUV && yuv)
        record.flags |= kFlagFullRange;
    // Tables for the whole stream are never written: the setting 1 means tables in each frame, too.
    const uint32_t coderType = inputs.encode.CoderType == 1 ? 2 : inputs.encode.CoderType & 15;
    record.flags |= coderType << kCoderTypeShift;
    record.width = record.codedWidth = width;
    record.height = height;
    record.blockHeight = kBlockHeight;
    return true;
}

uint32_t RouteTable::GetConfigSize(FormatId formatId, uint32_t width, uint32_t height,
                                   FormatId formatCode) const
{
    FrameHeader record;
    return FillConfig(record, formatId, width, height, formatCode) ? kFrameHeaderSize : 0;
}

bool RouteTable::ComputePlanes(PlaneRecords& image, uint8_t* base, FormatId formatId, uint32_t width,
                               uint32_t height, uint32_t* total) const
{
    return PlacePlanes(image, base, formatId, width, height, total);
}

bool RouteTable::ComputePlanes(ConstPlaneRecords& image, const uint8_t* base, FormatId formatId,
                               uint32_t width, uint32_t height, uint32_t* total) const
{
    return PlacePlanes(image, base, formatId, width, height, total);
}

template <class Sample>
bool RouteTable::PlacePlanes(BasicPlaneRecords<Sample>& image, Sample* base, FormatId formatId,
                             uint32_t width, uint32_t height, uint32_t* total) const
{
    image = {};
    if (total)
        *total = 0;
    const FormatRoute* route = FindHost(formatId);
    if (!route)
        return false;
    const imgproc::ImgProcFrontend& frontend = *route->frontend;
    uint64_t sum = 0;
    for (size_t i = 0; i < frontend.GetPlaneCount(); ++i) {
        const uint64_t pitch = LeastPitch(frontend, i, width, frontend.GetDefaultRowAlignment(i));
        const uint64_t size = pitch * PlaneRows(frontend, i, height);
        auto& plane = image[i];
        plane.pitch = static_cast<int32_t>(pitch);
        plane.size = static_cast<uint32_t>(size);
        if (base)
            plane.data = base + sum;
        sum += size;
    }
    if (total && sum <= std::numeric_limits<uint32_t>::max())
        *total = static_cast<uint32_t>(sum);
    return true;
}
