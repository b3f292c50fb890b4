// Every packed front end in every form against the plain layouts: widths, addresses, pitches, flips, bands.
#include "imgproc/frontend/packed_frontends.h"

#include "common/align_up.h"
#include "frontend/picture_run.h"
#include "frontend/plain_pixels.h"
#include "support/long_tests.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <string>

using namespace imgproc;

namespace {

/// What the plain layouts say Split and Join leave in the arena and in the picture.
class PlainRun
{
  public:
    PlainRun(const FrontendKey& frontendKey, const PictureRun& pictureRun)
        : key(frontendKey), layout(*FindPlainLayout(key.host)), run(pictureRun),
          picture(run.picture.Bytes().begin(), run.picture.Bytes().end()),
          arena(run.arena.Bytes().begin(), run.arena.Bytes().end())
    {}

    void Split()
    {
        for (int y = 0; y < run.shape.height; ++y)
            for (int x = 0; x < run.shape.width; ++x) {
                const PlainPixel samples = PlainForward(key, layout.IsRgb(), PixelAt(x, y));
                for (size_t p = 0; p < PlainPlaneCount(key.planes); ++p)
                    SampleAt(p, x, y) = static_cast<uint8_t>(samples[p]);
            }
    }

    void Join()
    {
        for (int y = 0; y < run.shape.height; ++y)
            for (int x = 0; x < run.shape.width; ++x) {
                PlainPixel samples{};
                for (size_t p = 0; p < PlainPlaneCount(key.planes); ++p)
                    samples[p] = SampleAt(p, x, y);
                const PlainPixel pixel = PlainInverse(key, layout.IsRgb(), samples);
                for (size_t k = 0; k < layout.bytes.size(); ++k)
                    if (uint8_t* const byte = ByteOf(k, x, y))
                        *byte = static_cast<uint8_t>(pixel[ChannelOf(layout.bytes[k])]);
            }
    }

    const FrontendKey key;
    const PlainLayout& layout;
    const PictureRun& run;
    std::vector<uint8_t> picture;
    std::vector<uint8_t> arena;

  private:
    /// Byte k of the group of a pixel; null if it is the other pixel's luma.
    uint8_t* ByteOf(size_t k, int x, int y)
    {
        if (layout.GroupPixels() == 2 && layout.bytes[k] == 'Y' && (k < 2) != (x % 2 == 0))
            return nullptr;
        const int row = run.shape.flip ? run.shape.height - 1 - y : y;
        const int group = x / layout.GroupPixels() * static_cast<int>(layout.bytes.size());
        return &picture[static_cast<size_t>(row * run.shape.pitch + group) + k];
    }

    PlainPixel PixelAt(int x, int y)
    {
        PlainPixel pixel{0, 0, 0, 255};
        for (size_t k = 0; k < layout.bytes.size(); ++k)
            if (const uint8_t* const byte = ByteOf(k, x, y))
                pixel[ChannelOf(layout.bytes[k])] = *byte;
        return pixel;
    }

