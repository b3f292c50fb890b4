// Front ends and converters over one 1920 by 1080 picture on one core. Counters: MB/s of picture bytes
// (converters: of the chroma bytes on their larger side), and of_copy, the ratio to a memory copy of these
// bytes. Stage and copy take turns, and the best time of each counts.
#include "common/align_up.h"
#include "imgproc/frontend/frontend_set.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace imgproc;

namespace {

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

/// Random bytes from a 64-byte boundary on.
class Memory
{
  public:
    explicit Memory(size_t size) : bytes(size + 64)
    {
        std::mt19937 random(1);
        std::ranges::generate(bytes, [&] { return static_cast<uint8_t>(random()); });
    }
    uint8_t* data() { return alignUp(bytes.data(), 64); }

  private:
    std::vector<uint8_t> bytes;
};

/// Processor time, so that other work on the machine counts little.
double Seconds(const std::function<void()>& work)
{
    const std::clock_t start = std::clock();
    work();
    benchmark::ClobberMemory();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

void RunBesideCopy(benchmark::State& state, size_t bytes, const std::function<void()>& stage)
{
    Memory from(bytes);
    Memory to(bytes);
    double bestStage = 1e9;
    double bestCopy = 1e9;
    for (auto _ : state) {
        const double seconds = Seconds(stage);
        state.SetIterationTime(seconds);
        bestStage = std::min(bestStage, seconds);
        bestCopy = std::min(bestCopy, Seconds([&] { std::memcpy(to.data(), from.data(), bytes); }));
    }
    state.counters["MB/s"] = static_cast<double>(bytes) / 1e6 / bestStage;
    state.counters["of_copy"] = bestCopy / bestStage;
}

const FrontendSet& Frontends()
{
    static const FrontendSet set;
    return set;
}

void Frontend(benchmark::State& state, FormatId host, FormatId planes, bool split)
{
    const ImgProcFrontend& frontend = *Frontends().Find(host, planes, ColorStandard::Rec709_Limited);
    const int pitch = alignUp(kWidth * frontend.GetGroupBytes(0) / frontend.GetGroupPixels(0), 4);
    const size_t pictureBytes = static_cast<size_t>(pitch) * kHeight;
    Memory picture(pictureBytes);
    const PlaneArray hostPicture{{{picture.data(), pitch}}};
    const PlaneShapes shapes = frontend.PrepareBuffers(hostPicture[0], kWidth, kHeight, false);
    const PlaneLayout layout = LayOutPlanes(shapes);
    Memory arena(kPlaneBoundary + layout.size);
    PlaneArray planeRows;
    for (size_t p = 0; p < planeRows.size(); ++p)
        if (shapes[p].Bytes() > 0)
            planeRows[p] = {alignUp(arena.data(), kPlaneBoundary) + layout.offset[p], shapes[p].pitch};
    RunBesideCopy(state, pictureBytes, [&] {
        if (split)
            frontend.Split(ReadOnly(hostPicture), kWidth, kHeight, planeRows);
        else
            frontend.Join(hostPicture, kWidth, kHeight, ReadOnly(planeRows));
    });
}

void Converter(benchmark::State& state, FormatId from, FormatId to, bool interpolate)
{
    const ConverterSet set;
    const ImgProcConverter& converter = *set.Find(from, to);
    Memory sourceBytes(size_t{kWidth} * kHeight * 3 + 4096);
    Memory targetBytes(size_t{kWidth} * kHeight * 3 + 4096);
    PlaneArray source, target;
    const auto place = [](const ImgProcBackend& backend, uint8_t* memory, PlaneArray& planes) {
        size_t chroma = 0;
        for (size_t p = 0; p < backend.GetPlaneCount(); ++p) {
            const int pitch = alignUp(backend.GetPlaneWidth(p, kWidth), 16);
            planes[p] = {memory + 256 * p, pitch};
            const size_t size =
                static_cast<size_t>(pitch) * static_cast<size_t>(backend.GetPlaneHeight(p, kHeight));
            memory += size;
            chroma += p > 0 ? size : 0;
        }
        return chroma;
    };
    const size_t sourceChroma = place(converter.sourceBackend, sourceBytes.data(), source);
    const size_t targetChroma = place(converter.targetBackend, targetBytes.data(), target);
    RunBesideCopy(state, std::max(sourceChroma, targetChroma), [&] {
        for (int pass = 0; pass < converter.GetPassCount(); ++pass)
            converter.Convert(ReadOnly(source), target, kWidth, kHeight, 0, kHeight, pass, interpolate);
    });
}

struct FrontendRow {
    const char* name;
    FormatId host, planes;
};
constexpr FrontendRow kFrontendRows[] = {
    {"rgb24", kHostBgr, kCodeRgb},           {"rgb32_3", kHostBgrx, kCodeRgb},
    {"rgb32_4", kHostBgra, kCodeRgba},       {"rgb24_to_yuv", kHostBgr, kCodeYuv444},
    {"rgb24_to_gray", kHostBgr, kCodeGray},  {"rgb32_to_yuv", kHostBgrx, kCodeYuv444},
    {"rgb32_to_yuva", kHostBgra, kCodeYuva}, {"rgb32_to_gray", kHostBgrx, kCodeGray},
    {"yuv24_v308", kHostV308, kCodeYuv444},  {"yuv32_v408", kHostV408, kCodeYuva},
    {"yuv32_gray", kHostV408X, kCodeGray},   {"yuy2", kHostYuy2, kCodeYuv422},
    {"uyvy", kHostUyvy, kCodeYuv422},        {"yuy2_gray", kHostYuy2, kCodeGray},
};

struct ConverterRow {
    const char* name;
    FormatId from, to;
    bool downscales;
};
constexpr ConverterRow kConverterRows[] = {
    {"444_to_422", kCodeYuv444, kCodeYuv422, true},  {"444_to_420", kCodeYuv444, kCodeYuv420, true},
    {"422_to_420", kCodeYuv422, kCodeYuv420, true},  {"422_to_444", kCodeYuv422, kCodeYuv444, false},
    {"420_to_422", kCodeYuv420, kCodeYuv422, false}, {"420_to_444", kCodeYuv420, kCodeYuv444, false},
    {"400_to_444", kCodeGray, kCodeYuv444, false},   {"400_to_420", kCodeGray, kCodeYuv420, false},
};

const bool kRegistered = [] {
    for (const FrontendRow& row : kFrontendRows)
        for (const bool split : {true, false})
            benchmark::RegisterBenchmark((std::string(split ? "split/" : "join/") + row.name).c_str(),
                                         Frontend, row.host, row.planes, split)
                ->UseManualTime();
    for (const ConverterRow& row : kConverterRows)
        for (const bool interpolate : {true, false})
            if (interpolate || row.downscales)
                benchmark::RegisterBenchmark(
                    ("convert/" + std::string(row.name) + (interpolate ? "" : "/drop")).c_str(), Converter,
                    row.from, row.to, interpolate)
                    ->UseManualTime();
    return true;
}();

} // namespace
