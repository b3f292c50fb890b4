#include "codec/stage_costs.h"

#include "core/orvane.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

/// Stages of a table in the order in which a frame meets them.
struct StageColumn {
    const char* name;
    std::vector<Stage> stages;
};
const std::vector<StageColumn> kEncodeColumns = {
    {"split", {Stage::Split}},
    {"score, predict, count", {Stage::Scores, Stage::Predict, Stage::CountFrequencies}},
    {"tables", {Stage::TablesCompress}},
    {"Huffman", {Stage::Encode, Stage::Finalize}}};
const std::vector<StageColumn> kDecodeColumns = {{"tables", {Stage::TablesDecompress}},
                                                 {"Huffman", {Stage::Decode}},
                                                 {"inverse", {Stage::Unpredict}},
                                                 {"join", {Stage::Join}}};

/// One codec object in the middle of both runs over a clip.
class TimedCodec
{
  public:
    TimedCodec(BenchClip& clip_, FormatId host, PredictMethod method)
        : clip(clip_), back(*clip.layout, clip.width, clip.height)
    {
        EncodeSettings settings;
        settings.CompMethod = static_cast<uint32_t>(method);
        encoder.ApplyEncodeSettings(settings);
        const auto width = static_cast<uint32_t>(clip.width), height = static_cast<uint32_t>(clip.height);
        const FormatId code = clip.layout->family;
        if (!encoder.FillConfig(record, host, width, height, code))
            throw std::runtime_error("no route for the stage timers");
        encoder.SetThreadCount(1);
        decoder.SetThreadCount(1);
        const auto* bytes = reinterpret_cast<const uint8_t*>(&record);
        encoder.BeginCompress(encodeInfo, bytes, sizeof record, host);
        decoder.BeginDecompress(decodeInfo, bytes, sizeof record, host);
        const uint32_t room = encoder.MaxCompressedSize(host, width, height, code);
        for (size_t i = 0; i < clip.pictures.size(); ++i) {
            frames.emplace_back(room);
            sizes.push_back(0);
            Encode(i);
            Decode(i);
            if (std::memcmp(back.Data(), clip.pictures[i].Data(), clip.pictures[i].Header()->biSizeImage) !=
                0)
                throw std::runtime_error("a picture does not come back bit for bit");
        }
    }

    Orvane& Codec(bool encode) { return encode ? encoder : decoder; }
    void Run(bool encode)
    {
        const size_t picture = next++ % clip.pictures.size();
        encode ? Encode(picture) : Decode(picture);
    }

  private:
    void Encode(size_t picture)
    {
        encoder.SetSource(encodeInfo, clip.pictures[picture].Data());
        encodeInfo.output = frames[picture].Data();
        sizes[picture] = encoder.Compress(encodeInfo);
    }
    void Decode(size_t picture)
    {
        decoder.SetImage(decodeInfo, back.Data());
        decodeInfo.frame = {frames[picture].Data(), sizes[picture]};
        decoder.Decompress(decodeInfo);
    }

    BenchClip& clip;
    HostPicture back;
    FrameHeader record{};
    Orvane encoder{true, true};
    Orvane decoder{true, true};
    CompressInfo encodeInfo;
    CompressInfo decodeInfo;
    std::vector<AlignedBuffer> frames;
    std::vector<uint32_t> sizes;
    size_t next = 0;
};

void StartTimers(Orvane& codec)
{
    for (StageTimers& stage : codec.Stages())
        for (StageTimer& timer : stage.perThread) {
            timer.disabled = false;
            timer.total = 0;
            timer.count = 0;
        }
}

/// Timers cut every time down to whole microseconds, half of one on average.
double SecondsIn(Orvane& codec, const StageColumn& column)
{
    double micros = 0;
    for (const Stage stage : column.stages)
        for (const StageTimer& timer : codec.Stages()[IndexOf(stage)].perThread)
            micros += static_cast<double>(timer.total) +
                      (timer.total > 0 ? 0.5 * static_cast<double>(timer.count) : 0);
    return micros * 1e-6;
}

