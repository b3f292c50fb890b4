#include "imgproc/frontend/chroma_converters.h"

#include "common/as_size.h"
#include "imgproc/frontend/chroma_filters.h"

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstring>

namespace imgproc {

namespace {

/// A band of luma rows, held to the picture.
struct Band {
    int first;
    int last; ///< ahead of it the band ends
    int half; ///< half the band's rows, truncated

    Band(int firstRow, int rows, int height)
        : first(std::max(firstRow, 0)), last(std::min(firstRow + rows, height)),
          half(std::max(last - first, 0) / 2)
    {}
};

constexpr size_t kChromaPlanes[] = {1, 2};

/// Halves the rows of both chroma planes: target row i from source rows 2i - 1 to 2i + 1 by `smooth`, which
/// may halve the width too, or from row 2i alone by `drop`. The row ahead of the first is the first.
template <class Drop>
void HalveRows(const ConstPlaneArray& source, const PlaneArray& target, int count, const Band& band,
               bool interpolate, ChromaFilter smooth, Drop drop)
{
    for (const size_t p : kChromaPlanes)
        for (int i = band.first / 2; i < band.last / 2; ++i) {
            const uint8_t* const middle = RowAt(source[p], 2 * i);
            uint8_t* const to = RowAt(target[p], i);
            if (interpolate) {
                const uint8_t* const above = RowAt(source[p], std::max(2 * i - 1, 0));
                smooth({above, middle, RowAt(source[p], 2 * i + 1), nullptr}, to, count);
            } else {
                drop(middle, to);
            }
        }
}

/// The odd rows of both chroma planes, in place, from the even rows around them. `height` counts all rows.
void FillOddRows(const PlaneArray& planes, int count, int height, const Band& band)
{
    const int evenRows = height / 2;
    assert(evenRows > 0 || band.half == 0);
    for (const size_t p : kChromaPlanes)
        for (int i = band.first / 2; i < band.first / 2 + band.half; ++i) {
            const auto even = [&](int k) { return RowAt(planes[p], 2 * std::clamp(k, 0, evenRows - 1)); };
            kChromaFilters.fillBetween({even(i - 1), even(i), even(i + 1), even(i + 2)},
                                       RowAt(planes[p], 2 * i + 1), count);
        }
}

} // namespace

void ImgProcConverter8_444_to_422::Convert(const ConstPlaneArray& source, const PlaneArray& target, int width,
                                           int height, int first, int rows, int, bool interpolate) const
{
    const Band band(first, rows, height);
    FilterKernel* const filter = interpolate ? kChromaFilters.halveColumns : kChromaFilters.dropColumns;
    for (const size_t p : kChromaPlanes)
        for (int y = band.first; y < band.last; ++y)
            filter({RowAt(source[p], y)}, RowAt(target[p], y), width / 2);
}

void ImgProcConverter8_444_to_420::Convert(const ConstPlaneArray& source, const PlaneArray& target, int width,
                                           int height, int first, int rows, int, bool interpolate) const
{
    HalveRows(source, target, width / 2, Band(first, rows, height), interpolate, kChromaFilters.halveBoth,
              [&](const uint8_t* from, uint8_t* to) { kChromaFilters.dropColumns({from}, to, width / 2); });
}

void ImgProcConverter8_422_to_420::Convert(const ConstPlaneArray& source, const PlaneArray& target, int width,
                                           int height, int first, int rows, int, bool interpolate) const
{
    HalveRows(source, target, width / 2, Band(first, rows, height), interpolate, kChromaFilters.smoothRows,
              [&](const uint8_t* from, uint8_t* to) { std::memcpy(to, from, AsSize(width / 2)); });
}

void ImgProcConverter8_422_to_444::Convert(const ConstPlaneArray& source, const PlaneArray& target, int width,
                                           int height, int first, int rows, int, bool) const
{
    const Band band(first, rows, height);
    for (const size_t p : kChromaPlanes)
        for (int y = band.first; y < band.last; ++y)
            kChromaFilters.doubleColumns({RowAt(source[p], y)}, RowAt(target[p], y), width / 2);
}

void ImgProcConverter8_420_to_422::Convert(const ConstPlaneArray& source, const PlaneArray& target, int width,
                                           int height, int first, int rows, int pass, bool) const
{
    assert(pass == 0 || pass == 1);
    const Band band(first, rows, height);
    if (pass == 1)
        return FillOddRows(target, width / 2, height, band);
    // An odd height has a last even row without a source row.
    for (const size_t p : kChromaPlanes)
        for (int i = (band.first + 1) / 2; i < std::min((band.last + 1) / 2, height / 2); ++i)
            std::memcpy(RowAt(target[p], 2 * i), RowAt(source[p], i), AsSize(width / 2));
}

void ImgProcConverter8_420_to_444::Convert(const ConstPlaneArray& source, const PlaneArray& target, int width,
                                           int height, int first, int rows, int pass, bool) const
{
    assert(pass == 0 || pass == 1);
    const Band band(first, rows, height);
    if (pass == 1)
        return FillOddRows(target, width, height, band);
    for (const size_t p : kChromaPlanes)
        for (int i = band.first / 2; i < band.first / 2 + band.half; ++i)
            kChromaFilters.doubleColumns({RowAt(source[p], i)}, RowAt(target[p], 2 * i), width / 2);
}

void FillBand(const PlaneInfo& plane, int planeWidth, int vsub, int height, int first, int rows,
              uint8_t value)
{
    const Band band(first, rows, height);
    for (int y = band.first / vsub; y < band.last / vsub; ++y)
        std::memset(RowAt(plane, y), value, AsSize(planeWidth));
}

} // namespace imgproc
