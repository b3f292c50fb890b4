// Colour over its whole domain (sampled unless long runs are asked for), and the values that everybody knows.
#include "imgproc/frontend/color_matrix.h"

#include "frontend/plain_pixels.h"
#include "imgproc/frontend/packed_rows.h"
#include "support/long_tests.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

using namespace imgproc;

namespace {

constexpr const ColorMatrix* kMatrices[] = {&Rec601_Full::kMatrix, &Rec709_Full::kMatrix,
                                            &Rec601_Limited::kMatrix, &Rec709_Limited::kMatrix};
constexpr ColorStandard kStandards[] = {ColorStandard::Rec601_Full, ColorStandard::Rec709_Full,
                                        ColorStandard::Rec601_Limited, ColorStandard::Rec709_Limited};

/// A row of all 65536 pairs of the second and third channel for one value of the first, as pixels and as
/// planes.
class PairsRow
{
  public:
    static constexpr int kWidth = 65536;

    PairsRow() : memory(6 * kWidth + 16)
    {
        pixels = memory.data() + (0 - reinterpret_cast<uintptr_t>(memory.data())) % 16;
        for (size_t p = 0; p < 3; ++p)
            planes[p] = pixels + (3 + p) * kWidth;
    }

    static PlainPixel Channels(int first, int x) { return {first, x >> 8, x & 255, 255}; }

    void SetPixels(int first)
    {
        for (int x = 0; x < kWidth; ++x)
            for (size_t k = 0; k < 3; ++k)
                pixels[3 * x + static_cast<int>(k)] = static_cast<uint8_t>(Channels(first, x)[k]);
    }
    void SetSamples(int first)
    {
        for (int x = 0; x < kWidth; ++x)
            for (size_t k = 0; k < 3; ++k)
                planes[k][x] = static_cast<uint8_t>(Channels(first, x)[k]);
    }

    SplitRow ToSplit() const { return {pixels, pixels, planes}; }
    JoinRow ToJoin() const { return {pixels, pixels, {planes[0], planes[1], planes[2]}}; }

    uint8_t* pixels;
    std::array<uint8_t*, 4> planes{};

  private:
    std::vector<uint8_t> memory;
};

/// Every value of the first channel, or in a quick run the ends and steps between.
template <class Visit>
void ForFirstChannel(const Visit& visit)
{
    for (int first = 0; first <= 255; first += LongTests() ? 1 : 17)
        visit(first);
}

using ThreePlanes = TPackedRows<3, ByteOrder<0, 1, 2>, MatrixStep>;

} // namespace

TEST(ColorMatrix, EveryFormOfForwardGivesTheFormulaForAllInputs)
{
    PairsRow pairs;
    for (const ColorStandard standard : kStandards)
        ForFirstChannel([&](int red) {
            pairs.SetPixels(red);
            for (const PackedRowForm& form : ThreePlanes::Forms()) {
                form.split(pairs.ToSplit(), PairsRow::kWidth, kMatrices[static_cast<size_t>(standard)]);
                for (int x = 0; x < PairsRow::kWidth; ++x) {
                    const auto [y, u, v, a] = PlainToYuv(PlainMatrixOf(standard), PairsRow::Channels(red, x));
                    const auto& planes = pairs.planes;
                    ASSERT_TRUE(planes[0][x] == y && planes[1][x] == u && planes[2][x] == v)
                        << form.name << " standard " << static_cast<int>(standard) << " red " << red << " x "
                        << x;
                }
            }
        });
}

TEST(ColorMatrix, EveryFormOfInverseGivesTheFormulaForAllInputs)
{
    PairsRow pairs;
    for (const ColorStandard standard : kStandards)
        ForFirstChannel([&](int luma) {
            for (const PackedRowForm& form : ThreePlanes::Forms()) {
                pairs.SetSamples(luma);
                form.join(pairs.ToJoin(), PairsRow::kWidth, kMatrices[static_cast<size_t>(standard)]);
                for (int x = 0; x < PairsRow::kWidth; ++x) {
                    const auto [r, g, b, a] =
                        PlainToRgb(PlainMatrixOf(standard), PairsRow::Channels(luma, x));
                    const uint8_t* const pixel = pairs.pixels + 3 * x;
                    ASSERT_TRUE(pixel[0] == r && pixel[1] == g && pixel[2] == b)
                        << form.name << " standard " << static_cast<int>(standard) << " luma " << luma
                        << " x " << x;
                }
            }
        });
}

TEST(ColorMatrix, ForwardSumsNeverLeaveTheRangeOfAByte)
{
    for (const ColorStandard standard : kStandards)
        for (int corner = 0; corner < 8; ++corner) { // a sum of products is largest and smallest at corners
            const PlainPixel rgb{corner & 1 ? 255 : 0, corner & 2 ? 255 : 0, corner & 4 ? 255 : 0, 0};
            const PlainPixel yuv = PlainToYuv(PlainMatrixOf(standard), rgb);
            for (size_t k = 0; k < 3; ++k) {
                EXPECT_GE(yuv[k], 0);
                EXPECT_LE(yuv[k], 255);
            }
        }
}

