// The pictures that the hosts of these tests compress, and what of them has to come back.
#pragma once

#include "driver/driver_session.h"
#include "support/picture_maker.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

/// Pictures of one layout and size, as a host has them.
struct Clip {
    BITMAPINFOHEADER header;
    int hostId; ///< which of the layouts it is
    std::vector<Bytes> pictures;
};

/// A route on which nothing is lost: a compressed format and a layout that it keeps.
struct LosslessRoute {
    const Variant* variant;
    const HostFormat* format;

    int HostId() const { return IdFor(*format, *variant); }
    std::string Name() const { return std::string(format->name) + " as " + variant->fourCC; }
};

inline std::vector<LosslessRoute> LosslessRoutes()
{
    std::vector<LosslessRoute> routes;
    for (const Variant& variant : kVariants)
        for (const HostFormat& format : kHostFormats)
            if (variant.lossless.contains(IdFor(format, variant)))
                routes.push_back({&variant, &format});
    return routes;
}

/// The route from RGB, which is all that some hosts deal in.
inline LosslessRoute RgbRoute(const char* fourCC, int bits)
{
    for (const LosslessRoute& route : LosslessRoutes())
        if (std::string("RGB") == route.format->name && route.format->bits == bits &&
            std::string(fourCC) == route.variant->fourCC)
            return route;
    throw std::out_of_range("no such route");
}

/// Layouts whose rows are three bytes a pixel, rounded up to whole four bytes.
inline bool HasPaddedRows(int hostId)
{
    return hostId == 3 || hostId == 44;
}

/// Bytes of a picture as hosts hold it.
inline uint32_t HostPictureBytes(int hostId, int width, int height)
{
    const int layout = HasPaddedRows(hostId) ? 3 : hostId;
    return PictureBytes(layout, static_cast<uint32_t>(width), static_cast<uint32_t>(height));
}

inline Clip MakeClip(const LosslessRoute& route, int width, int height, int frames)
{
    const int hostId = route.HostId();
    const uint32_t size = HostPictureBytes(hostId, width, height);
    Clip clip{MakeHeader(*route.format, width, height, size), hostId, {}};
    for (int frame = 0; frame < frames; ++frame)
        clip.pictures.push_back(MakePicture(Content::Smooth, size, size / static_cast<uint32_t>(height),
                                            static_cast<uint32_t>(frame + hostId)));
    return clip;
}

/// The picture with 0 in all bytes that mean nothing: what pads the rows of 24-bit RGB to whole four bytes,
/// and the fourth byte of pixels without alpha.
inline Bytes Meaningful(const Clip& clip, Bytes picture)
{
    const auto row = static_cast<size_t>(clip.header.biWidth) * 3;
    const size_t pitch = (row + 3) / 4 * 4;
    if (HasPaddedRows(clip.hostId))
        for (size_t i = 0; i < picture.size(); ++i)
            picture[i] = i % pitch < row ? picture[i] : uint8_t{0};
    if (clip.hostId == 1 || clip.hostId == 45)
        for (size_t i = 3; i < picture.size(); i += 4)
            picture[i] = 0;
    return picture;
}

/// Whether these are the pictures of the clip.
inline bool AreSamePictures(const Clip& clip, const std::vector<Bytes>& pictures)
{
    return std::ranges::equal(clip.pictures, pictures, [&](const Bytes& before, const Bytes& after) {
        return Meaningful(clip, before) == Meaningful(clip, after);
    });
}
