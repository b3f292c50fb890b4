// Every route that changes colour space or chroma resolution against a plain reading of the whole road: host picture
// to planes, conversion, and back. The reference works sample by sample on whole pictures, with clamped coordinates.

#include "support/codec_run.h"
#include "support/picture_maker.h"
#include "support/test_seed.h"

#include "imgproc/frontend/color_matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace {

using Bytes = std::vector<uint8_t>;

struct Plane {
    int width = 0;
    int height = 0;
    Bytes samples;

    Plane() = default;
    Plane(int w, int h, int fill = 0)
        : width(w), height(h),
          samples(static_cast<size_t>(w) * static_cast<size_t>(h), static_cast<uint8_t>(fill))
    {}
    uint8_t& At(int x, int y)
    {
        return samples[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
    /// Coordinates are held to the plane.
    int Get(int x, int y) const
    {
        x = std::clamp(x, 0, width - 1);
        y = std::clamp(y, 0, height - 1);
        return samples[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
    }
};
using Planes = std::vector<Plane>; // Y, U, V, alpha, as many as there are

uint8_t Clip(int value)
{
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

// Host layouts

struct HostLayout {
    FormatId id;
    int pixelBytes; // 0: planar
    int first;      // position of R or Y; then G or U, B or V
    int second;
    int third;
    int alpha; // -1: none; 4: present but not kept, comes back as 255
    bool rgb;
    bool swapped; // planar: V ahead of U
};
constexpr int kOpaque = 4;
constexpr HostLayout kPixelLayouts[] = {
    {20, 4, 0, 1, 2, 3, true, false},        {19, 4, 1, 2, 3, 0, true, false},
    {2, 4, 2, 1, 0, 3, true, false},         {21, 4, 3, 2, 1, 0, true, false},
    {17, 4, 0, 1, 2, kOpaque, true, false},  {16, 4, 1, 2, 3, kOpaque, true, false},
    {1, 4, 2, 1, 0, kOpaque, true, false},   {18, 4, 3, 2, 1, kOpaque, true, false},
    {22, 3, 0, 1, 2, -1, true, false},       {3, 3, 2, 1, 0, -1, true, false},
    {49, 4, 2, 1, 0, kOpaque, false, false}, {45, 4, 1, 0, 2, kOpaque, false, false},
    {44, 3, 1, 2, 0, -1, false, false},
};

const HostLayout* PixelLayoutOf(FormatId id)
{
    const auto found = std::ranges::find(kPixelLayouts, id, &HostLayout::id);
    return found == std::end(kPixelLayouts) ? nullptr : &*found;
}

int PitchOf(const HostLayout& layout, int width)
{
    return (width * layout.pixelBytes + 3) / 4 * 4;
}

const ColorMatrix& MatrixOf(const StreamSpec& streamSpec)
{
    if (streamSpec.colorMatrix == 1)
        return streamSpec.fullRange ? Rec601_Full::kMatrix : Rec601_Limited::kMatrix;
    return streamSpec.fullRange ? Rec709_Full::kMatrix : Rec709_Limited::kMatrix;
}

int ChromaDivisor(FormatId code)
{
    return code == kCodeYuv420 || code == kCodeYuv422 ? 2 : 1;
}

int RowDivisor(FormatId code)
{
    return code == kCodeYuv420 ? 2 : 1;
}

/// The planes of planar and of 4:2:2 layouts, as three references into the picture in Y, U, V order.
struct SamplePlace {
    size_t start;
    size_t step;
    size_t pitch;
    int width;
    int height;
};

std::vector<SamplePlace> PlacesOf(FormatId host, int width, int height)
{
    const auto w = static_cast<size_t>(width);
    const auto h = static_cast<size_t>(height);
    const auto planar = [&](int across, int down, bool swapped) {
        const size_t chroma = w / static_cast<size_t>(across) * (h / static_cast<size_t>(down));
        const SamplePlace second{w * h, 1, w / static_cast<size_t>(across), width / across, height / down};
        SamplePlace third = second;
        third.start += chroma;
        std::vector<SamplePlace> places{{0, 1, w, width, height}, second, third};
        if (swapped)
            std::swap(places[1], places[2]);
        return places;
    };
    const auto packed = [&](size_t y, size_t u, size_t v) {
        const size_t pitch = (2 * w + 3) / 4 * 4;
        return std::vector<SamplePlace>{
            {y, 2, pitch, width, height}, {u, 4, pitch, width / 2, height}, {v, 4, pitch, width / 2, height}};
    };
    switch (host) {
    case kHostI420:
        return planar(2, 2, false);
    case kHostYv12:
        return planar(2, 2, true);
    case kHostI444:
        return planar(1, 1, false);
    case kHostYv24:
        return planar(1, 1, true);
    case kHostYuy2:
        return packed(0, 1, 3);
    case kHostUyvy:
        return packed(1, 0, 2);
    case kHostY8:
        return {{0, 1, w, width, height}};
    default:
        return {};
    }
}

/// Host picture to planes of its own chroma resolution; RGB becomes YUV by the stream's matrix.
Planes SplitHost(const Bytes& picture, FormatId host, const StreamSpec& streamSpec)
{
    const auto width = static_cast<int>(streamSpec.width);
    const auto height = static_cast<int>(streamSpec.height);
    Planes planes;
    const HostLayout* layout = PixelLayoutOf(host);
    if (!layout) {
        for (const SamplePlace& place : PlacesOf(host, width, height)) {
            Plane& plane = planes.emplace_back(place.width, place.height);
            for (int y = 0; y < place.height; ++y)
                for (int x = 0; x < place.width; ++x)
                    plane.At(x, y) = picture[place.start + static_cast<size_t>(y) * place.pitch +
                                             static_cast<size_t>(x) * place.step];
        }
        return planes;
    }
    planes.assign(4, Plane(width, height));
    const ColorMatrix& m = MatrixOf(streamSpec);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint8_t* pixel = picture.data() + y * PitchOf(*layout, width) + x * layout->pixelBytes;
            const int a = pixel[layout->first];
            const int b = pixel[layout->second];
            const int c = pixel[layout->third];
            const auto row = [&](const ColorMatrix::Row& r, int offset) {
                return static_cast<uint8_t>(((r.r * a + r.g * b + r.b * c + 4096) >> 13) + offset);
            };
            planes[0].At(x, y) = layout->rgb ? row(m.y, m.offsetY) : static_cast<uint8_t>(a);
            planes[1].At(x, y) = layout->rgb ? row(m.u, 128) : static_cast<uint8_t>(b);
            planes[2].At(x, y) = layout->rgb ? row(m.v, 128) : static_cast<uint8_t>(c);
            planes[3].At(x, y) = layout->alpha >= 0 && layout->alpha < kOpaque ? pixel[layout->alpha] : 255;
        }
    return planes;
}

/// Planes to a host picture; `fill` stands where the layout has padding.
Bytes JoinHost(Planes planes, FormatId host, const StreamSpec& streamSpec, size_t bytes, uint8_t fill)
{
    const auto width = static_cast<int>(streamSpec.width);
    const auto height = static_cast<int>(streamSpec.height);
    Bytes picture(bytes, fill);
    const bool gray = planes.size() == 1;
    const HostLayout* layout = PixelLayoutOf(host);
    if (!layout) {
        const auto places = PlacesOf(host, width, height);
        for (size_t i = 0; i < places.size(); ++i)
            for (int y = 0; y < places[i].height; ++y)
                for (int x = 0; x < places[i].width; ++x)
                    picture[places[i].start + static_cast<size_t>(y) * places[i].pitch +
                            static_cast<size_t>(x) * places[i].step] =
                        gray && i > 0 ? uint8_t{128} : planes[i].At(x, y);
        return picture;
    }
    const ColorMatrix& m = MatrixOf(streamSpec);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint8_t* pixel = picture.data() + y * PitchOf(*layout, width) + x * layout->pixelBytes;
            const int luma = planes[0].At(x, y);
            const int u = gray ? 128 : planes[1].At(x, y);
            const int v = gray ? 128 : planes[2].At(x, y);
            if (layout->rgb) {
                const int l = (luma - m.offsetY) * m.scaleY;
                pixel[layout->first] = Clip((l + m.rv * (v - 128) + 4096) >> 13);
                pixel[layout->second] = Clip((l + m.gu * (u - 128) + m.gv * (v - 128) + 4096) >> 13);
                pixel[layout->third] = Clip((l + m.bu * (u - 128) + 4096) >> 13);
            } else {
                pixel[layout->first] = static_cast<uint8_t>(luma);
                pixel[layout->second] = static_cast<uint8_t>(u);
                pixel[layout->third] = static_cast<uint8_t>(v);
            }
            if (layout->alpha == kOpaque)
                pixel[6 - layout->first - layout->second - layout->third] = 255;
            else if (layout->alpha >= 0)
                pixel[layout->alpha] = planes[3].At(x, y);
        }
    return picture;
}

// Chroma

int Weighted(int before, int here, int behind)
{
    return (before + 2 * here + behind + 2) >> 2;
}

Plane Narrowed(const Plane& s, bool interpolate)
{
    Plane d(s.width / 2, s.height);
    for (int y = 0; y < d.height; ++y)
        for (int x = 0; x < d.width; ++x)
            d.At(x, y) = static_cast<uint8_t>(
                interpolate ? Weighted(s.Get(2 * x - 1, y), s.Get(2 * x, y), s.Get(2 * x + 1, y))
                            : s.Get(2 * x, y));
    return d;
}

Plane Lowered(const Plane& s, bool interpolate)
{
    Plane d(s.width, s.height / 2);
    for (int y = 0; y < d.height; ++y)
        for (int x = 0; x < d.width; ++x)
            d.At(x, y) = static_cast<uint8_t>(
                interpolate ? Weighted(s.Get(x, 2 * y - 1), s.Get(x, 2 * y), s.Get(x, 2 * y + 1))
                            : s.Get(x, 2 * y));
    return d;
}

uint8_t Between(int before, int left, int right, int behind)
{
    return Clip((9 * (left + right) - (before + behind) + 8) >> 4);
}

Plane Widened(const Plane& s)
{
    Plane d(s.width * 2, s.height);
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            d.At(2 * x, y) = static_cast<uint8_t>(s.Get(x, y));
            d.At(2 * x + 1, y) = Between(s.Get(x - 1, y), s.Get(x, y), s.Get(x + 1, y), s.Get(x + 2, y));
        }
    return d;
}

Plane Heightened(const Plane& s)
{
    Plane d(s.width, s.height * 2);
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; ++x) {
            d.At(x, 2 * y) = static_cast<uint8_t>(s.Get(x, y));
            d.At(x, 2 * y + 1) = Between(s.Get(x, y - 1), s.Get(x, y), s.Get(x, y + 1), s.Get(x, y + 2));
        }
    return d;
}

