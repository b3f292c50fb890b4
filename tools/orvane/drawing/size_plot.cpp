#include "drawing/size_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <optional>

namespace {

constexpr int kWidth = 1000, kHeight = 650;
constexpr double kLeft = 90, kRight = 970; // of both panels
constexpr size_t kMaxColumns = 880;        // more frames share columns

std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

std::string Short(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

/// Text for an element of XML. Control characters, which XML does not allow, become '?'.
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text)
        switch (c) {
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '&':
            escaped += "&amp;";
            break;
        default:
            escaped += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
        }
    return escaped;
}

std::string TextAt(double x, double y, const std::string& style, const std::string& text)
{
    return "<text x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" " + style + ">" + Escaped(text) +
           "</text>\n";
}

std::string Line(double x1, double y1, double x2, double y2, const std::string& style)
{
    return "<line x1=\"" + Number(x1) + "\" y1=\"" + Number(y1) + "\" x2=\"" + Number(x2) + "\" y2=\"" +
           Number(y2) + "\" " + style + "/>\n";
}

/// The data of a path of horizontal and vertical lines.
class PathData
{
  public:
    void MoveTo(double x, double y)
    {
        Add('M', x);
        Add(' ', y);
    }
    void HorizontalTo(double x) { Add('H', x); }
    void VerticalTo(double y) { Add('V', y); }
    void AddBox(double x1, double y1, double x2, double y2)
    {
        MoveTo(x1, y1);
        VerticalTo(y2);
        HorizontalTo(x2);
        VerticalTo(y1);
        text += 'Z';
    }
    const std::string& Text() const { return text; }

  private:
    void Add(char command, double value)
    {
        text += command;
        text += Number(value);
    }

    std::string text;
};

std::string Path(const PathData& data, const std::string& style)
{
    return data.Text().empty() ? "" : "<path d=\"" + data.Text() + "\" " + style + "/>\n";
}

/// A distance between ticks of 1, 2 or 5 times a power of ten, for at most `count` of them up to `end`.
double TickStep(double end, int count)
{
    const double least = end / count;
    const double power = std::pow(10, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0})
        if (factor * power >= least * 0.999)
            return factor * power;
    return 10 * power;
}

/// The frames that share a column of the plot.
struct Column {
    double least, mean, most;
};

/// Nothing where no frame of the column has a value.
using Columns = std::vector<std::optional<Column>>;

Columns MakeColumns(size_t frames, const std::function<std::optional<double>(size_t)>& valueOf)
{
    const size_t count = std::min(frames, kMaxColumns);
    Columns columns(count);
    for (size_t i = 0; i < count; ++i) {
        double sum = 0;
        size_t values = 0;
        for (size_t frame = frames * i / count; frame < frames * (i + 1) / count; ++frame)
            if (const auto value = valueOf(frame)) {
                Column& column = columns[i] ? *columns[i] : columns[i].emplace(Column{*value, 0, *value});
                column.least = std::min(column.least, *value);
                column.most = std::max(column.most, *value);
                sum += *value;
                ++values;
            }
        if (columns[i])
            columns[i]->mean = sum / static_cast<double>(values);
    }
    return columns;
}

struct Panel {
    double top, bottom;
    std::string title;
    std::string color;
    std::string tint; ///< of the area below
    Columns columns;
    double mean;
    std::string meanText;
};

/// The panel's columns: their means as a line, the area below it, and how far frames of a column differ.
std::string DrawColumns(const Panel& panel, const std::function<double(double)>& yOf)
{
    const double width = (kRight - kLeft) / static_cast<double>(panel.columns.size());
    PathData area, line, ranges;
    bool hasLeft = false; // whether the line goes on from the column on the left
    for (size_t i = 0; i < panel.columns.size(); ++i) {
        if (!panel.columns[i]) {
            hasLeft = false;
            continue;
        }
        const Column& column = *panel.columns[i];
        const double from = kLeft + static_cast<double>(i) * width;
        const double to = kLeft + static_cast<double>(i + 1) * width;
        const double y = yOf(column.mean);
        area.AddBox(from, panel.bottom, to, y);
        if (hasLeft)
            line.VerticalTo(y);
        else
            line.MoveTo(from, y);
        line.HorizontalTo(to);
        if (column.most > column.least)
            ranges.AddBox(from, yOf(column.least), to, yOf(column.most));
        hasLeft = true;
    }
    return Path(area, "fill=\"" + panel.tint + "\"") +
           Path(ranges, "fill=\"" + panel.color + "\" fill-opacity=\"0.6\"") +
           Path(line, "fill=\"none\" stroke=\"" + panel.color + "\" stroke-width=\"2\"");
}

