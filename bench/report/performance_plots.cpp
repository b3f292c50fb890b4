#include "report/performance_plots.h"

#include "report/plot_axes.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace {

// Colours that differ for colour-blind eyes too.
constexpr char kBlue[] = "#0060a8", kOrange[] = "#c25400", kGray[] = "#666666";
constexpr TextStyle kTitle{16, TextAnchor::Start, "#222222", true};

std::string Rounded(double value, int decimals)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

struct SizeSeries {
    const char* task;
    int threads;
    const char* label;
    const char* color;
    const char* dash;
};
constexpr SizeSeries kSizeSeries[] = {{"encode Dynamic", 1, "encode, 1 thread", kBlue, ""},
                                      {"encode Dynamic", 2, "encode, 2 threads", kBlue, "7,4"},
                                      {"decode Median", 1, "decode, 1 thread", kOrange, ""},
                                      {"decode Median", 2, "decode, 2 threads", kOrange, "7,4"}};

/// The rows of one content: peers are shown on a photograph if there is one, else on drawn pictures.
std::vector<Measurement> PeerContent(const Measurements& all)
{
    const std::vector<Measurement> rows = all.Section("peers");
    std::string chosen;
    for (const Measurement& row : rows)
        if (chosen.empty() || (row.content.starts_with("photo") && !chosen.starts_with("photo")))
            chosen = row.content;
    std::vector<Measurement> found;
    for (const Measurement& row : rows)
        if (row.content == chosen)
            found.push_back(row);
    return found;
}

void DrawPeerPanel(SvgDrawing& drawing, const PlotFrame& frame, const std::vector<Measurement>& rows,
                   const std::string& direction)
{
    std::vector<PointLabel> labels;
    for (const Measurement& row : rows) {
        const bool own = row.task.starts_with(direction + ' ');
        if (!own && row.task != direction && row.task != "copy")
            continue;
        const char* const color = own ? kBlue : row.task == "copy" ? kGray : kOrange;
        const SvgPoint point = frame.At(row.ratio, row.megabytesPerSecond);
        const std::string text =
            own ? row.contestant + ' ' + row.task.substr(direction.size() + 1) : row.contestant;
        drawing.Circle(point, 5, color);
        labels.push_back({point, text, color});
    }
    DrawPointLabels(drawing, labels, 12, frame.Left(), frame.Right() + 6);
    drawing.Text({(frame.Left() + frame.Right()) / 2, frame.Top() - 10}, direction,
                 {14, TextAnchor::Middle, "#222222", true});
}

const std::map<std::string, std::string>& StageColors()
{
    static const std::map<std::string, std::string> colors = {
        {"split", "#7b6fb0"},   {"score, predict, count", "#2a8c82"},
        {"tables", "#b08f4a"},  {"Huffman", "#0060a8"},
        {"inverse", "#2a8c82"}, {"join", "#7b6fb0"},
        {"rest", "#999999"}};
    return colors;
}

} // namespace

std::optional<SvgDrawing> PlotSizes(const Measurements& all)
{
    const std::vector<Measurement> rows = all.Section("sizes");
    if (rows.empty())
        return std::nullopt;
    const auto pixels = [](const Measurement& row) { return static_cast<double>(row.width) * row.height; };
    double fastest = 0;
    std::map<double, std::string> sizes;
    for (const Measurement& row : rows) {
        fastest = std::max(fastest, row.megabytesPerSecond);
        sizes[pixels(row)] = row.Size();
    }
    const double top = std::ceil(fastest * 1.04 / 500) * 500;
    SvgDrawing drawing(860, 500);
    const PlotFrame frame({80, 60}, 610, 330, {sizes.begin()->first, sizes.rbegin()->first, true}, {0, top});
    std::vector<PlotTick> ticks;
    for (const auto& [count, text] : sizes)
        ticks.push_back({count, text});
    drawing.Text({20, 30}, "Speed over picture size (4:2:0, soft content)", kTitle);
    frame.Draw(drawing, ticks, RoundTicks(top), "picture size in pixels (logarithmic)",
               "MB/s of raw pictures", true);

    std::vector<double> ends;
    std::vector<const SizeSeries*> shown;
    for (const SizeSeries& series : kSizeSeries) {
        std::vector<SvgPoint> points;
        for (const Measurement& row : rows)
            if (row.task == series.task && row.threads == series.threads)
                points.push_back(frame.At(pixels(row), row.megabytesPerSecond));
        if (points.empty())
            continue;
        std::ranges::sort(points, {}, &SvgPoint::x);
        drawing.Polyline(points, series.color, series.dash);
        for (const SvgPoint& point : points)
            drawing.Circle(point, 3.2, series.color);
        ends.push_back(points.back().y);
        shown.push_back(&series);
    }
    const std::vector<double> heights = SpreadLabels(ends, 18);
    for (size_t i = 0; i < shown.size(); ++i) {
        drawing.Line({frame.Right() + 5, ends[i]}, {frame.Right() + 18, heights[i]}, shown[i]->color);
        drawing.Text({frame.Right() + 22, heights[i] + 4}, shown[i]->label,
                     {13, TextAnchor::Start, shown[i]->color, true});
    }
    return drawing;
}

