// Every converter against the formulas written plainly, over sizes, bands, fields and contents. Planes end
// where their allocations end, with padded rows that must keep their fill.
#include "imgproc/frontend/chroma_converters.h"

#include "imgproc/frontend/frontend_set.h"
#include "support/exact_buffer.h"
#include "support/long_tests.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

using namespace imgproc;

namespace {

/// A plane of plain numbers; rows and columns outside are a failure.
struct PlainPlane {
    int width, height;
    std::vector<int> samples;

    PlainPlane(int w, int h, int fill = 0) : width(w), height(h), samples(static_cast<size_t>(w * h), fill) {}
    int& At(int y, int x)
    {
        if (y < 0 || y >= height || x < 0 || x >= width)
            throw std::out_of_range("plain plane");
        return samples[static_cast<size_t>(y * width + x)];
    }
};

int Clip(int x)
{
    return std::clamp(x, 0, 255);
}

/// One chroma plane through one converter; `height` rows of luma. All sizes are multiples of what the layouts
/// need.
using PlainConverter = std::function<void(PlainPlane& s, PlainPlane& d, bool interpolate)>;

void Plain444To422(PlainPlane& s, PlainPlane& d, bool interpolate)
{
    for (int y = 0; y < s.height; ++y)
        for (int x = 0; x < s.width; x += 2)
            d.At(y, x / 2) = interpolate
                                 ? (s.At(y, std::max(x - 1, 0)) + 2 * s.At(y, x) + s.At(y, x + 1) + 2) >> 2
                                 : s.At(y, x);
}

void Plain444To420(PlainPlane& s, PlainPlane& d, bool interpolate)
{
    for (int y = 0; y < s.height; y += 2) {
        const auto v = [&](int k) {
            const int column = std::max(k, 0);
            return (s.At(std::max(y - 1, 0), column) + 2 * s.At(y, column) + s.At(y + 1, column) + 2) >> 2;
        };
        for (int x = 0; x < s.width; x += 2)
            d.At(y / 2, x / 2) = interpolate ? (v(x - 1) + 2 * v(x) + v(x + 1) + 2) >> 2 : s.At(y, x);
    }
}

void Plain422To420(PlainPlane& s, PlainPlane& d, bool interpolate)
{
    for (int y = 0; y < s.height; y += 2)
        for (int c = 0; c < s.width; ++c)
            d.At(y / 2, c) = interpolate
                                 ? (s.At(std::max(y - 1, 0), c) + 2 * s.At(y, c) + s.At(y + 1, c) + 2) >> 2
                                 : s.At(y, c);
}

void PlainUpRow(PlainPlane& s, int sourceRow, PlainPlane& d, int targetRow)
{
    const auto at = [&](int i) { return s.At(sourceRow, std::clamp(i, 0, s.width - 1)); };
    for (int i = 0; i < s.width; ++i) {
        d.At(targetRow, 2 * i) = at(i);
        d.At(targetRow, 2 * i + 1) = Clip((9 * (at(i) + at(i + 1)) - (at(i - 1) + at(i + 2)) + 8) >> 4);
    }
}

void Plain422To444(PlainPlane& s, PlainPlane& d, bool)
{
    for (int y = 0; y < s.height; ++y)
        PlainUpRow(s, y, d, y);
}

void PlainOddRows(PlainPlane& d)
{
    const int h = d.height / 2;
    for (int i = 0; i < h; ++i)
        for (int c = 0; c < d.width; ++c) {
            const auto e = [&](int k) { return d.At(2 * std::clamp(k, 0, h - 1), c); };
            d.At(2 * i + 1, c) = Clip((9 * (e(i) + e(i + 1)) - (e(i - 1) + e(i + 2)) + 8) >> 4);
        }
}

void Plain420To422(PlainPlane& s, PlainPlane& d, bool)
{
    for (int i = 0; i < s.height; ++i)
        for (int c = 0; c < s.width; ++c)
            d.At(2 * i, c) = s.At(i, c);
    PlainOddRows(d);
}

void Plain420To444(PlainPlane& s, PlainPlane& d, bool)
{
    for (int i = 0; i < s.height; ++i)
        PlainUpRow(s, i, d, 2 * i);
    PlainOddRows(d);
}

void PlainNeutral(PlainPlane&, PlainPlane& d, bool)
{
    std::ranges::fill(d.samples, 128);
}

struct Case {
    FormatId from, to;
    PlainConverter plain;
};

const Case kCases[] = {
    {103, 104, Plain444To422}, {103, 105, Plain444To420}, {104, 105, Plain422To420},
    {104, 103, Plain422To444}, {105, 104, Plain420To422}, {105, 103, Plain420To444},
    {107, 103, PlainNeutral},  {107, 105, PlainNeutral},
};

/// A chroma plane in memory of its own, rows padded by `padding` bytes.
struct ChromaPlane {
    static constexpr uint8_t kFill = 0xE7;