    uint8_t& SampleAt(size_t p, int x, int y)
    {
        const PlaneInfo& plane = run.planes[p];
        const int column = p == 0 ? x : x / layout.GroupPixels();
        return arena[static_cast<size_t>(plane.data - run.arena.data() + y * plane.pitch + column)];
    }
};

template <class Visit>
void ForEachPacked(const Visit& visit)
{
    const FrontendSet set;
    set.ForEach([&](const FrontendKey& key, const ImgProcFrontend& frontend) {
        if (const auto* const packed = dynamic_cast<const PackedFrontend*>(&frontend))
            visit(key, *packed);
    });
}

std::string Describe(const FrontendKey& key, const PictureShape& shape, size_t form)
{
    return "host " + std::to_string(key.host) + " planes " + std::to_string(key.planes) + " standard " +
           std::to_string(static_cast<int>(key.standard)) + " width " + std::to_string(shape.width) +
           " height " + std::to_string(shape.height) + " pitch " + std::to_string(shape.pitch) + " phase " +
           std::to_string(shape.phase) + (shape.flip ? " flip" : "") + " form " + std::to_string(form);
}

/// Fills from a random place of a fixed run of noise: much faster than drawing every byte.
void FillRandom(std::mt19937& random, uint8_t* bytes, int count)
{
    static const std::vector<uint8_t> noise = [] {
        std::mt19937 source(1);
        std::vector<uint8_t> drawn(1 << 17);
        std::ranges::generate(drawn, [&] { return static_cast<uint8_t>(source()); });
        return drawn;
    }();
    ASSERT_LE(count, 1 << 16);
    std::copy_n(noise.begin() + static_cast<ptrdiff_t>(random() % (1 << 16)), count, bytes);
}

/// Splits in two bands and compares everything, then joins random planes in two bands and compares
/// everything.
void CheckShape(const FrontendKey& key, const PackedFrontend& frontend, const PictureShape& shape,
                size_t form, std::mt19937& random)
{
    PictureRun run(frontend, shape);
    const int rowBytes = FindPlainLayout(key.host)->RowBytes(shape.width);
    const int band = shape.height / 2;
    for (int y = 0; y < shape.height; ++y)
        FillRandom(random, RowAt(run.host[0], y), rowBytes);
    PlainRun split(key, run);
    run.Split(form, 0, band);
    run.Split(form, band, shape.height - band);
    split.Split();
    ASSERT_TRUE(SameBytes(run.arena.Bytes(), split.arena)) << Describe(key, shape, form);
    ASSERT_TRUE(SameBytes(run.picture.Bytes(), split.picture)) << Describe(key, shape, form);

    FillRandom(random, run.arena.data(), static_cast<int>(run.arena.size()));
    PlainRun join(key, run);
    run.Join(form, 0, band);
    run.Join(form, band, shape.height - band);
    join.Join();
    ASSERT_TRUE(SameBytes(run.picture.Bytes(), join.picture)) << Describe(key, shape, form);
    ASSERT_TRUE(SameBytes(run.arena.Bytes(), join.arena)) << Describe(key, shape, form);
}

} // namespace

TEST(PackedFrontends, EveryFormGivesTheBytesOfThePlainLayout)
{
    std::mt19937 random(TestSeed());
    const auto drawn = [&](uint32_t count) { return static_cast<int>(random() % count); };
    ForEachPacked([&](const FrontendKey& key, const PackedFrontend& frontend) {
        const PlainLayout& layout = *FindPlainLayout(key.host);
        const int step = layout.GroupPixels();
        // Rows are cut at 16-byte boundaries of the plane, those of pixel pairs at 64-byte ones of the
        // picture.
        const int phases = step == 2 ? 16 : 4;
        for (int width = step; width <= 200; width += step)
            for (int phase = 0; phase < phases; ++phase)
                for (const int padding : {0, std::array{4, 20, 48, 64, 132}[static_cast<size_t>(drawn(5))]})
                    for (const bool flip : {false, true})
                        for (size_t form = 0; form < kForms; ++form) {
                            if ((flip && !frontend.SupportsFlip()) || (!LongTests() && drawn(40) != 0))
                                continue;
                            const int pitch = alignUp(layout.RowBytes(width), 4) + padding;
                            CheckShape(key, frontend,
                                       {width, 1 + drawn(4), pitch, static_cast<size_t>(4 * phase), flip},
                                       form, random);
                            if (testing::Test::HasFatalFailure())
                                return;
                        }
    });
}

