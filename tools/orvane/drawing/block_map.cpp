#include "drawing/block_map.h"

#include "common/predict_methods.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

constexpr Color kWhite{255, 255, 255};
constexpr Color kInk{32, 32, 40};
constexpr Color kFaint{110, 110, 120};
constexpr Color kHatch{170, 70, 105};
constexpr int kMargin = 20;
constexpr int kLine = 26; // between lines of text
constexpr int kColumnWidth = 176;
constexpr int kGap = 12;
constexpr int kTextHeight = 14;
constexpr int kMinTextCell = 20; // cells below it carry no text
constexpr double kMaxWidth = 1200, kMaxHeight = 900, kMaxStretched = 4000, kMaxScale = 8;

/// From cold to hot: pale yellow for 0 bits a sample, dark red for 8.
Color HeatOf(double bits)
{
    constexpr Color kStops[] = {
        {255, 255, 229}, {254, 227, 145}, {254, 153, 41}, {204, 51, 17}, {110, 0, 40}};
    const double at = std::clamp(bits / 2, 0.0, 3.999);
    const auto stop = static_cast<size_t>(at);
    const double part = at - static_cast<double>(stop);
    const auto mix = [&](uint8_t a, uint8_t b) {
        return static_cast<uint8_t>(std::lround(a + (b - a) * part));
    };
    const Color &a = kStops[stop], &b = kStops[stop + 1];
    return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

std::string Fixed(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", value);
    return text;
}

/// Where things stand. The picture's rows and the cells of the planes share one vertical scale.
struct MapLayout {
    Rect picture;
    double rowScale;
    int columns; ///< x of the first one
    int legend;  ///< y
    int width, height;

    int RowY(uint64_t row) const { return picture.y + static_cast<int>(static_cast<double>(row) * rowScale); }
};

MapLayout Arrange(const BlockMapSubject& subject)
{
    const double width = subject.picture.info.width, height = subject.picture.info.height;
    const double band = std::min<double>(subject.structure.blockHeight, height);
    double scale = std::min({kMaxWidth / width, kMaxHeight / height, kMaxScale});
    // Cells need room for their text, however many they are.
    scale = std::min(std::max(scale, kMinTextCell / band), std::max(scale, kMaxStretched / height));

    MapLayout layout{};
    layout.rowScale = scale;
    layout.picture.x = kMargin + Canvas::TextWidth(std::to_string(subject.picture.info.height)) + kGap;
    layout.picture.y = kMargin + kLine * static_cast<int>(2 + subject.facts.size()) + 2 * kLine;
    layout.picture.width = std::max(1, static_cast<int>(std::min(width * scale, kMaxWidth)));
    layout.picture.height = std::max(1, static_cast<int>(height * scale));
    layout.columns = layout.picture.x + std::max(layout.picture.width, kColumnWidth) + 2 * kGap;
    const int right = layout.columns + subject.format->planes * (kColumnWidth + kGap) - kGap;
    int textRight = kMargin + Canvas::TextWidth(subject.title, 3);
    for (const std::string& fact : subject.facts)
        textRight = std::max(textRight, kMargin + Canvas::TextWidth(fact));
    layout.width = std::max({right, std::min(textRight, 1800), 860}) + kMargin;
    layout.legend = layout.picture.Bottom() + 2 * kLine;
    layout.height = layout.legend + 4 * kLine + kMargin;
    return layout;
}

void DrawCell(Canvas& canvas, const Rect& cell, const BlockStructure& block, double bits)
{
    canvas.Fill(cell, HeatOf(bits));
    if (block.raw)
        canvas.Hatch(cell, kHatch);
    canvas.Outline(cell, kWhite);
    if (cell.height < kMinTextCell)
        return;
    const PredictMethodInfo* const method = FindPredictMethod(block.predictor);
    const std::string text = std::string(method && method->inBlocks ? method->name : "?") + " " +
                             (block.raw ? "raw" : Fixed(bits));
    canvas.Text(cell.x + 8, cell.y + (cell.height - kTextHeight) / 2, text, bits < 4.5 ? kInk : kWhite);
}

void DrawPlane(Canvas& canvas, const BlockMapSubject& subject, const MapLayout& layout, size_t plane)
{
    const size_t bands = subject.structure.blocks.size() / subject.format->planes;
    const int x = layout.columns + static_cast<int>(plane) * (kColumnWidth + kGap);
    double bits = 0, samples = 0;
    for (size_t band = 0; band < bands; ++band) {
        const size_t block = plane * bands + band;
        const uint64_t first = uint64_t{band} * subject.structure.blockHeight;
        const uint64_t end = std::min<uint64_t>(first + subject.structure.blockHeight,
                                                static_cast<uint64_t>(subject.picture.info.height));
        const int top = layout.RowY(first);
        DrawCell(canvas, {x, top, kColumnWidth, std::max(1, layout.RowY(end) - top)},
                 subject.structure.blocks[block], BitsOf(subject, block));
        const auto count = static_cast<double>(SamplesOf(subject, block));
        bits += BitsOf(subject, block) * count;
        samples += count;
    }
    canvas.Text(x, layout.picture.y - 2 * kLine + 6,
                std::string("plane ") + PlaneName(*subject.format, plane), kInk);
    canvas.Text(x, layout.picture.y - kLine + 4, "mean " + Fixed(bits / samples) + " bits", kFaint);
}

/// The picture with the rows at which blocks begin.
void DrawPicture(Canvas& canvas, const BlockMapSubject& subject, const MapLayout& layout)
{
    canvas.Text(layout.picture.x, layout.picture.y - kLine + 4, "picture", kInk);
    canvas.Image(layout.picture, subject.picture);
    const auto height = static_cast<uint64_t>(subject.picture.info.height);
    int lastLabel = -kLine;
    for (uint64_t row = 0; row < height; row += subject.structure.blockHeight) {
        const int y = layout.RowY(row);
        if (row > 0)
            canvas.Tint({layout.picture.x, y, layout.picture.width, 1}, kWhite);
        if (y - lastLabel < kLine)
            continue;
        lastLabel = y;
        const std::string label = std::to_string(row);
        canvas.Text(layout.picture.x - kGap - Canvas::TextWidth(label), y + 2, label, kFaint);
    }
}

void DrawLegend(Canvas& canvas, const MapLayout& layout)
{
    constexpr int kBarWidth = 480, kBarHeight = 24;
    const int y = layout.legend;
    canvas.Text(kMargin, y, "Bits that a sample takes in a block (8: nothing gained)", kInk);
    const Rect bar{kMargin + 4, y + kLine, kBarWidth, kBarHeight};
    for (int x = 0; x < kBarWidth; ++x)
        canvas.Fill({bar.x + x, bar.y, 1, kBarHeight}, HeatOf(8.0 * x / kBarWidth));
    for (int bits = 0; bits <= 8; ++bits) {
        const int x = bar.x + bits * (kBarWidth - 1) / 8;
        const std::string label = std::to_string(bits);
        canvas.Fill({x, bar.Bottom(), 1, 5}, kInk);
        canvas.Text(x - Canvas::TextWidth(label) / 2, bar.Bottom() + 9, label, kInk);
    }
    const Rect raw{bar.Right() + 40, bar.y, 48, kBarHeight};
    canvas.Fill(raw, HeatOf(8));
    canvas.Hatch(raw, kHatch);
    canvas.Text(raw.Right() + 10, raw.y + 5, "raw block: stored as it is", kInk);
    canvas.Text(
        kMargin, y + 4 * kLine - 6,
        "Each cell is one block: its predictor and its bits a sample. Numbers at the left: picture rows.",
        kFaint);
}

} // namespace

