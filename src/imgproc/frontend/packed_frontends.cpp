#include "imgproc/frontend/packed_frontends.h"

#include "common/trace.h"
#include "common/vector_level.h"

#include <algorithm>
#include <cassert>

namespace imgproc {

namespace {

template <class Row, class Picture, class Planes>
void WalkRows(void (*kernel)(Row, int, const ColorMatrix*), const Picture& picture, int width, int rows,
              const Planes& planes, const ColorMatrix* matrix)
{
    for (int i = 0; i < rows; ++i) {
        const Row row{RowAt(picture[0], i),
                      RowAt(picture[0], std::min(i + 1, rows - 1)),
                      {RowAt(planes[0], i), RowAt(planes[1], i), RowAt(planes[2], i), RowAt(planes[3], i)}};
        kernel(row, width, matrix);
    }
}

/// Bytes from `p` to the next multiple of n.
int BytesToBoundary(const uint8_t* p, uintptr_t n)
{
    return static_cast<int>((0 - reinterpret_cast<uintptr_t>(p)) % n);
}

/// The phase of a row whose sample `lead` lies on a boundary.
uint32_t PhaseOfLead(int lead)
{
    return static_cast<uint32_t>(-lead) % kRowBoundary;
}

} // namespace

void PackedFrontend::Split(const ConstPlaneArray& picture, int width, int rows,
                           const PlaneArray& planes) const
{
    WalkRows(Fastest(rowForms).split, picture, width, rows, planes, colorMatrix);
}

void PackedFrontend::Join(const PlaneArray& picture, int width, int rows, const ConstPlaneArray& planes) const
{
    WalkRows(Fastest(rowForms).join, picture, width, rows, planes, colorMatrix);
}

// The row kernels reach a 16-byte boundary of picture and planes after the same number of pixels in every
// row. So pixelBytes * planePitch must equal the picture's pitch modulo 16, and one such pixel must exist:
// `leadPixels` of row 0.
PlaneShapes PackedPixelFrontend::PrepareBuffers(const ConstPlaneInfo& picture, int width, int height,
                                                bool flip) const
{
    const int pixelBytes = GetGroupBytes(0);
    const int pitch = picture.pitch;
    if (pitch % 4 != 0) {
        Trace("ERROR: RGB%d rows are not 4 byte aligned (rowPitch: %d)", 8 * pixelBytes, pitch);
        return {};
    }
    // Up to the next multiple of a pixel by steps of 16, which keep the place modulo 16: 16 is 1 modulo 3,
    // and for 4-byte pixels there is nothing to add.
    const auto wholePixels = [&](int bytes) {
        return bytes + 16 * ((pixelBytes - bytes % pixelBytes) % pixelBytes);
    };
    // The planes need not repeat whole vectors of row padding.
    const int vectorBytes = 16 * pixelBytes;
    const int reduced = pitch - (pitch - pixelBytes * width) / vectorBytes * vectorBytes;
    int planePitch = wholePixels(reduced) / pixelBytes;

    const uint8_t* anchor = picture.data;
    if (flip) { // the picture is walked upward: the plane pitch becomes its own negative modulo 16
        anchor = RowAt(picture, height - 1);
        planePitch += (-2 * planePitch) & 15;
    }
    const int leadPixels = wholePixels(BytesToBoundary(anchor, 16)) / pixelBytes;

    assert(planePitch <= width + kMaxRowPadding);
    PlaneShapes shapes{};
    for (size_t i = 0; i < planeBackend.GetPlaneCount(); ++i)
        shapes[i] = {planePitch, height, PhaseOfLead(leadPixels)};
    return shapes;
}

// As above with 64 bytes of picture, 32 luma and 16 chroma samples for each plane's vectors.
PlaneShapes Packed422Frontend::PrepareBuffers(const ConstPlaneInfo& picture, int width, int height,
                                              bool) const
{
    const int pitch = picture.pitch;
    const int reduced = pitch - (pitch - 2 * width) / 64 * 64;
    const int lead = BytesToBoundary(picture.data, 64);

    PlaneShapes shapes{};
    for (size_t i = 0; i < planeBackend.GetPlaneCount(); ++i) {
        const int samplePairs = i == 0 ? 2 : 4; // picture bytes for each sample of the plane
        shapes[i] = {reduced / samplePairs, height, PhaseOfLead(lead / samplePairs)};
        assert(shapes[i].pitch <= width + kMaxRowPadding);
    }
    return shapes;
}

} // namespace imgproc
