#include "commands/commands.h"
#include "common/predict_methods.h"
#include "counted.h"
#include "drawing/block_map.h"
#include "files/open_files.h"
#include "files/output_file.h"
#include "files/video_stream.h"
#include "host/codec_host.h"
#include "host/private_settings.h"
#include "progress.h"

#include <cstdio>
#include <memory>
#include <ostream>

namespace {

StillImage DecodePicture(const VideoStream& stream, DriverEntry driver, std::span<const uint8_t> frame,
                         const std::string& where)
{
    const CompressedFormat& format = stream.Format();
    const PixelLayout& layout = DefaultLayout(FileKind::Png, format.code);
    PrivateSettings settings;
    settings.SetForDecoding(std::nullopt);
    FrameDecompressor decoder(driver, format, stream.BitmapInfo(), layout, stream.Width(), stream.Height());
    if (!decoder.Decompress(frame))
        throw ToolError("the frame is damaged: the codec refuses it", where, "see orvane verify");
    StillImage picture;
    picture.info = stream.InfoFor(layout);
    picture.pixels.resize(picture.info.FrameBytes());
    decoder.Read(picture.pixels);
    return picture;
}

std::string SizeFact(const VideoStream& stream, size_t bytes)
{
    const uint64_t raw = stream.InfoFor(NativeLayout(stream.Format().code)).FrameBytes();
    char text[160];
    std::snprintf(text, sizeof text, "%llu bytes became %zu: ratio %.2f, %.2f bits a sample",
                  static_cast<unsigned long long>(raw), bytes, Ratio(raw, bytes),
                  8 * static_cast<double>(bytes) / static_cast<double>(raw));
    return text;
}

std::string BlockFact(const FrameStructure& structure)
{
    const auto predictors = structure.CountPredictors();
    std::string text = std::to_string(structure.blocks.size()) + " blocks of " +
                       std::to_string(structure.blockHeight) + " picture rows:";
    for (size_t method = kBlockMethods + 1; method-- > 0;)
        if (predictors[method] > 0)
            text += " " + std::to_string(predictors[method]) + " " +
                    (method > 0 ? kPredictMethods[method - 1].name : "of no known predictor") + ",";
    return text + " " + std::to_string(structure.CountRaw()) + " raw";
}

} // namespace

ExitCode RunInspect(const InspectOptions& options, ToolContext& context)
{
    if (KindOf(options.output) != FileKind::Png)
        throw UsageError("the map is a PNG picture", options.output, "give a name that ends in .png");
    const auto wanted = ParseNumber(options.frame, INT64_MAX);
    if (!wanted)
        throw UsageError("bad number of a frame", "--frame " + options.frame, "frames count from 0");
    context.outputs.Protect(PathOf(options.input));
    VideoStream stream(PathOf(options.input));
    const std::string where = options.input + " frame " + options.frame;
    if (*wanted >= stream.FrameCount())
        throw ToolError("frame " + options.frame + " does not exist", options.input,
                        "the file has " + Counted(stream.FrameCount(), "frame") + ", counted from 0");
    const auto number = static_cast<size_t>(*wanted);
    const AviFrame& place = stream.File().frames[number];
    if (place.size == 0)
        throw ToolError("the frame is empty: the picture before it stays", where, "inspect that one");
    const FrameStructure structure = ReadFrameStructure(stream.Source(), place.offset, place.size,
                                                        stream.Record(), stream.Format().planes);
    if (!structure.fault.empty())
        throw ToolError("the frame is damaged: " + structure.fault, where, "see orvane verify");

    BlockMapSubject subject;
    subject.title = TextOf(PathOf(options.input).filename()) + ", frame " + std::to_string(number) + " (of " +
                    std::to_string(stream.FrameCount()) + ", counted from 0)";
    subject.facts = {std::string(stream.Format().text) + ", " + std::to_string(stream.Width()) + "x" +
                         std::to_string(stream.Height()) +
                         (IsInterlaced(stream.Record()) ? ", interlaced" : ", progressive"),
                     SizeFact(stream, place.size), BlockFact(structure)};
    subject.format = &stream.Format();
    subject.picture = DecodePicture(stream, context.driver, stream.ReadFrame(number), where);
    subject.structure = structure;
    OutputFile file(PathOf(options.output), context.outputs);
    file.Write(DrawBlockMap(subject).EncodePng());
    file.Commit();
    context.out << options.output << ": " << subject.title << ", " << subject.facts[1] << '\n';
    return ExitCode::Done;
}