TEST(PackedFrontends, PlannedPlanesStayInTheArenaOfTheirPlaneCount)
{
    ForEachPacked([](const FrontendKey& key, const PackedFrontend& frontend) {
        const PlainLayout& layout = *FindPlainLayout(key.host);
        for (int width = 2; width < 300; width += LongTests() ? 2 : 14)
            for (int padding = 0; padding <= 200; padding += 4) {
                const int height = 1 + width % 7;
                const int pitch = alignUp(layout.RowBytes(width), 4) + padding;
                const size_t phase = static_cast<size_t>(padding % 64);
                const bool flip = frontend.SupportsFlip() && width % 4 == 0;
                const PictureRun run(frontend, {width, height, pitch, phase, flip});
                for (size_t p = 0; p < frontend.planeBackend.GetPlaneCount(); ++p) {
                    const PlaneInfo& plane = run.planes[p];
                    const int planeWidth = frontend.planeBackend.GetPlaneWidth(p, width);
                    ASSERT_GE(plane.pitch, planeWidth);
                    ASSERT_GE(plane.data, run.arena.data());
                    ASSERT_LE(RowAt(plane, height - 1) + planeWidth, run.arena.data() + run.arena.size());
                }
            }
    });
}

TEST(PackedFrontends, PictureAndPlanesReachABoundaryTogetherInEveryRow)
{
    ForEachPacked([](const FrontendKey& key, const PackedFrontend& frontend) {
        const PlainLayout& layout = *FindPlainLayout(key.host);
        const size_t planes = frontend.planeBackend.GetPlaneCount();
        const auto address = [](const uint8_t* p) { return reinterpret_cast<uintptr_t>(p); };
        for (size_t phase = 0; phase < 64; phase += 4)
            for (int padding = 0; padding < 64; padding += 4)
                for (const bool flip : {false, frontend.SupportsFlip()}) {
                    const int height = 9;
                    const PictureRun run(
                        frontend, {50, height, alignUp(layout.RowBytes(50), 4) + padding, phase, flip});
                    for (int y = 0; y < height; ++y) {
                        const uint8_t* const pixels = RowAt(run.host[0], flip ? height - 1 - y : y);
                        const auto row = [&](size_t p) { return address(RowAt(run.planes[p], y)); };
                        if (layout.GroupPixels() == 2) {
                            const uintptr_t lead = (0 - address(pixels)) % 64;
                            ASSERT_EQ((row(0) + lead / 2) % 32, 0U);
                            for (size_t p = 1; p < planes; ++p)
                                ASSERT_EQ((row(p) + lead / 4) % 16, 0U);
                        } else {
                            const uintptr_t lead = (0 - row(0)) % 16;
                            ASSERT_EQ((address(pixels) + lead * layout.bytes.size()) % 16, 0U);
                            for (size_t p = 1; p < planes; ++p)
                                ASSERT_EQ((row(p) + lead) % 16, 0U);
                        }
                    }
                }
    });
}

TEST(PackedFrontends, FlippedPictureGivesThePlanesOfItsMirror)
{
    std::mt19937 random(TestSeed());
    const TImgProcFrontend24<3, Decorr3<2, 1, 0, DecorrAlgoRGB>> frontend;
    const int width = 77;
    const int height = 13;
    PictureRun upright(frontend, {width, height, 240, 4, false});
    PictureRun flipped(frontend, {width, height, 236, 8, true});
    for (int y = 0; y < height; ++y) {
        FillRandom(random, RowAt(upright.host[0], y), 3 * width);
        std::copy_n(RowAt(upright.host[0], y), 3 * width, RowAt(flipped.host[0], height - 1 - y));
    }
    for (int first = 0; first < height; first += 4) {
        upright.Split(kForms - 1, first, std::min(4, height - first));
        flipped.Split(kForms - 1, first, std::min(4, height - first));
    }
    for (size_t p = 0; p < 3; ++p)
        ASSERT_TRUE(SamePlane(flipped.planes[p], upright.planes[p], width, height)) << "plane " << p;
}

