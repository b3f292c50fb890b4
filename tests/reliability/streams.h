// Pictures on their way through the driver: fixed ones that cover its kinds of routes, and any others by
// chance.
#pragma once

#include "driver/driver_session.h"
#include "support/exact_buffer.h"
#include "support/picture_maker.h"

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

struct HostStream {
    const Variant* variant;   ///< the compressed format
    const HostFormat* format; ///< layout of the pictures
    BITMAPINFOHEADER header;
    bool interlaced = false;
    Content content = Content::Smooth;

    std::string Name() const;
    /// One picture of it, at an address that frames do not depend on.
    ExactBuffer Picture(uint32_t seed = 1) const;
    /// Whether pictures come back to the last byte: no conversion, no byte that is not coded, no padding.
    bool IsIdentical() const;
    bool IsLossless() const;
};

/// The stream of a layout by its name and bits, as {"O8Y0", "RGB", 24}.
HostStream MakeHostStream(const char* fourCC, const char* layout, int bits, int width, int height,
                          bool interlaced = false);

/// One for each road that a picture can take: planes of the host, planes of our own, converters of both
/// kinds, fields.
std::vector<HostStream> StreamsOfAllRoads(int width = 64, int height = 60);

/// Any layout and format with a route between them, of any size up to `largest` that suits them.
HostStream RandomStream(std::mt19937& random, int largest);

/// What the store holds for the next open. Thread counts of 0 mean all processors.
struct StoredChoice {
    int encodeThreads = 1;
    int decodeThreads = 1;
    bool interlaced = false;
    uint32_t method = 4;
    uint32_t matrix = 2;
    bool fullRange = false;
    bool interpolate = true;
};
StoredChoice RandomChoice(std::mt19937& random);
/// Writes the settings of one variant and those of all; all conversions are allowed, no icon is shown.
void StoreChoice(const char* fourCC, const StoredChoice& choice);

/// Begins a run for this stream in both, as a host does that turns to another stream.
void BeginRuns(const HostStream& stream, const Instance& compressor, const Instance& decompressor);

/// Compresses, decompresses, and expects what the stream promises: the picture, or where the route loses
/// something the frame of the picture that came back.
void ExpectRoundTrip(const HostStream& stream, const Instance& compressor, const Instance& decompressor,
                     uint32_t seed);