    int width, height, pitch;
    ExactBuffer memory;

    ChromaPlane(int w, int h, int padding, size_t phase)
        : width(w), height(h), pitch(w + padding),
          memory(h > 0 ? static_cast<size_t>(pitch * (h - 1) + w) : 0, phase, kFill)
    {}
    PlaneInfo Info() { return {memory.data(), pitch}; }
};

enum class Content { Random, Step, Flat };

void Fill(ChromaPlane& plane, Content content, std::mt19937& random)
{
    const bool rising = random() % 2;
    const auto level = static_cast<uint8_t>(random());
    for (int y = 0; y < plane.height; ++y)
        for (int x = 0; x < plane.width; ++x) {
            const bool far = 2 * x > plane.width || 3 * y > 2 * plane.height;
            const auto edge = static_cast<uint8_t>(far == rising ? 255 : 0);
            *(RowAt(plane.Info(), y) + x) = content == Content::Random ? static_cast<uint8_t>(random())
                                            : content == Content::Step ? edge
                                                                       : level;
        }
}

int ChromaWidth(FormatId layout, int width)
{
    return layout == kCodeYuv444 ? width : layout == kCodeGray ? 0 : width / 2;
}

int ChromaHeight(FormatId layout, int height)
{
    return layout == kCodeYuv420 ? height / 2 : layout == kCodeGray ? 0 : height;
}

/// Source and target planes of one conversion, run band by band, each pass over all bands before the next.
class ConverterRun
{
  public:
    ConverterRun(const Case& which, int pictureWidth, int pictureHeight, int padding, size_t phase)
        : test(which), width(pictureWidth), height(pictureHeight)
    {
        for (size_t p = 0; p < 2; ++p) {
            sources.emplace_back(ChromaWidth(test.from, width), ChromaHeight(test.from, height), padding,
                                 phase);
            targets.emplace_back(ChromaWidth(test.to, width), ChromaHeight(test.to, height), padding,
                                 5 * phase % 16);
        }
        for (size_t p = 0; p < 2; ++p) {
            source[p + 1] = sources[p].Info();
            target[p + 1] = targets[p].Info();
        }
    }

    void Convert(const ImgProcConverter& converter, int blockHeight, bool interlaced, bool interpolate) const
    {
        for (int pass = 0; pass < converter.GetPassCount(); ++pass)
            for (int first = 0; first < height; first += blockHeight)
                ConvertBand(converter, first, std::min(blockHeight, height - first), pass, interlaced,
                            interpolate);
    }

    void ConvertBand(const ImgProcConverter& converter, int first, int rows, int pass, bool interlaced,
                     bool interpolate) const
    {
        if (!interlaced)
            return converter.Convert(ReadOnly(source), target, width, height, first, rows, pass, interpolate);
        for (const int field : {0, 1}) {
            ConstPlaneArray fieldSource;
            PlaneArray fieldTarget;
            for (size_t p = 1; p < 3; ++p) {
                fieldSource[p] = FieldOf(source[p], field);
                fieldTarget[p] = FieldOf(target[p], field);
            }
            converter.Convert(fieldSource, fieldTarget, width, height / 2, first / 2, rows / 2, pass,
                              interpolate);
        }
    }