TEST(PackedFrontends, LosslessLayoutsComeBackBitForBit)
{
    std::mt19937 random(TestSeed());
    ForEachPacked([&](const FrontendKey& key, const PackedFrontend& frontend) {
        const PlainLayout& layout = *FindPlainLayout(key.host);
        const bool colourKept = layout.IsRgb() == IsRgbFamily(key.planes) && key.planes != kCodeGray;
        if (!colourKept)
            return;
        const int width = 122;
        PictureRun run(frontend, {width, 6, alignUp(layout.RowBytes(width), 4), 12, frontend.SupportsFlip()});
        for (int y = 0; y < 6; ++y)
            FillRandom(random, RowAt(run.host[0], y), layout.RowBytes(width));
        std::vector<uint8_t> expected(run.picture.Bytes().begin(), run.picture.Bytes().end());
        run.Split(kForms - 1, 0, 6);
        for (int y = 0; y < 6; ++y) // what Join does not write would show
            std::fill_n(RowAt(run.host[0], y), layout.RowBytes(width), PictureRun::kFill);
        run.Join(kForms - 1, 0, 6);
        const size_t x = layout.bytes.find('X');
        for (size_t i = x; x != layout.bytes.npos && i < expected.size(); i += 4)
            if (static_cast<int>(i) % run.shape.pitch < layout.RowBytes(width))
                expected[i] = 255;
        EXPECT_TRUE(SameBytes(run.picture.Bytes(), expected)) << key.host;
    });
}

TEST(PackedFrontends, NoRowsTouchNothing)
{
    ForEachPacked([](const FrontendKey&, const PackedFrontend& frontend) {
        for (const int rows : {0, -1, -100}) {
            PlaneArray nothing; // null pointers: any access would fault
            frontend.Split(ReadOnly(nothing), 100, rows, nothing);
            frontend.Join(nothing, 100, rows, ReadOnly(nothing));
        }
    });
}

TEST(PackedFrontends, MisalignedPitchGivesNoRows)
{
    const TImgProcFrontend24<3, Decorr3<2, 1, 0, DecorrAlgoRGB>> rgb24;
    const TImgProcFrontend32<4, Decorr4<2, 1, 0, 3, DecorrAlgoRGB>> rgb32;
    alignas(16) const uint8_t memory[16] = {};
    for (const PackedFrontend* frontend : std::initializer_list<const PackedFrontend*>{&rgb24, &rgb32})
        for (const int pitch : {401, 402, 403})
            for (const PlaneShape& shape : frontend->PrepareBuffers({memory, pitch}, 100, 4, false))
                EXPECT_EQ(shape.Bytes(), 0U);
}

TEST(PackedFrontends, RowsAreNeverLongerThanTheirBound)
{
    ForEachPacked([](const FrontendKey& key, const PackedFrontend& frontend) {
        for (int width = 2; width <= 70; width += 2)
            for (int padding = 0; padding <= 200; padding += 4)
                for (const bool flip : {false, true}) {
                    const int pitch =
                        alignUp(width * frontend.GetGroupBytes(0) / frontend.GetGroupPixels(0), 4) + padding;
                    PictureRun run(frontend, {width, 3, pitch, static_cast<size_t>(padding % 64), flip});
                    for (size_t p = 0; p < frontend.planeBackend.GetPlaneCount(); ++p) {
                        const int samples = frontend.planeBackend.GetPlaneWidth(p, width);
                        const int planned = run.shapes[p].pitch;
                        ASSERT_GE(planned, samples) << key.host << " width " << width << " pitch " << pitch;
                        ASSERT_LE(planned, samples + kMaxRowPadding)
                            << key.host << " width " << width << " pitch " << pitch;
                    }
                }
    });
}

namespace {

/// Samples of row 0 of a plane before the first on a boundary.
int PlannedLead(const PictureRun& run, size_t plane = 0)
{
    return static_cast<int>((kRowBoundary - run.shapes[plane].phase) % kRowBoundary);
}

} // namespace

