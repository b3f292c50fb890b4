#include "report/plot_axes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace {

constexpr char kGridColor[] = "#e3e3e3";
constexpr char kAxisColor[] = "#555555";

struct Box {
    double left, top, right, bottom;

    bool Meets(const Box& other) const
    {
        return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
    }
};

} // namespace

double PlotScale::Share(double value) const
{
    if (logarithmic)
        return std::log(value / low) / std::log(high / low);
    return (value - low) / (high - low);
}

PlotFrame::PlotFrame(SvgPoint corner_, double width_, double height_, PlotScale x, PlotScale y)
    : corner(corner_), width(width_), height(height_), xScale(x), yScale(y)
{}

SvgPoint PlotFrame::At(double x, double y) const
{
    return {corner.x + width * xScale.Share(x), corner.y + height * (1 - yScale.Share(y))};
}

void PlotFrame::Draw(SvgDrawing& drawing, const std::vector<PlotTick>& xTicks,
                     const std::vector<PlotTick>& yTicks, const std::string& xLabel,
                     const std::string& yLabel, bool slanted) const
{
    for (const PlotTick& tick : xTicks) {
        const double x = corner.x + width * xScale.Share(tick.value);
        drawing.Line({x, Top()}, {x, Bottom()}, kGridColor);
        if (slanted)
            drawing.Text({x + 4, Bottom() + 16}, tick.text, {12, TextAnchor::End, "#222222", false, -35});
        else
            drawing.Text({x, Bottom() + 18}, tick.text, {12, TextAnchor::Middle});
    }
    for (const PlotTick& tick : yTicks) {
        const double y = corner.y + height * (1 - yScale.Share(tick.value));
        drawing.Line({Left(), y}, {Right(), y}, kGridColor);
        drawing.Text({Left() - 8, y + 4}, tick.text, {12, TextAnchor::End});
    }
    drawing.Line({Left(), Bottom()}, {Right(), Bottom()}, kAxisColor, 1.4);
    drawing.Line({Left(), Top()}, {Left(), Bottom()}, kAxisColor, 1.4);
    drawing.Text({(Left() + Right()) / 2, Bottom() + (slanted ? 78 : 40)}, xLabel, {13, TextAnchor::Middle});
    drawing.Text({Left() - 52, (Top() + Bottom()) / 2}, yLabel,
                 {13, TextAnchor::Middle, "#222222", false, -90});
}

std::vector<PlotTick> RoundTicks(double high)
{
    const double rough = high / 5;
    const double power = std::pow(10, std::floor(std::log10(rough)));
    double step = 10 * power;
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= rough * 0.99) {
            step = factor * power;
            break;
        }
    std::vector<PlotTick> ticks;
    for (double value = 0; value <= high * 1.001; value += step) {
        std::string text = std::to_string(value);
        text = step < 1 ? text.substr(0, text.find('.') + 2) : text.substr(0, text.find('.'));
        ticks.push_back({value, text});
    }
    return ticks;
}

void DrawPointLabels(SvgDrawing& drawing, const std::vector<PointLabel>& labels, double size, double left,
                     double right)
{
    std::vector<Box> taken;
    for (const PointLabel& label : labels)
        taken.push_back({label.point.x - 6, label.point.y - 6, label.point.x + 6, label.point.y + 6});
    for (const PointLabel& label : labels) {
        const double w = SvgDrawing::TextWidth(label.text, size);
        const auto [x, y] = label.point;
        // From the nearest places to those a line further off.
        const std::array<SvgPoint, 12> corners = {{{x + 9, y - size / 2},
                                                   {x - 9 - w, y - size / 2},
                                                   {x - w / 2, y - 10 - size},
                                                   {x - w / 2, y + 9},
                                                   {x + 7, y - 8 - size},
                                                   {x + 7, y + 7},
                                                   {x - 7 - w, y - 8 - size},
                                                   {x - 7 - w, y + 7},
                                                   {x - w / 2, y - 24 - size},
                                                   {x + 7 - w, y - 24 - size},
                                                   {x - w / 2, y + 23},
                                                   {x + 7 - w, y + 23}}};
        SvgPoint best = corners[0];
        for (const SvgPoint& corner : corners) {
            const Box box{corner.x, corner.y, corner.x + w, corner.y + size + 2};
            if (box.left >= left && box.right <= right &&
                std::ranges::none_of(taken, [&](const Box& other) { return box.Meets(other); })) {
                best = corner;
                break;
            }
        }
        taken.push_back({best.x, best.y, best.x + w, best.y + size + 2});
        drawing.Text({best.x, best.y + size * 0.85}, label.text,
                     {size, TextAnchor::Start, label.color, true});
    }
}

std::vector<double> SpreadLabels(const std::vector<double>& wanted, double distance)
{
    std::vector<size_t> order(wanted.size());
    std::iota(order.begin(), order.end(), size_t{0});
    std::ranges::sort(order, {}, [&](size_t i) { return wanted[i]; });
    std::vector<double> heights = wanted;
    // Pushing neighbours apart by half of what is missing settles after a few passes.
    for (int pass = 0; pass < 200; ++pass)
        for (size_t i = 0; i + 1 < order.size(); ++i) {
            double& upper = heights[order[i]];
            double& lower = heights[order[i + 1]];
            const double missing = distance - (lower - upper);
            if (missing > 0) {
                upper -= missing / 2;
                lower += missing / 2;
            }
        }
    return heights;
}