Plane FieldOfPlane(const Plane& s, int field)
{
    Plane d(s.width, s.height / 2);
    for (int y = 0; y < d.height; ++y)
        for (int x = 0; x < d.width; ++x)
            d.At(x, y) = static_cast<uint8_t>(s.Get(x, 2 * y + field));
    return d;
}

/// Chroma from one size to another, downwards first across and then down as the rounding asks: rows are weighted
/// before columns.
Plane Resized(const Plane& s, int width, int height, bool interpolate)
{
    Plane d = s;
    if (height < d.height)
        d = Lowered(d, interpolate);
    if (width < d.width)
        d = Narrowed(d, interpolate);
    if (width > d.width)
        d = Widened(d);
    if (height > d.height)
        d = Heightened(d);
    return d;
}

/// Planes in the chroma resolution of a compressed format, or of a host that it comes back to. Fields of interlaced
/// streams are filtered by themselves.
Planes Converted(Planes planes, FormatId resolution, const StreamSpec& streamSpec)
{
    if (resolution == kCodeGray) {
        planes.resize(1);
        return planes;
    }
    const int width = static_cast<int>(streamSpec.width) / ChromaDivisor(resolution);
    const int height = static_cast<int>(streamSpec.height) / RowDivisor(resolution);
    for (size_t i = 1; i < 3 && i < planes.size(); ++i) {
        if (!streamSpec.interlaced) {
            planes[i] = Resized(planes[i], width, height, streamSpec.interpolate);
            continue;
        }
        Plane whole(width, height);
        for (int field = 0; field < 2; ++field) {
            const Plane half =
                Resized(FieldOfPlane(planes[i], field), width, height / 2, streamSpec.interpolate);
            for (int y = 0; y < half.height; ++y)
                for (int x = 0; x < width; ++x)
                    whole.At(x, 2 * y + field) = static_cast<uint8_t>(half.Get(x, y));
        }
        planes[i] = whole;
    }
    return planes;
}

