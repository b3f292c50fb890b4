#include "report/kernel_table.h"

#include "report/markdown_table.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr double kBlockBytes = 1920 * 28;
constexpr double kPlaneBytes = kBlockBytes * 39;
constexpr double kRgb24Bytes = 1920.0 * 3 * 1080;
constexpr double kYuy2Bytes = 1920.0 * 2 * 1080;

/// A benchmark, what it works on, and what it is called in the table.
struct KernelRow {
    const char* benchmark;
    double bytes; ///< 0: a table, whose time says more than its speed
    const char* text;
};
constexpr KernelRow kKernelRows[] = {
    {"split/rgb24/manual_time", kRgb24Bytes, "split RGB24"},
    {"split/yuy2/manual_time", kYuy2Bytes, "split YUY2"},
    {"Predictor/ScorePredictors/sse2/1920x28", kBlockBytes, "score all predictors"},
    {"Predictor/ScoreAndPredict/sse2/1920x28", kBlockBytes, "score, predict and count in one"},
    {"Predictor/Predict/Left/sse2/1920x28", kBlockBytes, "predict and count Left"},
    {"Predictor/Predict/Gradient/sse2/1920x28", kBlockBytes, "predict and count Gradient"},
    {"Predictor/Predict/Median/sse2/1920x28", kBlockBytes, "predict and count Median"},
    {"Entropy/CountSymbols/bits_x10:24", kPlaneBytes, "count every fourth residual"},
    {"Entropy/CodeLengths/bits_x10:24", 0, "code lengths of a plane, soft"},
    {"Entropy/CodeLengths/bits_x10:43", 0, "code lengths of a plane, hard"},
    {"Entropy/Tables/Writer/bits_x10:24", 0, "encoding tables of a plane, soft"},
    {"Entropy/Tables/Writer/bits_x10:43", 0, "encoding tables of a plane, hard"},
    {"Entropy/Tables/Reader/bits_x10:24", 0, "decoding table of a plane, soft"},
    {"Entropy/Tables/Reader/bits_x10:43", 0, "decoding table of a plane, hard"},
    {"Entropy/Encode/Pairs/bits_x10:24", kPlaneBytes, "Huffman encode, soft"},
    {"Entropy/Encode/Pairs/bits_x10:43", kPlaneBytes, "Huffman encode, hard"},
    {"Entropy/Encode/Single/bits_x10:24", kPlaneBytes, "Huffman encode one by one, soft"},
    {"Entropy/DecodeBlocks/bits_x10:24", kPlaneBytes, "Huffman decode, many blocks, soft"},
    {"Entropy/DecodeBlocks/bits_x10:43", kPlaneBytes, "Huffman decode, many blocks, hard"},
    {"Entropy/Decode/bits_x10:24", kPlaneBytes, "Huffman decode, block by block, soft"},
    {"Entropy/Decode/bits_x10:43", kPlaneBytes, "Huffman decode, block by block, hard"},
    {"Predictor/Unpredict/Left/sse2/1920x28", kBlockBytes, "inverse Left"},
    {"Predictor/Unpredict/Gradient/sse2/1920x28", kBlockBytes, "inverse Gradient"},
    {"Predictor/Unpredict/Median/sse2/1920x28", kBlockBytes, "inverse Median"},
    {"join/rgb24/manual_time", kRgb24Bytes, "join RGB24"},
    {"join/yuy2/manual_time", kYuy2Bytes, "join YUY2"},
};

std::string Format(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

} // namespace

std::string KernelTable(const std::vector<KernelTime>& kernels, double coreGhz)
{
    MarkdownTable table({"kernel", "MB/s", "cycles per byte", "microseconds"});
    for (const KernelRow& row : kKernelRows) {
        const auto found = std::ranges::find(kernels, row.benchmark, &KernelTime::name);
        if (found == kernels.end())
            continue;
        const double micros = found->seconds * 1e6;
        if (row.bytes == 0)
            table.Add({row.text, "-", "-", Format("%.1f", micros)});
        else
            table.Add({row.text, Format("%.0f", row.bytes / found->seconds * 1e-6),
                       Format("%.2f", found->seconds * coreGhz * 1e9 / row.bytes), Format("%.1f", micros)});
    }
    return table.Text();
}