namespace {

PlainPixel Forward(ColorStandard standard, int r, int g, int b)
{
    alignas(16) uint8_t pixel[] = {static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b)};
    uint8_t samples[3];
    ThreePlanes::Forms()[0].split({pixel, pixel, {samples, samples + 1, samples + 2, nullptr}}, 1,
                                  kMatrices[static_cast<size_t>(standard)]);
    return {samples[0], samples[1], samples[2], 0};
}

PlainPixel Inverse(ColorStandard standard, int y, int u, int v)
{
    uint8_t pixel[3];
    uint8_t samples[] = {static_cast<uint8_t>(y), static_cast<uint8_t>(u), static_cast<uint8_t>(v)};
    ThreePlanes::Forms()[0].join({pixel, pixel, {samples, samples + 1, samples + 2, nullptr}}, 1,
                                 kMatrices[static_cast<size_t>(standard)]);
    return {pixel[0], pixel[1], pixel[2], 0};
}

bool IsFull(ColorStandard standard)
{
    return standard == ColorStandard::Rec601_Full || standard == ColorStandard::Rec709_Full;
}

} // namespace

TEST(ColorMatrix, WhiteBlackAndGreyHaveNeutralChroma)
{
    for (const ColorStandard standard : kStandards) {
        for (int level = 0; level < 256; ++level) {
            const PlainPixel yuv = Forward(standard, level, level, level);
            EXPECT_EQ(yuv[1], 128) << level;
            EXPECT_EQ(yuv[2], 128) << level;
        }
        EXPECT_EQ(Forward(standard, 255, 255, 255)[0], IsFull(standard) ? 255 : 235);
        EXPECT_EQ(Forward(standard, 0, 0, 0)[0], IsFull(standard) ? 0 : 16);
        EXPECT_EQ(Inverse(standard, IsFull(standard) ? 255 : 235, 128, 128), (PlainPixel{255, 255, 255, 0}));
        EXPECT_EQ(Inverse(standard, IsFull(standard) ? 0 : 16, 128, 128), (PlainPixel{0, 0, 0, 0}));
    }
}

TEST(ColorMatrix, PrimariesReachTheEndsOfChroma)
{
    for (const ColorStandard standard : kStandards) {
        const int top = IsFull(standard) ? 255 : 240;
        EXPECT_EQ(Forward(standard, 0, 0, 255)[1], top);
        EXPECT_EQ(Forward(standard, 255, 0, 0)[2], top);
    }
}

TEST(ColorMatrix, LumaOutsideTheLimitedRangeClips)
{
    for (const ColorStandard standard : {ColorStandard::Rec601_Limited, ColorStandard::Rec709_Limited}) {
        EXPECT_EQ(Inverse(standard, 0, 128, 128), (PlainPixel{0, 0, 0, 0}));
        EXPECT_EQ(Inverse(standard, 255, 128, 128), (PlainPixel{255, 255, 255, 0}));
    }
}

TEST(ColorMatrix, CoefficientsAreThoseOfTheStandards)
{
    // Kr and Kb define each standard; everything else follows. Chroma coefficients are a little below the
    // ideal, so that sums stay within a byte: by up to 17 of 8192.
    struct Weights {
        double red, blue;
    };
    for (const ColorStandard standard : kStandards) {
        const bool is601 =
            standard == ColorStandard::Rec601_Full || standard == ColorStandard::Rec601_Limited;
        const Weights k = is601 ? Weights{0.299, 0.114} : Weights{0.2126, 0.0722};
        const double green = 1 - k.red - k.blue;
        const double yScale = 8192 * (IsFull(standard) ? 1.0 : 219.0 / 255);
        const double cScale = 8192 * (IsFull(standard) ? 1.0 : 224.0 / 255);
        const ColorMatrix& m = *kMatrices[static_cast<size_t>(standard)];
        EXPECT_NEAR(m.y.r, k.red * yScale, 1);
        EXPECT_NEAR(m.y.g, green * yScale, 1);
        EXPECT_NEAR(m.y.b, k.blue * yScale, 1);
        EXPECT_NEAR(m.u.r, -0.5 * k.red / (1 - k.blue) * cScale, 17);
        EXPECT_NEAR(m.u.g, -0.5 * green / (1 - k.blue) * cScale, 17);
        EXPECT_NEAR(m.u.b, 0.5 * cScale, 17);
        EXPECT_NEAR(m.v.r, 0.5 * cScale, 17);
        EXPECT_NEAR(m.v.g, -0.5 * green / (1 - k.red) * cScale, 17);
        EXPECT_NEAR(m.v.b, -0.5 * k.blue / (1 - k.red) * cScale, 17);
        const double chromaBack = 8192 * 8192 / cScale;
        EXPECT_NEAR(m.scaleY, 8192 * 8192 / yScale, 1);
        EXPECT_NEAR(m.rv, 2 * (1 - k.red) * chromaBack, 60);
        EXPECT_NEAR(m.bu, 2 * (1 - k.blue) * chromaBack, 70);
        EXPECT_NEAR(m.gu, -2 * k.blue * (1 - k.blue) / green * chromaBack, 25);
        EXPECT_NEAR(m.gv, -2 * k.red * (1 - k.red) / green * chromaBack, 40);
    }
}