/// A layout that keeps the planes of a format as they are.
FormatId PlainOutput(FormatId code)
{
    static const std::map<FormatId, FormatId> outputs{{kCodeYuv444, kHostI444},
                                                      {kCodeYuv422, kHostYuy2},
                                                      {kCodeYuv420, kHostI420},
                                                      {kCodeGray, kHostY8},
                                                      {kCodeYuva, kHostAyuvOrderAyuv}};
    return outputs.at(code);
}

Planes PlanesOfStream(CodecRun& run, const Bytes& frame, FormatId code)
{
    run.streamSpec.output = PlainOutput(code);
    run.BeginDecompress();
    const auto decoded = run.Decode(frame);
    EXPECT_EQ(decoded.status, FrameStatus::Ok);
    if (code != kCodeYuva)
        return SplitHost(decoded.picture, run.streamSpec.output, run.streamSpec);
    Planes planes(4, Plane(static_cast<int>(run.streamSpec.width), static_cast<int>(run.streamSpec.height)));
    for (size_t i = 0; i < decoded.picture.size(); ++i)
        planes[(i + 3) % 4].samples[i / 4] = decoded.picture[i]; // A Y U V
    return planes;
}

/// The chroma resolution of the planes that a host layout joins, as a compressed format.
FormatId ResolutionOf(FormatId host)
{
    if (PixelLayoutOf(host) || host == kHostI444 || host == kHostYv24)
        return kCodeYuv444;
    return host == kHostYuy2 || host == kHostUyvy ? kCodeYuv422 : kCodeYuv420;
}

