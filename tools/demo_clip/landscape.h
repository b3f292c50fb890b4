// The scene of the demo clip: a camera passes a landscape with drifting clouds, three ranges of hills and a
// meadow.
#pragma once

/// Linear picture values, nominally 0 to 1.
struct Colour {
    float red;
    float green;
    float blue;
};

/// The scene as one camera position sees it.
class Landscape
{
  public:
    /// seconds  since the clip began
    explicit Landscape(float seconds) : time(seconds) {}

    /// Turns the camera to a column: what Look needs to know once for a column.
    /// column  picture widths to the right of the picture's left edge
    void TurnTo(float column);

    /// The colour at height `y`, picture widths beneath the upper edge, in the column of the last TurnTo.
    [[nodiscard]] Colour Look(float y) const;

  private:
    static constexpr int kRanges = 3;

    [[nodiscard]] Colour Sky(float y) const;
    [[nodiscard]] Colour Hill(int i, float y) const;
    [[nodiscard]] Colour Meadow(float y) const;

    float time;
    float x = 0;
    float crest[kRanges] = {}; // where the ranges begin in this column, the farthest first
    float edge = 0;            // where the meadow begins
};
