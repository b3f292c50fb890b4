#include "commands/commands.h"
#include "counted.h"
#include "drawing/size_plot.h"
#include "files/byte_source.h"
#include "files/output_file.h"
#include "files/video_stream.h"
#include "progress.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <ostream>

namespace {

std::string FactsOf(const VideoStream& stream, uint64_t rawBytes, uint64_t bytes)
{
    char ratio[32];
    std::snprintf(ratio, sizeof ratio, "%.2f", Ratio(rawBytes, bytes));
    return std::string(stream.Format().text) + ", " + std::to_string(stream.Width()) + "x" +
           std::to_string(stream.Height()) + ", " + Counted(stream.FrameCount(), "frame") + "; " +
           std::to_string(bytes) + " of " + std::to_string(rawBytes) + " bytes, ratio " + ratio;
}

} // namespace

ExitCode RunPlot(const PlotOptions& options, ToolContext& context)
{
    const std::string ending = TextOf(PathOf(options.output).extension());
    if (ending != ".svg" && ending != ".SVG")
        throw UsageError("the plot is an SVG picture", options.output, "give a name that ends in .svg");
    context.outputs.Protect(PathOf(options.input));
    const VideoStream stream(PathOf(options.input));
    if (stream.FrameCount() == 0)
        throw ToolError("the file has no frames", options.input, "there is nothing to plot");

    SizePlotSubject subject;
    uint64_t bytes = 0;
    for (const AviFrame& frame : stream.File().frames) {
        subject.sizes.push_back(frame.size);
        bytes += frame.size;
    }
    subject.title = TextOf(PathOf(options.input).filename());
    subject.rawBytes = stream.InfoFor(NativeLayout(stream.Format().code)).FrameBytes();
    subject.facts = FactsOf(stream, subject.rawBytes * subject.sizes.size(), bytes);
    subject.rate = stream.File().rate;
    const std::string svg = DrawSizePlot(subject);
    OutputFile file(PathOf(options.output), context.outputs);
    file.Write({reinterpret_cast<const uint8_t*>(svg.data()), svg.size()});
    file.Commit();
    context.out << options.output << ": " << subject.facts << '\n';
    return ExitCode::Done;
}
