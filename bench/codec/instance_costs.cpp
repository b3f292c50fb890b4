#include "codec/instance_costs.h"

#include "codec/codec_runs.h"
#include "codec/heap_use.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr double kNoise = 3;
constexpr FormatId kFormats[] = {kCodeYuv420, kCodeYuv422, kCodeYuv444, kCodeRgb,
                                 kCodeYuva,   kCodeRgba,   kCodeGray};

/// A clip of one picture with memory for its frame and for the decoded picture.
struct Stage {
    Stage(BenchSetup& setup, const PixelLayout& layout, int width, int height)
        : clip(DrawClip("", layout, width, height, kNoise, 1)), frame(FrameRoom(setup.drivers[0], clip)),
          back(layout, width, height)
    {
        coded =
            EncodeRun(setup.drivers[0], setup.settings, clip, PredictMethod::Dynamic, 1, frame).EncodeAll();
    }

    /// Opens a run and does its first frame.
    std::unique_ptr<ClipRun> Begin(BenchSetup& setup, bool encode, int threads)
    {
        std::unique_ptr<ClipRun> run;
        if (encode)
            run = std::make_unique<EncodeRun>(setup.drivers[0], setup.settings, clip, PredictMethod::Dynamic,
                                              threads, frame);
        else
            run = std::make_unique<DecodeRun>(setup.drivers[0], setup.settings, clip, coded, threads, back);
        run->Run(1);
        return run;
    }

    BenchClip clip;
    AlignedBuffer frame;
    HostPicture back;
    CodedClip coded;
};

/// Bytes that a run holds, measured in the second of two: what the first one leaves behind belongs to the
/// library.
size_t HeapOfRun(BenchSetup& setup, Stage& stage, bool encode, int threads)
{
    stage.Begin(setup, encode, threads);
    const size_t before = *HeapUse();
    const auto run = stage.Begin(setup, encode, threads);
    run->Run(2);
    return *HeapUse() - before;
}

} // namespace

nlohmann::json MeasureFirstFrames(BenchSetup& setup)
{
    nlohmann::json rows = nlohmann::json::array();
    std::printf("%-46s %8s %8s\n", "[start] first 1920x1080 frame", "ms", "max");
    for (const char* layout : {"I420", "YUY2", "RGB24"}) {
        Stage stage(setup, LayoutNamed(layout), 1920, 1080);
        for (const bool encode : {true, false})
            for (const int threads : {1, 2}) {
                std::vector<double> times;
                for (int i = 0; i < setup.rounds.rounds; ++i) {
                    const double start = SecondsNow();
                    const auto run = stage.Begin(setup, encode, threads);
                    times.push_back((SecondsNow() - start) * 1e3);
                }
                const char* const task = encode ? "encode" : "decode";
                const double worst = *std::ranges::max_element(times);
                std::printf("%-46s %8.2f %8.2f\n",
                            (std::string(layout) + '/' + task + '/' + std::to_string(threads) + 't').c_str(),
                            Median(times), worst);
                rows.push_back({{"layout", layout},
                                {"task", task},
                                {"threads", threads},
                                {"ms", Median(times)},
                                {"max_ms", worst}});
            }
    }
    return rows;
}

nlohmann::json MeasureMemory(BenchSetup& setup)
{
    nlohmann::json rows = nlohmann::json::array();
    if (!HeapUse())
        return rows;
    std::printf("%-46s %10s %10s %10s %10s\n", "[memory] MiB of an instance", "encode 1t", "encode 2t",
                "decode 1t", "decode 2t");
    for (const auto& [width, height] : {std::pair(1920, 1080), std::pair(3840, 2160)})
        for (const FormatId format : kFormats) {
            const PixelLayout& layout = NativeLayout(format);
            Stage stage(setup, layout, width, height);
            nlohmann::json row{{"format", FindCompressedFormat(format)->text},
                               {"layout", layout.name},
                               {"width", width},
                               {"height", height},
                               {"picture", stage.clip.PictureBytes()}};
            std::printf("%-46s",
                        (std::to_string(width) + 'x' + std::to_string(height) + '/' + layout.name).c_str());
            for (const bool encode : {true, false})
                for (const int threads : {1, 2}) {
                    const size_t bytes = HeapOfRun(setup, stage, encode, threads);
                    row[(encode ? "encode_" : "decode_") + std::to_string(threads)] = bytes;
                    std::printf(" %10.2f", static_cast<double>(bytes) / 1048576);
                }
            std::printf("\n");
            rows.push_back(row);
        }
    return rows;
}