std::string DrawPanel(const Panel& panel)
{
    double most = std::max(panel.mean, 1e-6); // an axis even where there is nothing
    for (const auto& column : panel.columns)
        if (column)
            most = std::max(most, column->most);
    const double step = TickStep(most, 5);
    const auto steps = static_cast<int>(std::ceil(most * 1.02 / step));
    const double end = steps * step;
    const auto yOf = [&](double value) { return panel.bottom - value / end * (panel.bottom - panel.top); };

    std::string svg = TextAt(kLeft, panel.top - 12, "class=\"head\"", panel.title);
    for (int i = 0; i <= steps; ++i) {
        const double y = yOf(i * step);
        svg += Line(kLeft, y, kRight, y, "class=\"grid\"");
        svg += TextAt(kLeft - 8, y + 5, "class=\"tick\" text-anchor=\"end\"", Number(i * step));
    }
    svg += DrawColumns(panel, yOf);
    svg += Line(kLeft, yOf(panel.mean), kRight, yOf(panel.mean), "class=\"mean\"");
    svg += TextAt(kRight, panel.top - 12, "class=\"meantext\" text-anchor=\"end\"", panel.meanText);
    svg += Line(kLeft, panel.bottom, kRight, panel.bottom, "class=\"axis\"");
    return svg;
}

/// Ticks below a panel. A frame fills its stretch of the axis, so that tick 0 is the start of frame 0.
std::string DrawTicks(double y, double end, double step, const std::string& title)
{
    std::string svg;
    const auto steps = static_cast<int>(end * 1.0001 / step);
    for (int i = 0; i <= steps; ++i) {
        const double value = i * step;
        const double x = kLeft + value / end * (kRight - kLeft);
        svg += Line(x, y, x, y + 6, "class=\"axis\"");
        svg += TextAt(x, y + 22, "class=\"tick\" text-anchor=\"middle\"", Number(value));
    }
    return svg + TextAt((kLeft + kRight) / 2, y + 42, "class=\"tick\" text-anchor=\"middle\"", title);
}

constexpr char kStyle[] = R"(<style>
text { font-family: "DejaVu Sans", "Segoe UI", Helvetica, Arial, sans-serif; fill: #222; font-size: 14px }
.title { font-size: 20px; font-weight: bold }
.head { font-size: 15px; font-weight: bold }
.tick { font-size: 13px; fill: #555 }
.meantext { font-size: 13px; fill: #a0341c }
.grid { stroke: #e2e2e6 }
.axis { stroke: #555 }
.mean { stroke: #a0341c; stroke-dasharray: 7 5 }
</style>
)";

struct Unit {
    const char* name;
    double bytes;
};

Unit UnitFor(double bytes)
{
    return bytes >= 2e6 ? Unit{"MB", 1e6} : bytes >= 2e3 ? Unit{"KB", 1e3} : Unit{"bytes", 1};
}

} // namespace

std::string DrawSizePlot(const SizePlotSubject& subject)
{
    const size_t frames = subject.sizes.size();
    const auto raw = static_cast<double>(subject.rawBytes);
    double total = 0;
    for (const uint32_t size : subject.sizes)
        total += size;
    const double meanSize = total / static_cast<double>(frames);
    const double meanRatio = total > 0 ? raw * static_cast<double>(frames) / total : 0;
    const Unit unit = UnitFor(*std::ranges::max_element(subject.sizes));

    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + std::to_string(kWidth) +
                      "\" height=\"" + std::to_string(kHeight) + "\" viewBox=\"0 0 " +
                      std::to_string(kWidth) + " " + std::to_string(kHeight) + "\">\n" + kStyle +
                      "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    svg += TextAt(30, 36, "class=\"title\"", subject.title);
    svg += TextAt(30, 60, "", subject.facts);

    if (frames > kMaxColumns)
        svg += TextAt(kLeft, 638, "class=\"tick\"",
                      "line: mean of neighbouring frames; darker bars: from the smallest to the largest");

    const auto sizeOf = [&](size_t frame) { return std::optional(subject.sizes[frame] / unit.bytes); };
    svg += DrawPanel({112, 320, std::string("Compressed size of each frame, ") + unit.name, "#1f5fa8",
                      "#d5e4f5", MakeColumns(frames, sizeOf), meanSize / unit.bytes,
                      "mean " + Short(meanSize / unit.bytes) + " " + unit.name});
    svg += DrawTicks(320, static_cast<double>(frames),
                     std::max(1.0, TickStep(static_cast<double>(frames), 12)), "frame");

    const auto ratioOf = [&](size_t frame) {
        return subject.sizes[frame] == 0 ? std::nullopt : std::optional(raw / subject.sizes[frame]);
    };
    svg += DrawPanel({412, 570, "Ratio: size of the picture to size of the frame", "#2f7d32", "#dcedd8",
                      MakeColumns(frames, ratioOf), meanRatio, "of the whole " + Short(meanRatio)});
    const double seconds = static_cast<double>(frames) / subject.rate.Value();
    const bool inMinutes = seconds > 300;
    const double end = inMinutes ? seconds / 60 : seconds;
    svg += DrawTicks(570, end, TickStep(end, 12), inMinutes ? "time in minutes" : "time in seconds");
    return svg + "</svg>\n";
}
