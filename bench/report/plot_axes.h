// The frame of a plot: a rectangle with linear or logarithmic scales, grid lines and axis labels.
#pragma once

#include "report/svg_drawing.h"

#include <string>
#include <vector>

struct PlotScale {
    double low;
    double high;
    bool logarithmic = false;

    /// 0 at `low`, 1 at `high`.
    double Share(double value) const;
};

struct PlotTick {
    double value;
    std::string text;
};

class PlotFrame
{
  public:
    /// corner  the upper left one of the rectangle in which data is drawn
    PlotFrame(SvgPoint corner, double width, double height, PlotScale x, PlotScale y);

    SvgPoint At(double x, double y) const;
    double Left() const { return corner.x; }
    double Right() const { return corner.x + width; }
    double Top() const { return corner.y; }
    double Bottom() const { return corner.y + height; }

    /// Grid lines and texts of both axes; tick texts of the x axis are slanted when asked to.
    void Draw(SvgDrawing& drawing, const std::vector<PlotTick>& xTicks, const std::vector<PlotTick>& yTicks,
              const std::string& xLabel, const std::string& yLabel, bool slanted = false) const;

  private:
    SvgPoint corner;
    double width;
    double height;
    PlotScale xScale;
    PlotScale yScale;
};

/// Ticks of a linear scale from 0 on: about five of them, at round values up to `high`.
std::vector<PlotTick> RoundTicks(double high);

/// A label of a point, and where it goes.
struct PointLabel {
    SvgPoint point;
    std::string text;
    std::string color;
};

/// Writes each label beside its point, at the first of several places where it meets no point and no label
/// that stands already, within left .. right.
void DrawPointLabels(SvgDrawing& drawing, const std::vector<PointLabel>& labels, double size, double left,
                     double right);

/// Heights for labels at the right end of lines: as near to the wanted ones as they can be `distance` apart.
std::vector<double> SpreadLabels(const std::vector<double>& wanted, double distance);
