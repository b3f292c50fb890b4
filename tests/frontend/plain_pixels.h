// Pixel layouts and colour written down plainly, one pixel at a time: what the front ends are held to.
#pragma once

#include "common/format_id.h"
#include "imgproc/frontend/frontend_set.h"
#include "support/plain_layouts.h"

#include <algorithm>
#include <array>
#include <cstdint>

/// Planes of a compressed format.
inline size_t PlainPlaneCount(FormatId planes)
{
    return planes == kCodeGray ? 1 : planes == kCodeRgba || planes == kCodeYuva ? 4 : 3;
}

using PlainPixel = std::array<int, 4>; // R G B A or Y U V A; or samples by plane

struct PlainMatrix {
    int y[3], u[3], v[3], offset, scale, rv, gu, gv, bu;
};

/// In the order of ColorStandard.
inline constexpr PlainMatrix kPlainMatrices[] = {
    {{2449, 4809, 934}, {-1376, -2702, 4080}, {4080, -3415, -662}, 0, 8192, 11530, -2829, -5872, 14573},
    {{1742, 5859, 591}, {-934, -3144, 4080}, {4080, -3705, -373}, 0, 8192, 12952, -1540, -3849, 15261},
    {{2104, 4130, 802}, {-1213, -2383, 3598}, {3598, -3012, -584}, 16, 9539, 13075, -3208, -6659, 16525},
    {{1496, 5032, 508}, {-823, -2773, 3598}, {3598, -3267, -329}, 16, 9539, 14686, -1746, -4365, 17305},
};

inline const PlainMatrix& PlainMatrixOf(imgproc::ColorStandard standard)
{
    return kPlainMatrices[static_cast<int>(standard)];
}

inline PlainPixel PlainToYuv(const PlainMatrix& m, const PlainPixel& rgb)
{
    const auto row = [&](const int(&c)[3]) {
        return (c[0] * rgb[0] + c[1] * rgb[1] + c[2] * rgb[2] + 4096) >> 13;
    };
    return {row(m.y) + m.offset, row(m.u) + 128, row(m.v) + 128, rgb[3]};
}

inline PlainPixel PlainToRgb(const PlainMatrix& m, const PlainPixel& yuv)
{
    const int luma = (yuv[0] - m.offset) * m.scale;
    const int u = yuv[1] - 128;
    const int v = yuv[2] - 128;
    const auto clip = [](int sum) { return std::clamp((sum + 4096) >> 13, 0, 255); };
    return {clip(luma + m.rv * v), clip(luma + m.gu * u + m.gv * v), clip(luma + m.bu * u), yuv[3]};
}

/// The samples that Split makes of a pixel; those behind the last plane are to be ignored.
inline PlainPixel PlainForward(const imgproc::FrontendKey& key, bool rgb, const PlainPixel& pixel)
{
    if (!rgb)
        return pixel;
    if (!IsRgbFamily(key.planes))
        return PlainToYuv(PlainMatrixOf(key.standard), pixel);
    const auto [r, g, b, a] = pixel;
    return {(b - g) & 255, g, (r - g) & 255, a};
}

/// The pixel that Join makes of the samples.
inline PlainPixel PlainInverse(const imgproc::FrontendKey& key, bool rgb, PlainPixel samples)
{
    const size_t planes = PlainPlaneCount(key.planes);
    if (planes < 4)
        samples[3] = 255;
    if (planes < 3)
        samples[1] = samples[2] = 128;
    if (!rgb)
        return samples;
    if (!IsRgbFamily(key.planes))
        return PlainToRgb(PlainMatrixOf(key.standard), samples);
    const auto [b, g, r, a] = samples;
    return {(r + g) & 255, g, (b + g) & 255, a};
}

/// Which channel a letter stands for; X, written as alpha, is 3.
inline size_t ChannelOf(char letter)
{
    switch (letter) {
    case 'R':
    case 'Y':
        return 0;
    case 'G':
    case 'U':
        return 1;
    case 'B':
    case 'V':
        return 2;
    default:
        return 3;
    }
}
