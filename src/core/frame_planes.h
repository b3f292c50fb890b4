// Where the planes of one frame are stored, and the two operations that move their samples band by band.
#pragma once

#include "common/plane_info.h"
#include "common/plane_layout.h"
#include "core/arena.h"
#include "core/block_list.h"
#include "core/run_plan.h"

namespace core {

/// Plane memory that both directions need, each of its own.
struct PlaneArenas {
    Arena image;     ///< the front end's planes, where they are stored for the whole picture
    Arena converted; ///< planes of the converter

    /// Makes room for the frames of a run, zeroed. Throws std::bad_alloc.
    void Prepare(const RunPlan& plan)
    {
        image.ReserveZeroed(plan.imageBytes);
        converted.ReserveZeroed(plan.convertedBytes);
    }
};

/// Planes of one frame. `Sample` is const where the host's picture is only read. Planes with Storage::Scratch
/// have no address here; see ImageWindows.
template <class Sample>
struct FramePlanes {
    PlaneShapes imageShapes;         ///< the front end's rows, as they suit the picture's address and pitch
    BasicPlaneArray<Sample> picture; ///< the host's
    BasicPlaneArray<Sample> image;   ///< the front end's
    BasicPlaneArray<Sample> coded;   ///< the planes of the frame; without a converter they are `image`
    PlaneArray ownImage;             ///< of `image` and `coded`, those that are not the host's
    PlaneArray ownCoded;
};

/// picture  the checked host picture
/// arenas   have been prepared for the plan
FramePlanes<uint8_t> PlacePlanes(const RunPlan& plan, const PlaneArray& picture, const PlaneArenas& arenas);
FramePlanes<const uint8_t> PlacePlanes(const RunPlan& plan, const ConstPlaneArray& picture,
                                       const PlaneArenas& arenas);

/// The front end's planes for a range of bands.
/// shapes   FramePlanes::imageShapes
/// image    FramePlanes::image, or ownImage
/// scratch  memory of RunPlan::ScratchBytes for so many bands, on a plane boundary; null where none are used
PlaneWindows ImageWindows(const RunPlan& plan, const PlaneShapes& shapes, const PlaneArray& image,
                          BandRange range, uint8_t* scratch);
ConstPlaneWindows ImageWindows(const RunPlan& plan, const PlaneShapes& shapes, const ConstPlaneArray& image,
                               BandRange range, uint8_t* scratch);
/// The planes of the frame for a range of bands, in the same way.
PlaneWindows CodedWindows(const RunPlan& plan, const PlaneShapes& shapes, const PlaneArray& coded,
                          BandRange range, uint8_t* scratch);
ConstPlaneWindows CodedWindows(const RunPlan& plan, const PlaneShapes& shapes, const ConstPlaneArray& coded,
                               BandRange range, uint8_t* scratch);

/// Compress: takes a band from the host's picture to the front end's planes. The windows cover the band.
void TransformBlock(const RunPlan& plan, const ConstPlaneArray& picture, size_t band,
                    const PlaneWindows& windows);
/// Decompress: the reverse.
void TransformBlock(const RunPlan& plan, const PlaneArray& picture, size_t band,
                    const ConstPlaneWindows& windows);

/// One converter pass over a band. The planes are those of all bands.
void ConvertBlock(const RunPlan& plan, const ConstPlaneArray& source, const PlaneArray& target, int pass,
                  size_t band);

} // namespace core
