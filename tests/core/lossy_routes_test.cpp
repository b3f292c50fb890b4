// Every route that changes colour space or chroma resolution against a plain reading of the whole road: host
// picture to planes, conversion, and back. The reference works sample by sample on whole pictures, with
// clamped coordinates.

#include "support/codec_run.h"
#include "support/picture_maker.h"
#include "support/plain_layouts.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include "imgproc/frontend/color_matrix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

using namespace imgproc;

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

/// Pixels of 3 or 4 bytes.
bool HasPixels(const PlainLayout& layout)
{
    return !layout.planar && layout.GroupPixels() == 1;
}

size_t PlaceOf(const PlainLayout& layout, char letter)
{
    return layout.bytes.find(letter);
}

int PitchOf(const PlainLayout& layout, int width)
{
    return (layout.RowBytes(width) + 3) / 4 * 4;
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

std::vector<SamplePlace> PlacesOf(const PlainLayout& layout, int width, int height)
{
    const auto w = static_cast<size_t>(width);
    const auto h = static_cast<size_t>(height);
    const size_t across = layout.code == kCodeYuv422 || layout.code == kCodeYuv420 ? 2 : 1;
    const size_t down = layout.code == kCodeYuv420 ? 2 : 1;
    std::vector<SamplePlace> places;
    if (layout.planar) {
        places.push_back({0, 1, w, width, height});
        for (const char letter : std::string_view(layout.Has('U') ? "UV" : ""))
            places.push_back({w * h + (PlaceOf(layout, letter) - 1) * (w / across) * (h / down), 1,
                              w / across, width / static_cast<int>(across), height / static_cast<int>(down)});
        return places;
    }
    const size_t pitch = (2 * w + 3) / 4 * 4;
    for (const char letter : std::string_view("YUV")) {
        const bool luma = letter == 'Y';
        places.push_back({PlaceOf(layout, letter), luma ? 2U : 4U, pitch, luma ? width : width / 2, height});
    }
    return places;
}

/// Host picture to planes of its own chroma resolution; RGB becomes YUV by the stream's matrix.
Planes SplitHost(const Bytes& picture, FormatId host, const StreamSpec& streamSpec)
{
    const auto width = static_cast<int>(streamSpec.width);
    const auto height = static_cast<int>(streamSpec.height);
    Planes planes;
    const PlainLayout& layout = PlainLayoutOf(host);
    if (!HasPixels(layout)) {
        for (const SamplePlace& place : PlacesOf(layout, width, height)) {
            Plane& plane = planes.emplace_back(place.width, place.height);
            for (int y = 0; y < place.height; ++y)
                for (int x = 0; x < place.width; ++x)
                    plane.At(x, y) = picture[place.start + static_cast<size_t>(y) * place.pitch +
                                             static_cast<size_t>(x) * place.step];
        }
        return planes;
    }
    planes.assign(4, Plane(width, height));
    const bool rgb = layout.IsRgb();
    const size_t first = PlaceOf(layout, rgb ? 'R' : 'Y');
    const size_t second = PlaceOf(layout, rgb ? 'G' : 'U');
    const size_t third = PlaceOf(layout, rgb ? 'B' : 'V');
    const ColorMatrix& m = MatrixOf(streamSpec);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint8_t* pixel = picture.data() + y * PitchOf(layout, width) + layout.RowBytes(x);
            const int a = pixel[first];
            const int b = pixel[second];
            const int c = pixel[third];
            const auto row = [&](const ColorMatrix::Row& r, int offset) {
                return static_cast<uint8_t>(((r.r * a + r.g * b + r.b * c + 4096) >> 13) + offset);
            };
            planes[0].At(x, y) = rgb ? row(m.y, m.offsetY) : static_cast<uint8_t>(a);
            planes[1].At(x, y) = rgb ? row(m.u, 128) : static_cast<uint8_t>(b);
            planes[2].At(x, y) = rgb ? row(m.v, 128) : static_cast<uint8_t>(c);
            planes[3].At(x, y) = layout.Has('A') ? pixel[PlaceOf(layout, 'A')] : 255;
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
    const PlainLayout& layout = PlainLayoutOf(host);
    if (!HasPixels(layout)) {
        const auto places = PlacesOf(layout, width, height);
        for (size_t i = 0; i < places.size(); ++i)
            for (int y = 0; y < places[i].height; ++y)
                for (int x = 0; x < places[i].width; ++x)
                    picture[places[i].start + static_cast<size_t>(y) * places[i].pitch +
                            static_cast<size_t>(x) * places[i].step] =
                        gray && i > 0 ? uint8_t{128} : planes[i].At(x, y);
        return picture;
    }
    const bool rgb = layout.IsRgb();
    const size_t first = PlaceOf(layout, rgb ? 'R' : 'Y');
    const size_t second = PlaceOf(layout, rgb ? 'G' : 'U');
    const size_t third = PlaceOf(layout, rgb ? 'B' : 'V');
    const ColorMatrix& m = MatrixOf(streamSpec);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            uint8_t* pixel = picture.data() + y * PitchOf(layout, width) + layout.RowBytes(x);
            const int luma = planes[0].At(x, y);
            const int u = gray ? 128 : planes[1].At(x, y);
            const int v = gray ? 128 : planes[2].At(x, y);
            if (rgb) {
                const int l = (luma - m.offsetY) * m.scaleY;
                pixel[first] = Clip((l + m.rv * (v - 128) + 4096) >> 13);
                pixel[second] = Clip((l + m.gu * (u - 128) + m.gv * (v - 128) + 4096) >> 13);
                pixel[third] = Clip((l + m.bu * (u - 128) + 4096) >> 13);
            } else {
                pixel[first] = static_cast<uint8_t>(luma);
                pixel[second] = static_cast<uint8_t>(u);
                pixel[third] = static_cast<uint8_t>(v);
            }
            if (layout.Has('X'))
                pixel[PlaceOf(layout, 'X')] = 255;
            else if (layout.Has('A'))
                pixel[PlaceOf(layout, 'A')] = planes[3].At(x, y);
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

/// Chroma from one size to another, downwards first across and then down as the rounding asks: rows are
/// weighted before columns.
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

/// Planes in the chroma resolution of a compressed format, or of a host that it comes back to. Fields of
/// interlaced streams are filtered by themselves.
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
    const FormatId code = PlainLayoutOf(host).code;
    return code == kCodeYuv422 || code == kCodeYuv420 ? code : kCodeYuv444;
}

class LossyRoutes : public testing::TestWithParam<bool>
{};

TEST_P(LossyRoutes, EqualThePlainRoadInBothDirections)
{
    const uint32_t seed = TestSeed();
    const bool interlaced = GetParam();
    std::set<FormatId> hosts;
    Orvane all(true, true);
    all.ApplyDecodeSettings({.DecompSettings_YUV400 = 255,
                             .DecompSettings_YUV420 = 255,
                             .DecompSettings_YUV422 = 255,
                             .DecompSettings_YUV444 = 255});
    for (const auto& [key, route] : all.Routes()) {
        if (!route.lossy || route.kind != RouteKind::Compress || key.second == kAnyFormat)
            continue;
        const auto [host, code] = key;
        hosts.insert(host);
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
            ASSERT_TRUE(
                SameBytes(decoded.picture, JoinHost(back, host, streamSpec, decoded.picture.size(), 0xEE)))
                << where;
        }
    }
    std::set<FormatId> expected; // those that have another format than their own
    for (const PlainLayout& layout : kPlainLayouts)
        if (layout.code != kCodeGray && (layout.code != kCodeYuva))
            expected.insert(layout.host);
    EXPECT_EQ(hosts, expected);
}

INSTANTIATE_TEST_SUITE_P(ScanKinds, LossyRoutes, testing::Bool());

} // namespace
