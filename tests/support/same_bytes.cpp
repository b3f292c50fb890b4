#include "support/same_bytes.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace {

using Bytes = std::span<const uint8_t>;

/// How many neighbors are shown on either side.
constexpr size_t kNeighbors = 8;

/// "12 34 [56] 78": the bytes around `at`, which is marked. A missing byte is "--".
std::string Around(Bytes bytes, size_t at)
{
    std::string text;
    for (size_t i = at - std::min(at, kNeighbors); i <= at + kNeighbors; ++i) {
        char digits[8] = "--";
        if (i < bytes.size())
            std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned>(bytes[i]));
        else if (i > at)
            break;
        text += i == at ? std::string(" [") + digits + "]" : std::string(" ") + digits;
    }
    return text;
}

size_t FirstDifference(Bytes a, Bytes b)
{
    return static_cast<size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
}

size_t CountDifferences(Bytes a, Bytes b)
{
    size_t count = std::max(a.size(), b.size()) - std::min(a.size(), b.size());
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        count += a[i] != b[i];
    return count;
}

std::string Lines(Bytes actual, Bytes expected, size_t at)
{
    return "\n  actual  " + Around(actual, at) + "\n  expected" + Around(expected, at);
}

} // namespace

testing::AssertionResult SameBytes(Bytes actual, Bytes expected)
{
    if (std::ranges::equal(actual, expected))
        return testing::AssertionSuccess();
    const size_t at = FirstDifference(actual, expected);
    auto failure = testing::AssertionFailure();
    if (actual.size() != expected.size())
        failure << actual.size() << " bytes, expected " << expected.size() << "; ";
    return failure << CountDifferences(actual, expected) << " of " << expected.size()
                   << " bytes differ, the first at index " << at << ':' << Lines(actual, expected, at);
}

testing::AssertionResult SamePlane(ConstPlaneInfo actual, ConstPlaneInfo expected, size_t width,
                                   size_t height)
{
    size_t count = 0;
    std::string first;
    for (size_t y = 0; y < height; ++y) {
        const Bytes ours(RowAt(actual, static_cast<ptrdiff_t>(y)), width);
        const Bytes theirs(RowAt(expected, static_cast<ptrdiff_t>(y)), width);
        const size_t inRow = CountDifferences(ours, theirs);
        if (count == 0 && inRow > 0) {
            const size_t x = FirstDifference(ours, theirs);
            first =
                "row " + std::to_string(y) + " column " + std::to_string(x) + ':' + Lines(ours, theirs, x);
        }
        count += inRow;
    }
    if (count == 0)
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << count << " of " << width << " x " << height << " samples differ, the first in " << first;
}
