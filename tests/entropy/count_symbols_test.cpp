#include "entropy/count_symbols.h"

#include "entropy_test_tools.h"
#include "support/test_seed.h"

#include <gtest/gtest.h>

using namespace entropy;

TEST(CountSymbols, AddsEveryFourthColumnOfEveryRow)
{
    std::mt19937 random(TestSeed());
    for (int width = 0; width <= 100; ++width)
        for (int height = 0; height <= 4; ++height)
            for (const int extra : {0, 1, 3, 29}) {
                const int pitch = width + extra;
                // The last row ends with the memory.
                const auto size = static_cast<size_t>(height > 0 ? pitch * (height - 1) + width : 0);
                ExactBytes plane(size);
                for (size_t i = 0; i < size; ++i)
                    plane.data()[i] = static_cast<uint8_t>(random());
                Counts before;
                std::ranges::generate(before, [&] { return Below(random, 1000); });
                Counts expected = before;
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width; ++x)
                        expected[plane.data()[y * pitch + x]] += x % 4 == 0;

                Counts counts = before;
                CountSymbols(plane.data(), width, height, pitch, counts.data());
                ASSERT_EQ(counts, expected) << width << " by " << height << ", pitch " << pitch;
                if (height > 0) {
                    const uint8_t* const lastRow = plane.data() + pitch * (height - 1);
                    counts = before;
                    CountSymbols(lastRow, width, height, -pitch, counts.data());
                    ASSERT_EQ(counts, expected) << width << " by " << height << ", pitch " << -pitch;
                }
            }
}

TEST(CountSymbols, OneValueIsCountedInFull)
{
    const Bytes plane(1920 * 28, 200);
    Counts counts{};
    CountSymbols(plane.data(), 1920, 28, 1920, counts.data());
    Counts expected{};
    expected[200] = 480 * 28;
    EXPECT_EQ(counts, expected);
}