TEST(PackedFrontends, LeadOf24BitPicturesIsAWholePixel)
{
    const TImgProcFrontend24<3, Decorr3<2, 1, 0, DecorrAlgoRGB>> frontend;
    const int expected[] = {0, 4, 8, 12}; // for addresses 0, 4, 8, 12 modulo 16
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(PlannedLead(PictureRun(frontend, {100, 4, 300, 4 * i, false})), expected[i]) << i;
}

TEST(PackedFrontends, LeadOf32BitPicturesIsTheDistanceInPixels)
{
    const TImgProcFrontend32<4, Decorr4<2, 1, 0, 3, DecorrAlgoRGB>> frontend;
    const int expected[] = {0, 3, 2, 1};
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(PlannedLead(PictureRun(frontend, {100, 4, 400, 4 * i, false})), expected[i]) << i;
}

TEST(PackedFrontends, WholeVectorsOfPaddingDoNotChangeThePlanePitch)
{
    const TImgProcFrontend24<3, Decorr3<2, 1, 0, DecorrAlgoRGB>> rgb24;
    const TImgProcFrontend32<4, Decorr4<2, 1, 0, 3, DecorrAlgoRGB>> rgb32;
    const TImgProcFrontend_YUY2_UYVY<OrderYuyv, false> yuy2;
    const auto pitches = [](const PackedFrontend& frontend, int pitch, bool flip) {
        const PictureRun run(frontend, {100, 4, pitch, 0, flip});
        return std::array{run.planes[0].pitch, run.planes[1].pitch, run.planes[2].pitch};
    };
    for (const bool flip : {false, true}) {
        EXPECT_EQ(pitches(rgb24, 300, flip), pitches(rgb24, 348, flip));
        EXPECT_EQ(pitches(rgb24, 300, flip), pitches(rgb24, 396, flip));
        EXPECT_NE(pitches(rgb24, 300, flip), pitches(rgb24, 316, flip));
        EXPECT_EQ(pitches(rgb32, 400, flip), pitches(rgb32, 464, flip));
    }
    EXPECT_EQ(pitches(yuy2, 200, false), pitches(yuy2, 264, false));
}

TEST(PackedFrontends, PlannedRowsFollowFromTheRule)
{
    using Leads = std::array<int, 3>;
    const auto leads = [](const PictureRun& run) {
        return Leads{PlannedLead(run, 0), PlannedLead(run, 1), PlannedLead(run, 2)};
    };
    // 24-bit, 100 x 4, pitch 308, address 4 modulo 16: reduced 308 is 2 modulo 3, so widened 324; plane pitch
    // 108.
    const TImgProcFrontend24<3, Decorr3<2, 1, 0, DecorrAlgoRGB>> rgb24;
    const PictureRun run24(rgb24, {100, 4, 308, 4, false});
    EXPECT_EQ(run24.shapes[0].pitch, 108);
    EXPECT_EQ(run24.shapes[0].rows, 4);
    EXPECT_EQ(leads(run24), (Leads{4, 4, 4}));
    EXPECT_EQ(run24.shapes[3].Bytes(), 0U);

    // Flipped: the last memory row lies 3 * 308 further, at 0 modulo 16; -108 is 108 + 8 modulo 16.
    const PictureRun flipped(rgb24, {100, 4, 308, 4, true});
    EXPECT_EQ(flipped.shapes[0].pitch, 116);
    EXPECT_EQ(leads(flipped), (Leads{0, 0, 0}));

    // 32-bit to one plane.
    const TImgProcFrontend32<1, Decorr4<2, 1, 0, 3, DecorrAlgoYUV>> gray32;
    const PictureRun run32(gray32, {100, 4, 404, 12, false});
    EXPECT_EQ(run32.shapes[0].pitch, 101);
    EXPECT_EQ(PlannedLead(run32), 1);
    EXPECT_EQ(run32.shapes[1].Bytes(), 0U);

    // 4:2:2: address 20 modulo 64 leaves 44 bytes, 22 luma and 11 chroma samples.
    const TImgProcFrontend_YUY2_UYVY<OrderUyvy, false> uyvy;
    const PictureRun run422(uyvy, {100, 4, 204, 20, false});
    EXPECT_EQ(run422.shapes[0].pitch, 102);
    EXPECT_EQ(run422.shapes[1].pitch, 51);
    EXPECT_EQ(run422.shapes[2].pitch, 51);
    EXPECT_EQ(leads(run422), (Leads{22, 11, 11}));
}

