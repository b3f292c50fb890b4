#include "imgproc/frontend/packed_frontends.h"

#include "common/align_up.h"
#include "common/trace.h"
#include "common/vector_level.h"

namespace {

constexpr size_t kChosenForm = kScalarOnly ? 0 : 1;
constexpr uintptr_t kPlaneStep =
    1024; // planes stand at multiples of it, each 256 bytes further than the last
constexpr int kPlaneStagger = 256;

void WalkRows(void (*kernel)(PackedRow, int, const ColorMatrix*), const PlaneArray& picture, int width,
              int rows, const PlaneArray& planes, const ColorMatrix* matrix)
{
    for (int i = 0; i < rows; ++i) {
        const PackedRow row{
            RowAt(picture[0], i),
            {RowAt(planes[0], i), RowAt(planes[1], i), RowAt(planes[2], i), RowAt(planes[3], i)}};
        kernel(row, width, matrix);
    }
}

/// Bytes from `p` to the next multiple of n.
int BytesToBoundary(const uint8_t* p, uintptr_t n)
{
    return static_cast<int>((0 - reinterpret_cast<uintptr_t>(p)) % n);
}

/// Where plane `index` stands, with its sample `lead` of row 0 on a boundary; `end` is the end of the plane
/// before.
uint8_t* PlacePlane(uint8_t* end, int lead, int index)
{
    return alignUp(end + lead, kPlaneStep) - lead + index * kPlaneStagger;
}

} // namespace

void PackedFrontend::Split(const PlaneArray& picture, int width, int rows, const PlaneArray& planes) const
{
    WalkRows(rowForms[kChosenForm].split, picture, width, rows, planes, colorMatrix);
}

void PackedFrontend::Join(const PlaneArray& picture, int width, int rows, const PlaneArray& planes) const
{
    WalkRows(rowForms[kChosenForm].join, picture, width, rows, planes, colorMatrix);
}

// The row kernels reach a 16-byte boundary of picture and planes after the same number of pixels in every
// row. So pixelBytes * planePitch must equal the picture's pitch modulo 16, and one such pixel must exist:
// `leadPixels` of row 0.
void PackedPixelFrontend::PrepareBuffers(const PlaneArray& picture, int width, int height, uint8_t* scratch,
                                         PlaneArray& planes, bool flip, bool) const
{
    const int pixelBytes = GetGroupBytes(0);
    const int pitch = picture[0].pitch;
    if (pitch % 4 != 0) {
        Trace("ERROR: RGB%d rows are not 4 byte aligned (rowPitch: %d)", 8 * pixelBytes, pitch);
        return;
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

    const uint8_t* anchor = picture[0].data;
    if (flip) { // the picture is walked upward: the plane pitch becomes its own negative modulo 16
        anchor = RowAt(picture[0], height - 1);
        planePitch += (-2 * planePitch) & 15;
    }
    const int leadPixels = wholePixels(BytesToBoundary(anchor, 16)) / pixelBytes;

    uint8_t* end = scratch;
    for (int i = 0; i < pixelBytes; ++i) {
        uint8_t* const data = PlacePlane(end, leadPixels, i);
        planes[static_cast<size_t>(i)] = {data, planePitch};
        end = data + static_cast<ptrdiff_t>(height) * planePitch;
    }
    if (pixelBytes < kMaxPlanes)
        planes[3] = {};
}

// As above with 64 bytes of picture, 32 luma and 16 chroma samples for each plane's vectors.
void Packed422Frontend::PrepareBuffers(const PlaneArray& picture, int width, int height, uint8_t* scratch,
                                       PlaneArray& planes, bool, bool) const
{
    const int pitch = picture[0].pitch;
    const int reduced = pitch - (pitch - 2 * width) / 64 * 64;
    const int lead = BytesToBoundary(picture[0].data, 64);

    uint8_t* end = scratch;
    for (int i = 0; i < 3; ++i) {
        const int samplePairs = i == 0 ? 2 : 4; // picture bytes for each sample of the plane
        const int planePitch = reduced / samplePairs;
        uint8_t* const data = PlacePlane(end, lead / samplePairs, i);
        planes[static_cast<size_t>(i)] = {data, planePitch};
        end = data + static_cast<ptrdiff_t>(height) * planePitch;
    }
    planes[3] = {};
}
