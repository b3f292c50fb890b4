// The plan of a run: everything that follows from the configuration record, the route and the direction, and
// that is the same for all its frames.
#pragma once

#include "common/frame_header.h"
#include "common/plane_layout.h"
#include "core/block_list.h"
#include "core/format_route.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace core {

/// What a plan is made from.
struct RunInputs {
    FrameHeader header{}; ///< configuration record; its blockHeight is that of the frames to come
    FormatRoute route;
    bool compressing = false;
    bool flip = false;        ///< the picture's last memory row is row 0 of the planes
    bool interpolate = false; ///< whether the route's converter filters when it halves chroma
    /// Cuts the blocks: header.blockHeight but after a frame of another block height.
    uint32_t listBlockHeight = 0;
    /// Every operation has a pool run of its own: rows of blocks need not be those of bands.
    bool separateRuns = false;
};

/// Where a plane is stored between the operations of a frame.
enum class Storage : uint8_t {
    None,      ///< the plane does not exist
    Picture,   ///< in the host's picture
    Image,     ///< in the arena of the front end's planes
    Converted, ///< in the arena of the converter's planes
    Scratch,   ///< a band at a time in the scratch buffer of the thread that works on it
};

struct PlanePlan {
    Storage storage = Storage::None;
    size_t hostPlane = 0; ///< which plane of the picture it is, with Storage::Picture
    int width = 0;        ///< samples
    int rows = 0;
    int subsampling = 1; ///< picture rows of one plane row

    /// The plane row of a picture row, or the plane rows of a number of picture rows.
    int RowOf(int pictureRow) const { return pictureRow / subsampling; }
};

using PlanePlans = std::array<PlanePlan, kMaxPlanes>;

/// One operation on a band. Operations with the same `step` share a pool run, in list order; between steps
/// all bands meet.
struct PassStep {
    enum Kind : int { Transform = 0, ConvertPass = 1, Predict = 2, JoinPicture = 3, Decode = 4 };
    int step;
    Kind kind;
    int arg; ///< pass number of a conversion

    bool operator==(const PassStep&) const = default;
};

/// Made at begin and never changed: the inputs and what follows from them. It refers to the objects that its
/// route points at.
struct RunPlan : RunInputs {
    explicit RunPlan(const RunInputs& inputs) : RunInputs(inputs) {}

    CoderType coderType = CoderType::None;

    size_t planeCount = 0; ///< of the frame
    size_t bandCount = 0;  ///< of each plane
    std::vector<BlockShape> blocks;
    /// Whether the blocks of the bands cover all planes, and bands start at whole rows of every plane and
    /// field.
    bool wholeRows = true;

    PlanePlans image;            ///< the front end's planes
    PlanePlans coded;            ///< the planes of the frame; without a converter they are `image`
    PlaneShapes convertedShapes; ///< of planes with Storage::Converted
    PlaneShapes residualShapes;  ///< compress: of planes that are not predicted in place

    std::vector<PassStep> steps;

    size_t imageBytes = 0; ///< of each arena; 0: not used
    size_t convertedBytes = 0;
    size_t residualBytes = 0;
    size_t slotBytes = 0;       ///< compress: for the largest coded block
    size_t symbolsPerBlock = 0; ///< of the largest block

    /// Scratch memory of a thread that works on so many bands at once; 0: none is used.
    size_t ScratchBytes(size_t bands) const;
    Band BandAt(size_t band) const { return BandOf(header, band); }
    /// Whether a plane is predicted in place: its samples are not needed afterwards.
    bool PredictsInPlace(size_t plane) const
    {
        return coded[plane].storage == Storage::Image || coded[plane].storage == Storage::Converted;
    }
};

/// Throws std::bad_alloc.
RunPlan MakeRunPlan(const RunInputs& inputs);

} // namespace core
