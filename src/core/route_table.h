// The routing table: for a pair of formats, which front end, converter and back end pictures go through. All
// questions about formats, sizes and settings are answered here.
#pragma once

#include "common/frame_header.h"
#include "common/settings_records.h"
#include "core/format_route.h"
#include "core/plane_set.h"
#include "imgproc/frontend/frontend_set.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

/// The objects that routes point at.
struct RouteObjects {
    imgproc::FrontendSet frontends;
    imgproc::ConverterSet converters;
};

/// All that a routing table is built from.
struct RouteInputs {
    EncodeSettings encode{}; ///< with all values in range
    DecodeSettings decode{};
    uint32_t colorMatrix = 2; ///< of the routes that convert colors: 1 Rec.601, all others Rec.709
    bool fullRange = false;   ///< of the same routes
    bool enable8Bit = true;   ///< whether routes of 8-bit samples exist
    bool enableHighBit = true;
};

/// The routes under one set of settings. Immutable: new settings take a new table. Safe for any number of
/// threads.
///
/// A compress key has the host layout first, a decompress key the compressed format; the two ranges of ids
/// are disjoint. The second id 255 (kAnyFormat) names the route to the native partner of the first.
class RouteTable
{
  public:
    using Key = std::pair<int, int>;
    using Map = std::map<Key, FormatRoute>;

    /// objects  what the routes point at; must outlive the table and all copies of its routes
    /// Throws std::bad_alloc.
    RouteTable(const RouteObjects& objects, const RouteInputs& inputs);
    RouteTable(const RouteTable&) = delete;
    RouteTable& operator=(const RouteTable&) = delete;

    const RouteInputs& Inputs() const { return inputs; }
    const Map& Routes() const { return routes; }
    /// The route under exactly this key; null without one.
    const FormatRoute* Find(FormatId first, FormatId second) const;
    /// The route by which a host layout is compressed to its native format; null without one.
    const FormatRoute* FindHost(FormatId layout) const;

    /// Whether pictures of `inputId` and this size can become frames of `formatCode` (255: the native format)
    /// under the settings. Sizes are in pixels, as unsigned 32-bit values of any origin.
    bool CanCompress(FormatId inputId, FormatId formatCode, uint32_t width, uint32_t height) const;
    /// Whether a stream with this configuration record decodes to `outputId` (255: its native layout).
    bool CanDecompress(const uint8_t* record, size_t size, FormatId outputId) const;
    /// Whether a compress run of `inputId` pictures can be governed by this record, which another program may
    /// have written: its size is `width` x `height` and suits the route with the record's own interlace flag,
    /// its block height gives every plane and field whole rows, and no frame can outgrow MaxCompressedSize
    /// through its number of blocks or its tables.
    bool CanCompressWith(const uint8_t* record, size_t size, FormatId inputId, uint32_t width,
                         uint32_t height) const;
    /// The native output layout of a record's format.
    static FormatId NativeFormat(const FrameHeader& record);
    /// Whether the default route of a format has an alpha plane.
    bool HasAlpha(FormatId id) const;

    /// Fills a configuration record from the settings. formatCode 255 means the native format of formatId.
    /// False, with nothing written, when there is no route.
    bool FillConfig(FrameHeader& record, FormatId formatId, uint32_t width, uint32_t height,
                    FormatId formatCode) const;
    /// Bytes that FillConfig writes: 32, or 0 when there is no route.
    uint32_t GetConfigSize(FormatId formatId, uint32_t width, uint32_t height, FormatId formatCode) const;
    /// Upper bound of a frame in bytes, to be offered as output buffer; 0 without a compress route or when
    /// the bound does not fit 32 bits.
    uint32_t MaxCompressedSize(FormatId formatId, uint32_t width, uint32_t height, FormatId formatCode) const;
    /// Describes an unpadded picture: addresses (from `base`, which may be null), pitches, sizes. False when
    /// the layout has no front end. total receives the bytes of all planes, 0 when they do not fit 32 bits.
    bool ComputePlanes(PlaneRecords& image, uint8_t* base, FormatId formatId, uint32_t width, uint32_t height,
                       uint32_t* total) const;
    /// The same for a picture that is only read.
    bool ComputePlanes(ConstPlaneRecords& image, const uint8_t* base, FormatId formatId, uint32_t width,
                       uint32_t height, uint32_t* total) const;

  private:
    template <class Sample>
    bool PlacePlanes(BasicPlaneRecords<Sample>& image, Sample* base, FormatId formatId, uint32_t width,
                     uint32_t height, uint32_t* total) const;

    const RouteInputs inputs;
    const Map routes;
};
