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

/// Planes of one frame. Those with Storage::Scratch have no address here; see WindowsOf.
struct FramePlanes {
    PlaneShapes imageShapes; ///< the front end's rows, as they suit the picture's address and pitch
    PlaneArray picture;      ///< the host's
    PlaneArray image;        ///< the front end's
    PlaneArray coded;        ///< the planes of the frame; without a converter they are `image`
};

/// picture  the checked host picture
/// arenas   have been prepared for the plan
FramePlanes PlacePlanes(const RunPlan& plan, const PlaneArray& picture, const PlaneArenas& arenas);

/// The front end's planes for a range of bands.
/// scratch  memory of RunPlan::ScratchBytes for so many bands, on a plane boundary; null where none are used
PlaneWindows ImageWindows(const RunPlan& plan, const FramePlanes& planes, BandRange range, uint8_t* scratch);
/// The planes of the frame for a range of bands.
PlaneWindows CodedWindows(const RunPlan& plan, const FramePlanes& planes, BandRange range, uint8_t* scratch);

/// Takes a band between the host's picture and the front end's planes, in the direction of the run. The
/// windows cover the band.
void TransformBlock(const RunPlan& plan, const FramePlanes& planes, size_t band, const PlaneWindows& windows);

/// One converter pass over a band. The planes are those of all bands.
void ConvertBlock(const RunPlan& plan, const PlaneArray& source, const PlaneArray& target, int pass,
                  size_t band);

} // namespace core