class LossyRoutes : public testing::TestWithParam<bool>
{};

TEST_P(LossyRoutes, EqualThePlainRoadInBothDirections)
{
    const uint32_t seed = TestSeed();
    const bool interlaced = GetParam();
    size_t pairs = 0;
    const Orvane table(true, true);
    Orvane all(true, true);
    all.ApplyDecodeSettings({.DecompSettings_YUV400 = 255,
                             .DecompSettings_YUV420 = 255,
                             .DecompSettings_YUV422 = 255,
                             .DecompSettings_YUV444 = 255});
    for (const auto& [key, route] : all.Routes()) {
        if (!route.lossy || route.kind != RouteKind::Compress || key.second == kAnyFormat)
            continue;
        const auto [host, code] = key;
        ++pairs;
        for (int variant = 0; variant < 4; ++variant) {
            const StreamSpec streamSpec{.host = host,
                                        .code = code,
                                        .width = variant < 2 ? 52U : 4U,
                                        .height = variant < 2 ? 72U : 8U,
                                        .interlaced = interlaced,
                                        .threads = 2,
                                        .colorMatrix = variant % 2 ? 1U : 2U,
                                        .fullRange = variant > 1,
                                        .interpolate = variant != 1};
            CodecRun run(streamSpec);
            const Bytes picture = MakePicture(variant % 2 ? Content::Noise : Content::Busy, run.InputBytes(),
                                              streamSpec.width, seed + static_cast<uint32_t>(variant));
            const Bytes frame = run.Encode(picture);
            ASSERT_FALSE(frame.empty());
            const std::string where = "host " + std::to_string(host) + " code " + std::to_string(code) +
                                      " variant " + std::to_string(variant);

            Planes expected = Converted(SplitHost(picture, host, streamSpec), code, streamSpec);
            const Planes coded = PlanesOfStream(run, frame, code);
            for (size_t i = 0; i < coded.size(); ++i)
                ASSERT_TRUE(coded[i].samples == expected[i].samples) << where << " plane " << i;

            run.streamSpec.output = host;
            run.BeginDecompress();
            const auto decoded = run.Decode(frame, 0, 0xEE);
            ASSERT_EQ(decoded.status, FrameStatus::Ok);
            const Planes back = code == kCodeGray ? coded : Converted(coded, ResolutionOf(host), streamSpec);
            ASSERT_TRUE(decoded.picture == JoinHost(back, host, streamSpec, decoded.picture.size(), 0xEE))
                << where;
        }
    }
    EXPECT_EQ(pairs, 49U);
}

INSTANTIATE_TEST_SUITE_P(ScanKinds, LossyRoutes, testing::Bool());

} // namespace