TEST(PackedFrontends, GeometryAnswersAsTheHostLaysOutItsPictures)
{
    ForEachPacked([](const FrontendKey& key, const PackedFrontend& frontend) {
        const PlainLayout& layout = *FindPlainLayout(key.host);
        EXPECT_EQ(frontend.GetPlaneCount(), 1U);
        EXPECT_EQ(frontend.GetGroupBytes(0), static_cast<int>(layout.bytes.size()));
        EXPECT_EQ(frontend.GetGroupPixels(0), layout.GroupPixels());
        EXPECT_EQ(frontend.SupportsFlip(), layout.GroupPixels() == 1);
        for (const size_t plane : {0, 1, 3}) {
            EXPECT_EQ(frontend.GetDefaultRowAlignment(plane), 4);
            EXPECT_EQ(frontend.GetBaseAlignment(plane), 4);
            EXPECT_EQ(frontend.GetPitchAlignment(plane), 4);
            EXPECT_EQ(frontend.GetPlaneWidth(plane, 7), 7);
            EXPECT_EQ(frontend.GetPlaneHeight(plane, 5), 5);
        }
        EXPECT_EQ(frontend.planeBackend.GetPlaneCount(), PlainPlaneCount(key.planes));
        EXPECT_EQ(frontend.nativeBackend.GetPlaneCount(),
                  layout.GroupPixels() == 2 ? 3U : layout.bytes.size());
        EXPECT_EQ(frontend.nativeBackend.GetHorizontalSubsampling(), layout.GroupPixels());
        EXPECT_EQ(frontend.planeBackend.GetHorizontalSubsampling(), key.planes == kCodeYuv422 ? 2 : 1);
        EXPECT_EQ(frontend.nativeBackend.GetVerticalSubsampling(), 1);
    });
}

namespace {

/// One row of one pixel group through Split and Join of a class.
template <class Frontend>
struct OneGroup {
    Frontend frontend;
    PictureRun run;

    explicit OneGroup(std::initializer_list<int> bytes)
        : run(frontend, {frontend.GetGroupPixels(0), 1, alignUp(frontend.GetGroupBytes(0), 4), 0, false})
    {
        std::ranges::transform(bytes, run.picture.data(),
                               [](int byte) { return static_cast<uint8_t>(byte); });
        run.Split(kForms - 1, 0, 1);
    }
    int Sample(size_t plane, int column = 0) const { return run.planes[plane].data[column]; }
    std::vector<int> Joined()
    {
        run.Join(kForms - 1, 0, 1);
        return {run.picture.data(), run.picture.data() + frontend.GetGroupBytes(0)};
    }
};

} // namespace

TEST(PackedRgb, DifferencesToGreenWrap)
{
    OneGroup<TImgProcFrontend24<3, Decorr3<2, 1, 0, DecorrAlgoRGB>>> group{0, 1, 3};
    EXPECT_EQ(group.Sample(0), 255); // B - G
    EXPECT_EQ(group.Sample(1), 1);   // G
    EXPECT_EQ(group.Sample(2), 2);   // R - G
    EXPECT_EQ(group.Joined(), (std::vector{0, 1, 3}));
}

