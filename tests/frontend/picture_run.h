// A packed host picture with its planned planes, split and joined in bands as the core does it.
#pragma once

#include "common/align_up.h"
#include "common/plane_layout.h"
#include "imgproc/frontend/packed_frontends.h"
#include "support/exact_buffer.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

struct PictureShape {
    int width;
    int height;
    int pitch;
    size_t phase; ///< address of the picture modulo 64
    bool flip;
};

/// The forms of a class's row kernels, and as the last one what Split and Join themselves choose.
inline constexpr size_t kForms = std::tuple_size_v<imgproc::PackedRowForms> + 1;

/// Picture and arena end where their allocations end; everything in them that is not a sample keeps its fill.
class PictureRun
{
  public:
    static constexpr uint8_t kFill = 0xC3;

    PictureRun(const imgproc::PackedFrontend& packed, const PictureShape& pictureShape)
        : frontend(packed), shape(pictureShape),
          picture(static_cast<size_t>(shape.pitch) * static_cast<size_t>(shape.height), shape.phase, kFill),
          host{{{picture.data(), shape.pitch}}},
          shapes(packed.PrepareBuffers(host[0], shape.width, shape.height, shape.flip)),
          arena(kPlaneBoundary + LayOutPlanes(shapes).size, 0, kFill)
    {
        const PlaneLayout layout = LayOutPlanes(shapes);
        for (size_t i = 0; i < planes.size(); ++i)
            if (shapes[i].rows > 0)
                planes[i] = {alignUp(arena.data(), kPlaneBoundary) + layout.offset[i], shapes[i].pitch};
    }

    /// One band of rows, counted from the top of the image as coded.
    void Split(size_t form, int first, int rows)
    {
        ConstPlaneArray bandPicture = ReadOnly(host);
        PlaneArray bandPlanes = planes;
        bandPicture[0] = FromRow(host[0], shape.flip ? shape.height - first - rows : first);
        for (PlaneInfo& plane : bandPlanes) {
            plane = FromRow(plane, shape.flip ? first + rows - 1 : first);
            plane.pitch = shape.flip ? -plane.pitch : plane.pitch;
        }
        if (form + 1 == kForms)
            frontend.Split(bandPicture, shape.width, rows, bandPlanes);
        else
            Walk(frontend.rowForms[form].split, bandPicture, rows, bandPlanes);
    }

    void Join(size_t form, int first, int rows)
    {
        PlaneArray bandPicture = host;
        ConstPlaneArray bandPlanes = ReadOnly(planes);
        for (ConstPlaneInfo& plane : bandPlanes)
            plane = FromRow(plane, first);
        if (shape.flip)
            bandPicture[0] = {RowAt(host[0], shape.height - first - 1), -shape.pitch};
        else
            bandPicture[0] = FromRow(host[0], first);
        if (form + 1 == kForms)
            frontend.Join(bandPicture, shape.width, rows, bandPlanes);
        else
            Walk(frontend.rowForms[form].join, bandPicture, rows, bandPlanes);
    }

    const imgproc::PackedFrontend& frontend;
    const PictureShape shape;
    ExactBuffer picture;
    PlaneArray host;
    PlaneShapes shapes; ///< of the planes
    ExactBuffer arena;
    PlaneArray planes;

  private:
    template <class Row, class Picture, class Planes>
    void Walk(void (*kernel)(Row, int, const imgproc::ColorMatrix*), const Picture& bandPicture, int rows,
              const Planes& bandPlanes) const
    {
        for (int i = 0; i < rows; ++i)
            kernel({RowAt(bandPicture[0], i),
                    RowAt(bandPicture[0], std::min(i + 1, rows - 1)),
                    {RowAt(bandPlanes[0], i), RowAt(bandPlanes[1], i), RowAt(bandPlanes[2], i),
                     RowAt(bandPlanes[3], i)}},
                   shape.width, frontend.colorMatrix);
    }
};