/// Cycles per byte: one entry for each column, the rest, and the whole.
std::vector<double> MeasureRound(TimedCodec& codec, bool encode, const std::vector<StageColumn>& columns,
                                 double bytes, double batchSeconds)
{
    StartTimers(codec.Codec(encode));
    const double hertz = CoreHertz();
    const double start = SecondsNow();
    int frames = 0;
    double seconds = 0;
    for (; seconds < batchSeconds; seconds = SecondsNow() - start, ++frames)
        codec.Run(encode);
    const double cyclesPerByte = (hertz + CoreHertz()) / 2 / frames / bytes;
    std::vector<double> cycles;
    double covered = 0;
    for (const StageColumn& column : columns) {
        const double inStage = SecondsIn(codec.Codec(encode), column);
        covered += inStage;
        cycles.push_back(inStage * cyclesPerByte);
    }
    cycles.push_back((seconds - covered) * cyclesPerByte);
    cycles.push_back(seconds * cyclesPerByte);
    return cycles;
}

/// A format, content and direction, with the cycles of its columns by round.
class StageRow
{
  public:
    StageRow(BenchClip clip_, FormatId host, bool encode_)
        : clip(std::move(clip_)), encode(encode_), columns(encode_ ? kEncodeColumns : kDecodeColumns),
          codec(clip, host, encode_ ? PredictMethod::Dynamic : PredictMethod::Median),
          rounds(columns.size() + 2)
    {}

    void Run(double batchSeconds)
    {
        const std::vector<double> cycles =
            MeasureRound(codec, encode, columns, clip.PictureBytes(), batchSeconds);
        for (size_t i = 0; i < cycles.size(); ++i)
            rounds[i].push_back(cycles[i]);
    }

    nlohmann::json Print() const
    {
        nlohmann::json stages = nlohmann::json::array();
        const std::string task = encode ? "encode Dynamic" : "decode Median";
        std::printf("%-34s", (clip.name + '/' + clip.layout->name + '/' + task).c_str());
        for (size_t i = 0; i <= columns.size(); ++i) {
            const std::string name = i < columns.size() ? columns[i].name : "rest";
            stages.push_back({{"stage", name}, {"cycles_per_byte", Median(rounds[i])}});
            std::printf("  %s %.2f", name.c_str(), Median(rounds[i]));
        }
        std::printf("  whole %.2f\n", Median(rounds.back()));
        return {{"content", clip.name},
                {"layout", clip.layout->name},
                {"task", task},
                {"stages", stages},
                {"cycles_per_byte", Median(rounds.back())}};
    }

  private:
    BenchClip clip;
    bool encode;
    const std::vector<StageColumn>& columns;
    TimedCodec codec;
    std::vector<std::vector<double>> rounds;
};

} // namespace

nlohmann::json
MeasureStages(const RoundOptions& options,
              const std::function<BenchClip(const std::string& content, const PixelLayout& layout)>& makeClip)
{
    constexpr struct {
        const char* layout;
        FormatId host;
    } kFormats[] = {{"I420", kHostI420}, {"YUY2", kHostYuy2}, {"RGB24", kHostBgr}};
    std::vector<std::unique_ptr<StageRow>> rows;
    for (const bool encode : {true, false})
        for (const auto& format : kFormats)
            for (const char* content : {"soft", "hard"})
                rows.push_back(std::make_unique<StageRow>(makeClip(content, LayoutNamed(format.layout)),
                                                          format.host, encode));
    for (int round = 0; round < options.rounds; ++round)
        for (const auto& row : rows)
            row->Run(options.batchSeconds);
    nlohmann::json json = nlohmann::json::array();
    std::printf("[stages] cycles per byte\n");
    for (const auto& row : rows)
        json.push_back(row->Print());
    return json;
}
