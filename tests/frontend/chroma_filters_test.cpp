#include "imgproc/frontend/chroma_filters.h"

#include "support/exact_buffer.h"
#include "support/same_bytes.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

using namespace imgproc;

namespace {

enum class Fill { Random, Extremes, Flat, Step };

uint8_t Sample(Fill fill, size_t i, size_t size, std::mt19937& random)
{
    switch (fill) {
    case Fill::Random:
        return static_cast<uint8_t>(random());
    case Fill::Extremes:
        return random() % 2 ? 255 : 0;
    case Fill::Flat:
        return 200;
    case Fill::Step:
        return i < size / 2 ? 0 : 255;
    }
    return 0;
}

} // namespace

// Source rows and target end where their allocations end.
TEST(ChromaFilters, EveryImplementationGivesTheBytesOfTheScalarOne)
{
    std::mt19937 random(TestSeed());
    for (const auto& [filterName, filter] : kNamedChromaFilters) {
        const std::string_view name = filterName;
        const bool halves = name == "DropColumns" || name.starts_with("Halve");
        const bool doubles = name == "DoubleColumns";
        for (size_t count = 0; count <= 120; ++count)
            for (const Fill fill : {Fill::Random, Fill::Extremes, Fill::Flat, Fill::Step})
                for (int repeat = 0; repeat < 4; ++repeat) {
                    const size_t sourceSize = halves ? 2 * count : count;
                    std::vector<ExactBuffer> sources;
                    SourceRows rows{};
                    for (size_t r = 0; r < 4; ++r) {
                        sources.emplace_back(sourceSize, random() % 16);
                        for (size_t i = 0; i < sourceSize; ++i)
                            sources[r].data()[i] = Sample(fill, i, sourceSize, random);
                        rows[r] = sources[r].data();
                    }
                    ExactBuffer expected(doubles ? 2 * count : count);
                    (kChromaFilterImplementations[0].*filter)(rows, expected.data(), static_cast<int>(count));
                    for (const ChromaFilters& filters : kChromaFilterImplementations) {
                        ExactBuffer actual(expected.size(), random() % 16, 0x5A);
                        (filters.*filter)(rows, actual.data(), static_cast<int>(count));
                        ASSERT_TRUE(SameBytes(actual.Bytes(), expected.Bytes()))
                            << filters.name << ' ' << name << " count " << count;
                    }
                }
    }
}

// (a + 2b + c + 2) >> 2 in bytes rests on an identity: all 2^24 triples.
TEST(ChromaFilters, SmoothingIsExactForAllTriples)
{
    std::vector<uint8_t> a(65536), b(65536), c(65536), out(65536);
    for (int i = 0; i < 65536; ++i) {
        b[static_cast<size_t>(i)] = static_cast<uint8_t>(i >> 8);
        c[static_cast<size_t>(i)] = static_cast<uint8_t>(i);
    }
    for (int first = 0; first < 256; ++first) {
        std::ranges::fill(a, static_cast<uint8_t>(first));
        kChromaFilters.smoothRows({a.data(), b.data(), c.data(), nullptr}, out.data(), 65536);
        bool same = true;
        for (int i = 0; i < 65536; ++i)
            same &= out[static_cast<size_t>(i)] == (first + 2 * (i >> 8) + (i & 255) + 2) >> 2;
        ASSERT_TRUE(same) << first;
    }
}

TEST(ChromaFilters, StepEdgeOvershootsAndIsClipped)
{
    const uint8_t up[] = {0, 255, 255, 255, 255};
    const uint8_t down[] = {255, 0, 0, 0, 0};
    uint8_t target[10];
    for (const ChromaFilters& filters : kChromaFilterImplementations) {
        filters.doubleColumns({up}, target, 5);
        EXPECT_EQ(target[3], 255); // (9 * (255 + 255) - (0 + 255) + 8) >> 4 is 271
        filters.doubleColumns({down}, target, 5);
        EXPECT_EQ(target[3], 0); // (9 * 0 - 255 + 8) >> 4 is -16
    }
}