    /// What the formulas leave in target plane p.
    std::vector<uint8_t> Plain(size_t p, bool interpolate, bool interlaced)
    {
        const int fields = interlaced ? 2 : 1;
        std::vector<uint8_t> memory(targets[p].memory.size(), ChromaPlane::kFill);
        for (int field = 0; field < fields; ++field) {
            PlainPlane s(sources[p].width, sources[p].height / fields);
            PlainPlane d(targets[p].width, targets[p].height / fields);
            for (int y = 0; y < s.height; ++y)
                for (int x = 0; x < s.width; ++x)
                    s.At(y, x) = RowAt(sources[p].Info(), y * fields + field)[x];
            test.plain(s, d, interpolate);
            for (int y = 0; y < d.height; ++y)
                for (int x = 0; x < d.width; ++x)
                    memory[static_cast<size_t>((y * fields + field) * targets[p].pitch + x)] =
                        static_cast<uint8_t>(d.At(y, x));
        }
        return memory;
    }

    const Case& test;
    int width, height;
    std::vector<ChromaPlane> sources, targets;
    PlaneArray source, target;
};

} // namespace

TEST(ChromaConverters, GiveTheBytesOfTheFormulas)
{
    std::mt19937 random(TestSeed());
    const ConverterSet set;
    for (const Case& test : kCases) {
        const ImgProcConverter& converter = *set.Find(test.from, test.to);
        for (int width = 4; width <= 140; width += 2)
            for (int height = 4; height <= 92; height += 4) {
                if (!LongTests() && width > 4 && height > 4 && random() % 16 != 0)
                    continue;
                for (const bool interlaced : {false, true})
                    for (const bool interpolate : {false, true})
                        for (const Content content : {Content::Random, Content::Step, Content::Flat}) {
                            const int padding = static_cast<int>(random() % 3) * 7;
                            ConverterRun run(test, width, height, padding, random() % 16);
                            for (ChromaPlane& plane : run.sources)
                                Fill(plane, content, random);
                            // Heights that keep whole row pairs in each field, and one band for the whole
                            // picture.
                            const int blockHeight = std::array{4, 28, 1000}[random() % 3];
                            run.Convert(converter, blockHeight, interlaced, interpolate);
                            for (size_t p = 0; p < 2; ++p)
                                ASSERT_TRUE(SameBytes(run.targets[p].memory.Bytes(),
                                                      run.Plain(p, interpolate, interlaced)))
                                    << test.from << " to " << test.to << ' ' << width << 'x' << height
                                    << " interlaced " << interlaced << " interpolate " << interpolate
                                    << " content " << static_cast<int>(content) << " block " << blockHeight;
                        }
            }
    }
}

// A pass that names a row dependency of 1 may follow the work on its own band at once: what other bands hold
// then, finished or not, must not show.
TEST(ChromaConverters, PassesWithoutDependencyReadTheirOwnBandOnly)
{
    std::mt19937 random(TestSeed());
    const ConverterSet set;
    for (const Case& test : kCases)
        for (const bool interpolate : {false, true}) {
            const ImgProcConverter& converter = *set.Find(test.from, test.to);
            if (converter.GetRowDependency(0, interpolate) == 0)
                continue;
            ConverterRun run(test, 40, 56, 0, 0);
            for (ChromaPlane& plane : run.sources)
                Fill(plane, Content::Random, random);
            std::vector<uint8_t> bands[2];
            for (const bool othersBroken : {false, true}) {
                ConverterRun band(test, 40, 56, 0, 0);
                for (size_t p = 0; p < 2; ++p) {
                    std::ranges::copy(run.sources[p].memory.Bytes(), band.sources[p].memory.data());
                    const int rows = band.sources[p].height;
                    for (int y = 0; othersBroken && y < rows; ++y)
                        if (y < rows / 2)
                            std::fill_n(RowAt(band.source[p + 1], y), band.sources[p].width, uint8_t{1});
                }
                band.ConvertBand(converter, 28, 28, 0, false, interpolate);
                const auto bytes = band.targets[0].memory.Bytes();
                bands[othersBroken].assign(bytes.begin(), bytes.end());
            }
            EXPECT_EQ(bands[0], bands[1]) << test.from << " to " << test.to;
        }
}