uint64_t SamplesOf(const BlockMapSubject& subject, size_t block)
{
    const CompressedFormat& format = *subject.format;
    const size_t bands = subject.structure.blocks.size() / format.planes;
    const size_t plane = block / bands;
    const bool isChroma = plane == 1 || plane == 2;
    const auto height = static_cast<uint64_t>(subject.picture.info.height);
    const uint64_t first = uint64_t{block % bands} * subject.structure.blockHeight;
    const uint64_t rows = std::min<uint64_t>(subject.structure.blockHeight, height - first);
    return static_cast<uint64_t>(subject.picture.info.width) / (isChroma ? format.horizontal : 1) * rows /
           (isChroma ? format.vertical : 1);
}

double BitsOf(const BlockMapSubject& subject, size_t block)
{
    constexpr uint32_t kHeadSize = 2, kTailSize = 15;
    const BlockStructure& structure = subject.structure.blocks[block];
    if (structure.raw)
        return 8;
    const bool isLast = block + 1 == subject.structure.blocks.size();
    const uint32_t around = kHeadSize + (isLast ? kTailSize : 0);
    const uint32_t payload = structure.size - std::min(structure.size, around);
    return 8.0 * payload / static_cast<double>(std::max<uint64_t>(1, SamplesOf(subject, block)));
}

Canvas DrawBlockMap(const BlockMapSubject& subject)
{
    const MapLayout layout = Arrange(subject);
    Canvas canvas(layout.width, layout.height, kWhite);
    canvas.Text(kMargin, kMargin, subject.title, kInk, 3);
    int y = kMargin + 2 * kLine - 8;
    for (const std::string& fact : subject.facts) {
        canvas.Text(kMargin, y, fact, kInk);
        y += kLine;
    }
    DrawPicture(canvas, subject, layout);
    for (size_t plane = 0; plane < subject.format->planes; ++plane)
        DrawPlane(canvas, subject, layout, plane);
    DrawLegend(canvas, layout);
    return canvas;
}
