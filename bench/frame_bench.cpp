// Whole frames of generated content. Counters: MB/s of raw picture bytes, of_copy, the ratio to a memory copy
// of the same number of bytes that takes turns with the frames, and bits, the compressed bits of a sample.
// Lossless or no figure: a picture that does not come back is an error.

#include "bench_content.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

struct FormatRow {
    const char* name;
    FormatId host;
    FormatId code;
};
constexpr FormatRow kFormats[] = {
    {"420", kHostI420, kCodeYuv420}, {"422", kHostYuy2, kCodeYuv422}, {"RGB24", kHostBgr, kCodeRgb}};

struct ContentRow {
    const char* name;
    double bitsPerSample;
};
constexpr ContentRow kContents[] = {{"soft", 2.4}, {"hard", 4.3}};

struct SizeRow {
    uint32_t width;
    uint32_t height;
};
constexpr SizeRow kSizes[] = {{1920, 1080}, {720, 480}, {352, 288}};

const BenchPicture& PictureOf(const BenchStream& stream)
{
    static std::map<std::string, BenchPicture> made;
    const std::string key = std::to_string(stream.host) + ' ' + std::to_string(stream.width) + ' ' +
                            std::to_string(stream.bitsPerSample);
    const auto [entry, fresh] = made.try_emplace(key);
    if (fresh)
        entry->second = MakeBenchPicture(stream);
    return entry->second;
}

double SecondsOf(const std::function<void()>& work)
{
    const auto start = Clock::now();
    work();
    benchmark::ClobberMemory();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// The best time of each counts: whatever else the machine does only adds.
void RunFrames(benchmark::State& state, const BenchStream& stream, bool encode, int threads)
{
    const BenchPicture& picture = PictureOf(stream);
    BenchRun run(stream, picture, threads);
    if (!run.IsLossless()) {
        state.SkipWithError("the picture did not come back");
        return;
    }
    AlignedBytes from(run.PictureBytes());
    AlignedBytes to(run.PictureBytes());
    double frame = 1e9;
    double copy = 1e9;
    for (auto _ : state) {
        const double seconds = SecondsOf([&] { encode ? static_cast<void>(run.Encode()) : run.Decode(); });
        state.SetIterationTime(seconds);
        frame = std::min(frame, seconds);
        copy = std::min(copy, SecondsOf([&] { std::memcpy(to.data(), from.data(), run.PictureBytes()); }));
    }
    const auto bytes = static_cast<double>(run.PictureBytes());
    state.counters["MB/s"] = bytes / frame * 1e-6;
    state.counters["of_copy"] = copy / frame;
    state.counters["fps"] = 1 / frame;
    state.counters["bits"] = run.FrameBytes() * 8.0 / static_cast<double>(run.Samples());
}

void Register(const FormatRow& format, const ContentRow& content, const SizeRow& size, bool encode,
              PredictMethod method, const char* methodName, int threads)
{
    const std::string name = std::string(encode ? "Encode/" : "Decode/") + methodName + '/' + format.name +
                             '/' + content.name + '/' + std::to_string(size.width) + 'x' +
                             std::to_string(size.height) + "/threads:" + std::to_string(threads);
    const BenchStream stream{format.host, format.code, size.width,
                             size.height, method,      content.bitsPerSample};
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) { RunFrames(state, stream, encode, threads); })
        ->UseManualTime()
        ->Unit(benchmark::kMicrosecond)
        ->MinTime(0.3);
}

const bool registered = [] {
    for (const SizeRow& size : kSizes)
        for (const FormatRow& format : kFormats)
            for (const ContentRow& content : kContents)
                for (const int threads : {1, threading::GetProcessorCount()}) {
                    Register(format, content, size, true, PredictMethod::Dynamic, "Dynamic", threads);
                    Register(format, content, size, false, PredictMethod::Median, "Median", threads);
                    Register(format, content, size, false, PredictMethod::Gradient, "Gradient", threads);
                }
    return true;
}();

} // namespace