TEST(ChromaConverters, FlatChromaStaysFlatWithAndWithoutInterpolation)
{
    const ConverterSet set;
    for (const Case& test : kCases)
        for (const bool interpolate : {false, true})
            for (const int level : {0, 1, 128, 255}) {
                if (test.from == kCodeGray)
                    continue;
                const ImgProcConverter& converter = *set.Find(test.from, test.to);
                ConverterRun run(test, 38, 12, 0, 0);
                for (ChromaPlane& plane : run.sources)
                    std::memset(plane.memory.data(), level, plane.memory.size());
                run.Convert(converter, 4, false, interpolate);
                for (ChromaPlane& plane : run.targets)
                    for (const uint8_t sample : plane.memory.Bytes())
                        ASSERT_EQ(sample, level);
            }
}

// A foreign block height may cut bands at any row, with row pairs left over; sizes need not fit the layout.
// What is written then is open, but no row or column that does not exist may be touched (the planes end at
// their allocations).
TEST(ChromaConverters, OddBandsAndSizesStayInsideThePlanes)
{
    std::mt19937 random(TestSeed());
    const ConverterSet set;
    for (const Case& test : kCases)
        for (int height = 0; height <= 19; ++height)
            for (const int width : {0, 1, 2, 3, 5, 33, 50})
                for (const int blockHeight : {1, 2, 3, 5, 13, 1000})
                    for (const bool interlaced : {false, true})
                        for (const bool interpolate : {false, true}) {
                            const ImgProcConverter& converter = *set.Find(test.from, test.to);
                            ConverterRun run(test, width, height, 3, 0);
                            run.Convert(converter, blockHeight, interlaced, interpolate);
                            for (const ChromaPlane& plane : run.targets) // padding keeps its fill
                                for (int y = 0; y + 1 < plane.height; ++y)
                                    for (int x = plane.width; x < plane.pitch; ++x)
                                        ASSERT_EQ(plane.memory.data()[y * plane.pitch + x],
                                                  ChromaPlane::kFill);
                        }
}

TEST(ChromaConverters, BandsReachingOverThePictureAreHeldToIt)
{
    const ConverterSet set;
    for (const Case& test : kCases) {
        const ImgProcConverter& converter = *set.Find(test.from, test.to);
        ConverterRun held(test, 20, 12, 0, 0);
        ConverterRun over(test, 20, 12, 0, 0);
        for (int pass = 0; pass < converter.GetPassCount(); ++pass) {
            held.ConvertBand(converter, 0, 12, pass, false, true);
            over.ConvertBand(converter, 0, 1000, pass, false, true);
        }
        EXPECT_TRUE(SameBytes(over.targets[0].memory.Bytes(), held.targets[0].memory.Bytes()));
    }
}

TEST(ChromaConverters, ToGrayTouchesNothing)
{
    const ConverterSet set;
    const PlaneArray nothing; // null pointers: any access would fault
    for (const FormatId from : {kCodeYuv444, kCodeYuv420})
        set.Find(from, kCodeGray)->Convert(ReadOnly(nothing), nothing, 100, 100, 0, 100, 0, true);
}

TEST(ChromaConverters, FromGrayDoesNotReadTheSource)
{
    const ConverterSet set;
    const ConstPlaneArray nothing;
    for (const FormatId to : {kCodeYuv444, kCodeYuv420}) {
        std::vector<uint8_t> memory(2 * 16 * 8, 9);
        PlaneArray target;
        target[1] = {memory.data(), 16};
        target[2] = {memory.data() + 16 * 8, 16};
        set.Find(kCodeGray, to)->Convert(nothing, target, 16, 8, 2, 4, 0, true);
        const size_t first = to == kCodeYuv444 ? 2 : 1;
        const size_t last = to == kCodeYuv444 ? 6 : 3;
        const size_t width = to == kCodeYuv444 ? 16 : 8;
        for (size_t i = 0; i < memory.size(); ++i) {
            const size_t y = i % (16 * 8) / 16;
            const bool inside = y >= first && y < last && i % 16 < width;
            EXPECT_EQ(memory[i], inside ? 128 : 9) << i;
        }
    }
}
