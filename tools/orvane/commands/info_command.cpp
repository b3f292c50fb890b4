#include "commands/commands.h"
#include "common/predict_methods.h"
#include "counted.h"
#include "files/conversion.h"
#include "files/fourcc.h"
#include "files/frame_structure.h"
#include "files/host_problems.h"
#include "files/video_stream.h"
#include "progress.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstdio>
#include <iomanip>
#include <memory>
#include <ostream>
#include <string_view>

namespace {

/// Element 0 counts blocks of no known method.
constexpr size_t kMethods = kBlockMethods + 1;

struct FrameFacts {
    std::array<uint64_t, kMethods> methods{};
    uint64_t rawBlocks = 0;
    std::string fault;
};

/// All that the command tells, in whatever form. What it tells of single frames is read when it is printed:
/// a file may have millions of them.
struct StreamFacts {
    const VideoStream* stream;
    uint64_t damaged = 0; ///< frames
    std::array<uint64_t, kMethods> methods{};
    uint64_t rawBlocks = 0;
    uint64_t bytes = 0;
    uint64_t rawBytes = 0;
    StoredChecksums checksums;
    std::vector<std::string> problems; ///< of other programs with the file

    bool IsYuv() const { return IsYuvFamily(stream->Format().code); }
    std::string Matrix() const
    {
        const uint32_t matrix = EffectiveMatrix(stream->Format().code, stream->Record().colorMatrix);
        return matrix == 1 ? "Rec.601" : matrix == 2 ? "Rec.709" : "unknown";
    }
    std::string Range() const { return IsFullRange(stream->Record()) ? "full" : "limited"; }
};

FrameFacts ReadFacts(const VideoStream& stream, const AviFrame& place)
{
    FrameFacts facts;
    if (place.size == 0)
        return facts;
    FrameStructure structure = ReadFrameStructure(stream.Source(), place.offset, place.size, stream.Record(),
                                                  stream.Format().planes);
    facts.methods = structure.CountPredictors();
    facts.rawBlocks = structure.CountRaw();
    facts.fault = std::move(structure.fault);
    return facts;
}

StreamFacts CollectFacts(const VideoStream& stream)
{
    StreamFacts facts{
        .stream = &stream, .checksums = stream.ReadChecksums(), .problems = FindHostProblems(stream)};
    for (const AviFrame& place : stream.File().frames) {
        const FrameFacts frame = ReadFacts(stream, place);
        for (size_t i = 0; i < kMethods; ++i)
            facts.methods[i] += frame.methods[i];
        facts.rawBlocks += frame.rawBlocks;
        facts.bytes += place.size;
        facts.damaged += frame.fault.empty() ? 0 : 1;
    }
    const uint64_t pictureBytes = stream.InfoFor(NativeLayout(stream.Format().code)).FrameBytes();
    facts.rawBytes = pictureBytes * stream.FrameCount();
    return facts;
}

/// "left 0, gradient 12, median 120"; values of no predictor only where there are any.
std::string MethodsText(const std::array<uint64_t, kMethods>& methods)
{
    std::string text;
    for (size_t i = 1; i < kMethods; ++i)
        text += (text.empty() ? "" : ", ") + std::string(kPredictMethods[i - 1].option) + " " +
                std::to_string(methods[i]);
    return methods[0] == 0 ? text : text + ", unknown " + std::to_string(methods[0]);
}

std::string FileText(const AviFile& file)
{
    const uint64_t missing = file.MissingFrames();
    std::string text = file.cut       ? "cut off"
                       : missing == 0 ? "complete"
                                      : Counted(missing, "frame") + " missing";
    if (file.brokenPlaces > 0)
        text += ", broken in " + Counted(file.brokenPlaces, "place");
    switch (file.index) {
    case AviIndexState::None:
        return text + ", without index";
    case AviIndexState::Whole:
        return text + ", index whole";
    case AviIndexState::Wrong:
        break;
    }
    return text + (file.unindexed > 0 ? ", index with gaps"
                   : file.cut         ? ", index incomplete"
                                      : ", index does not fit");
}

std::string RateText(const Rational& rate)
{
    if (rate.denominator == 1)
        return std::to_string(rate.numerator) + " fps";
    char text[32];
    std::snprintf(text, sizeof text, "%.3f fps", rate.Value());
    return text + (" (" + TextOf(rate, '/') + ")");
}

/// "0.64 s", "2:05.4", "1:02:03".
std::string DurationText(double seconds)
{
    char text[64];
    const auto whole = static_cast<uint64_t>(seconds);
    if (seconds < 60)
        std::snprintf(text, sizeof text, "%.2f s", seconds);
    else if (seconds < 3600)
        std::snprintf(text, sizeof text, "%d:%04.1f", static_cast<int>(whole / 60), std::fmod(seconds, 60));
    else
        std::snprintf(text, sizeof text, "%llu:%02d:%02d", static_cast<unsigned long long>(whole / 3600),
                      static_cast<int>(whole / 60 % 60), static_cast<int>(whole % 60));
    return text;
}

std::string ChecksumText(const StreamFacts& facts)
{
    const StoredChecksums& stored = facts.checksums;
    const std::string damaged = stored.unreadable ? "damaged" : "";
    if (!stored.table)
        return stored.unreadable ? damaged : "none";
    return "of " + Counted(stored.table->Count(), "frame") + ", with bands and blocks" +
           (stored.unreadable ? ", others damaged" : "");
}

void PrintText(const StreamFacts& facts, std::ostream& out)
{
    const VideoStream& stream = *facts.stream;
    const auto line = [&](const char* label) -> std::ostream& {
        return out << "  " << std::left << std::setw(11) << label << std::right;
    };
    out << std::fixed << std::setprecision(2) << stream.Name() << '\n';
    line("format") << PrintableFourCC(stream.Format().fourcc) << ", " << stream.Format().text;
    if (facts.IsYuv())
        out << ", " << facts.Matrix() << ", " << facts.Range() << " range";
    out << (IsInterlaced(stream.Record()) ? ", interlaced\n" : ", progressive\n");
    const VideoInfo info = stream.InfoFor(NativeLayout(stream.Format().code));
    line("size") << stream.Width() << "x" << stream.Height();
    if (info.pixelAspect)
        out << ", pixels " << TextOf(*info.pixelAspect, ':');
    out << ", " << RateText(stream.File().rate) << '\n';
    line("frames") << stream.FrameCount() << ", "
                   << DurationText(static_cast<double>(stream.FrameCount()) / stream.File().rate.Value())
                   << '\n';
    line("bytes") << facts.bytes << " of " << facts.rawBytes << ", ratio "
                  << Ratio(facts.rawBytes, facts.bytes);
    if (facts.rawBytes > 0)
        out << ", " << 8 * static_cast<double>(facts.bytes) / static_cast<double>(facts.rawBytes)
            << " bits a sample";
    out << '\n';
    line("blocks") << MethodsText(facts.methods) << "; stored raw " << facts.rawBlocks << '\n';
    line("file") << FileText(stream.File());
    if (facts.damaged > 0)
        out << ", " << Counted(facts.damaged, "frame") << " damaged in structure";
    out << '\n';
    line("checksums") << ChecksumText(facts) << '\n';
    if (const std::string conversion = StoredConversion(stream); !conversion.empty())
        line("converted") << conversion << '\n';
    for (const std::string& problem : facts.problems)
        line("problem") << problem << '\n';
    if (!facts.problems.empty())
        line("") << "the pictures are right all the same, unless verify finds damage; run orvane repair\n";
}

void PrintFrames(const StreamFacts& facts, std::ostream& out)
{
    const std::vector<AviFrame>& frames = facts.stream->File().frames;
    const uint64_t pictureBytes = frames.empty() ? 0 : facts.rawBytes / frames.size();
    out << "   frame          offset       bytes   ratio    left gradient  median     raw\n";
    for (size_t number = 0; number < frames.size(); ++number) {
        const AviFrame& place = frames[number];
        const FrameFacts frame = ReadFacts(*facts.stream, place);
        out << std::setw(8) << number << std::setw(16) << place.offset << std::setw(12) << place.size
            << std::setw(8) << Ratio(pictureBytes, place.size) << std::setw(8) << frame.methods[1]
            << std::setw(9) << frame.methods[2] << std::setw(8) << frame.methods[3] << std::setw(8)
            << frame.rawBlocks << (frame.fault.empty() ? "" : "  " + frame.fault) << '\n';
    }
}

using Json = nlohmann::ordered_json;

Json MethodsJson(const std::array<uint64_t, kMethods>& methods)
{
    Json json = Json::object();
    for (size_t i = 1; i < kMethods; ++i)
        json[kPredictMethods[i - 1].option] = methods[i];
    return json;
}

Json FrameJson(size_t number, const AviFrame& place, const FrameFacts& frame)
{
    return {{"frame", number},
            {"offset", place.offset},
            {"bytes", place.size},
            {"methods", MethodsJson(frame.methods)},
            {"raw_blocks", frame.rawBlocks},
            {"fault", frame.fault.empty() ? Json() : Json(frame.fault)}};
}

std::string JsonText(const Json& json)
{
    return json.dump(2, ' ', false, Json::error_handler_t::replace);
}

/// Prints `frame_list`, frame by frame: only one of them is in memory.
void PrintFrameList(const VideoStream& stream, std::ostream& out)
{
    const std::vector<AviFrame>& frames = stream.File().frames;
    for (size_t number = 0; number < frames.size(); ++number) {
        out << (number == 0 ? "\n    " : ",\n    ");
        for (const char c : JsonText(FrameJson(number, frames[number], ReadFacts(stream, frames[number]))))
            out << (c == '\n' ? "\n    " : std::string_view(&c, 1));
    }
    out << (frames.empty() ? "" : "\n  ");
}

void PrintJson(const StreamFacts& facts, std::ostream& out)
{
    const VideoStream& stream = *facts.stream;
    const std::string conversion = StoredConversion(stream);
    const Json json = {{"fourcc", PrintableFourCC(stream.Format().fourcc)},
                       {"format", stream.Format().text},
                       {"width", stream.Width()},
                       {"height", stream.Height()},
                       {"fps", TextOf(stream.File().rate, '/')},
                       {"frames", stream.FrameCount()},
                       {"bytes", facts.bytes},
                       {"raw_bytes", facts.rawBytes},
                       {"ratio", Ratio(facts.rawBytes, facts.bytes)},
                       {"matrix", facts.IsYuv() ? Json(facts.Matrix()) : Json()},
                       {"range", facts.IsYuv() ? Json(facts.Range()) : Json()},
                       {"interlaced", IsInterlaced(stream.Record())},
                       {"methods", MethodsJson(facts.methods)},
                       {"raw_blocks", facts.rawBlocks},
                       {"checksums", facts.checksums.table.has_value()},
                       {"converted", conversion.empty() ? Json() : Json(conversion)},
                       {"problems", facts.problems}};
    const std::string head = JsonText(json);
    out << std::string_view(head).substr(0, head.size() - 2) << ",\n  \"frame_list\": [";
    PrintFrameList(stream, out);
    out << "]\n}\n";
}

} // namespace

ExitCode RunInfo(const InfoOptions& options, ToolContext& context)
{
    const VideoStream stream(PathOf(options.input));
    const StreamFacts facts = CollectFacts(stream);
    if (options.json) {
        PrintJson(facts, context.out);
        return ExitCode::Done;
    }
    PrintText(facts, context.out);
    if (options.frames)
        PrintFrames(facts, context.out);
    return ExitCode::Done;
}