TEST(PackedRgb, BlackAndWhiteHaveNoDifferences)
{
    for (const int level : {0, 255})
        for (const int alpha : {0, 77, 255}) {
            OneGroup<TImgProcFrontend32<4, Decorr4<2, 1, 0, 3, DecorrAlgoRGB>>> group{level, level, level,
                                                                                      alpha};
            EXPECT_EQ(group.Sample(0), 0);
            EXPECT_EQ(group.Sample(1), level);
            EXPECT_EQ(group.Sample(2), 0);
            EXPECT_EQ(group.Sample(3), alpha);
        }
}

TEST(PackedRgb, ThreePlanesComeBackOpaque)
{
    OneGroup<TImgProcFrontend32<3, Decorr4<2, 1, 0, 3, DecorrAlgoRGB>>> bgra{10, 20, 30, 40};
    EXPECT_EQ(bgra.Joined(), (std::vector{10, 20, 30, 255}));
    OneGroup<TImgProcFrontend32<3, Decorr4<3, 2, 1, 0, DecorrAlgoRGB>>> abgr{40, 10, 20, 30};
    EXPECT_EQ(abgr.Joined(), (std::vector{255, 10, 20, 30}));
}

TEST(PackedYuv, LayoutsWithoutChromaPlanesComeBackNeutralAndOpaque)
{
    OneGroup<TImgProcFrontend_YUY2_UYVY<OrderYuyv, true>> yuy2{10, 20, 30, 40};
    EXPECT_EQ(yuy2.Sample(0, 0), 10);
    EXPECT_EQ(yuy2.Sample(0, 1), 30);
    EXPECT_EQ(yuy2.Joined(), (std::vector{10, 128, 30, 128}));
    OneGroup<TImgProcFrontend_YUY2_UYVY<OrderUyvy, true>> uyvy{10, 20, 30, 40};
    EXPECT_EQ(uyvy.Joined(), (std::vector{128, 20, 128, 40}));
    OneGroup<TImgProcFrontend24<1, Decorr3<1, 2, 0, DecorrAlgoYUV>>> vyu{10, 20, 30};
    EXPECT_EQ(vyu.Joined(), (std::vector{128, 20, 128}));
    OneGroup<TImgProcFrontend32<1, Decorr4<1, 0, 2, 3, DecorrAlgoYUV>>> uyva{10, 20, 30, 40};
    EXPECT_EQ(uyva.Joined(), (std::vector{128, 20, 128, 255}));
    OneGroup<TImgProcFrontend32<3, Decorr4<2, 1, 0, 3, DecorrAlgoYUV>>> vuya{10, 20, 30, 40};
    EXPECT_EQ(vuya.Joined(), (std::vector{10, 20, 30, 255}));
    OneGroup<TImgProcFrontend32<4, Decorr4<1, 2, 3, 0, DecorrAlgoYUV>>> ayuv{40, 10, 20, 30};
    EXPECT_EQ(ayuv.Sample(3), 40);
    EXPECT_EQ(ayuv.Joined(), (std::vector{40, 10, 20, 30}));
}

TEST(PackedYuv, OddWidthLeavesTheLastPixelAlone)
{
    const TImgProcFrontend_YUY2_UYVY<OrderYuyv, false> frontend;
    for (size_t form = 0; form < kForms; ++form) {
        PictureRun run(frontend, {7, 1, 14, 0, false}); // the picture ends behind the seventh pixel
        std::ranges::fill(std::span(run.picture.data(), 14), uint8_t{9});
        run.Split(form, 0, 1);
        EXPECT_EQ(run.planes[0].data[5], 9);
        EXPECT_EQ(run.planes[0].data[6], PictureRun::kFill);
        EXPECT_EQ(run.planes[1].data[3], PictureRun::kFill);
        std::ranges::fill(std::span(run.picture.data(), 14), uint8_t{1});
        run.Join(form, 0, 1);
        EXPECT_EQ(run.picture.data()[11], 9);
        EXPECT_EQ(run.picture.data()[12], 1);
    }
}