std::optional<SvgDrawing> PlotPeers(const Measurements& all)
{
    const std::vector<Measurement> rows = PeerContent(all);
    if (rows.empty())
        return std::nullopt;
    double highest = 1, slowest = 1e9, fastest = 0;
    for (const Measurement& row : rows) {
        highest = std::max(highest, row.ratio);
        slowest = std::min(slowest, row.megabytesPerSecond);
        fastest = std::max(fastest, row.megabytesPerSecond);
    }
    const PlotScale ratios{0.8, highest + 0.35};
    const PlotScale speeds{std::pow(10, std::floor(std::log10(slowest))), fastest * 1.6, true};
    std::vector<PlotTick> ratioTicks, speedTicks;
    for (double ratio = 1; ratio <= ratios.high; ratio += 0.5)
        ratioTicks.push_back({ratio, Rounded(ratio, 1)});
    for (double speed = speeds.low; speed <= speeds.high; speed *= 10)
        for (const double factor : {1.0, 2.0, 5.0})
            if (speed * factor <= speeds.high)
                speedTicks.push_back({speed * factor, Rounded(speed * factor, 0)});

    SvgDrawing drawing(980, 560);
    const bool named = rows[0].content.find(rows[0].Size()) != std::string::npos;
    drawing.Text({20, 30},
                 "Speed against compression, one thread: " + rows[0].content +
                     (named ? "" : " content, " + rows[0].Size()) + ", " + rows[0].layout,
                 kTitle);
    drawing.Text({20, 50}, "up is faster, right compresses better; blue: this codec, orange: others", {12});
    const PlotFrame left({80, 90}, 400, 400, ratios, speeds);
    const PlotFrame right({555, 90}, 400, 400, ratios, speeds);
    left.Draw(drawing, ratioTicks, speedTicks, "compression ratio", "MB/s of raw pictures (logarithmic)");
    right.Draw(drawing, ratioTicks, speedTicks, "compression ratio", "");
    DrawPeerPanel(drawing, left, rows, "encode");
    DrawPeerPanel(drawing, right, rows, "decode");
    return drawing;
}

std::optional<SvgDrawing> PlotStages(const Measurements& all)
{
    if (!all.stages.is_array() || all.stages.empty())
        return std::nullopt;
    double widest = 0;
    std::vector<std::string> names;
    const auto cyclesOf = [](const nlohmann::json& stage) {
        return std::max(0.0, stage.at("cycles_per_byte").get<double>());
    };
    for (const nlohmann::json& row : all.stages) {
        double sum = 0;
        for (const nlohmann::json& stage : row.at("stages")) {
            sum += cyclesOf(stage);
            if (std::ranges::find(names, stage.at("stage").get<std::string>()) == names.end())
                names.push_back(stage.at("stage"));
        }
        widest = std::max(widest, sum);
    }
    constexpr double kRow = 30, kLeft = 250, kTop = 96, kWidth = 600;
    constexpr double kGap = 12; // between directions
    const double bottom = kTop + kRow * static_cast<double>(all.stages.size()) + kGap + 14;
    const double high = std::ceil(widest * 1.02 * 2) / 2;
    SvgDrawing drawing(930, bottom + 60);
    drawing.Text({20, 30}, "Where the cycles go: stages of a 1920x1080 frame, one thread", kTitle);
    double x = 20;
    for (const std::string& name : names) {
        drawing.Rectangle({x, 52}, 14, 14, StageColors().at(name));
        drawing.Text({x + 20, 64}, name, {13});
        x += 20 + SvgDrawing::TextWidth(name, 13) + 18;
    }
    const PlotFrame frame({kLeft, kTop}, kWidth, bottom - kTop, {0, high}, {0, 1});
    frame.Draw(drawing, RoundTicks(high), {}, "core cycles per byte of raw picture", "");
    double y = kTop + 10;
    std::string task = all.stages[0].at("task");
    for (const nlohmann::json& row : all.stages) {
        if (row.at("task") != task)
            y += kGap;
        task = row.at("task");
        drawing.Text({kLeft - 10, y + 15},
                     row.at("task").get<std::string>() + ", " + row.at("layout").get<std::string>() + ' ' +
                         row.at("content").get<std::string>(),
                     {13, TextAnchor::End});
        double from = 0;
        for (const nlohmann::json& stage : row.at("stages")) {
            const double cycles = cyclesOf(stage);
            const SvgPoint start = frame.At(from, 0), end = frame.At(from + cycles, 0);
            drawing.Rectangle({start.x, y}, end.x - start.x, kRow - 10, StageColors().at(stage.at("stage")));
            if (end.x - start.x > 30)
                drawing.Text({(start.x + end.x) / 2, y + 15}, Rounded(cycles, 2),
                             {11, TextAnchor::Middle, "#ffffff"});
            from += cycles;
        }
        drawing.Text({frame.At(from, 0).x + 6, y + 15}, Rounded(from, 2),
                     {12, TextAnchor::Start, "#222222", true});
        y += kRow;
    }
    return drawing;
}
