// The program orvane_codec_bench: the driver as a whole, beside other revisions of itself and other codecs.
#include "codec/frame_rows.h"
#include "codec/instance_costs.h"
#include "codec/load_driver.h"
#include "codec/peer_rows.h"
#include "codec/stage_costs.h"
#include "platform/environment.h"
#include "tool_error.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <fstream>
#include <map>
#include <regex>

namespace {

struct Options {
    std::vector<std::string> drivers;
    std::string only;
    std::string json;
    std::vector<std::string> sections{"frames"};
    int rounds = 9;
    bool quick = false;
};

struct Content {
    const char* name;
    double bitsPerSample;
};
constexpr Content kContents[] = {{"soft", 2.4}, {"hard", 4.3}};
constexpr const char* kLayouts[] = {"I420", "YUY2", "I444", "RGB24", "RGB32"};
constexpr int kPicturesPerClip = 4;
constexpr const char* kSections[] = {"frames", "threads", "small",  "clips", "peers",
                                     "sizes",  "start",   "memory", "stages"};

struct PictureSize {
    int width;
    int height;
};
constexpr PictureSize kFullSize{1920, 1080};
constexpr PictureSize kSweepSizes[] = {{64, 64},     {128, 96},    {176, 144},   {352, 288},
                                       {640, 360},   {720, 480},   {1280, 720},  {1920, 1080},
                                       {2560, 1440}, {3840, 2160}, {5120, 2880}, {7680, 4320}};

/// Noise by content and layout, as it makes a 1920x1080 picture of the wanted bits a sample; the same at all
/// sizes.
double NoiseFor(BenchSetup& setup, const Content& content, const PixelLayout& layout)
{
    static std::map<std::pair<std::string, std::string>, double> found;
    const auto [entry, fresh] = found.try_emplace({content.name, layout.name});
    if (fresh)
        entry->second = FindNoise(content.bitsPerSample, [&](double noise) {
            BenchClip clip = DrawClip("", layout, 1920, 540, noise, 1); // half of it tells enough
            return MedianBitsPerSample(setup, clip);
        });
    return entry->second;
}

ClipPlan DrawnPlan(BenchSetup& setup, const Content& content, const PixelLayout& layout,
                   const PictureSize& size)
{
    return {content.name, &layout, size.width, size.height, [&setup, content, &layout, size] {
                return DrawClip(content.name, layout, size.width, size.height,
                                NoiseFor(setup, content, layout), kPicturesPerClip);
            }};
}

/// One thread, all tasks.
void PlanDrawnFrames(BenchSetup& setup, bool quick)
{
    constexpr FrameTask kChiefTasks[] = {kEncodeDynamic, kDecodeMedian};
    for (const char* layoutName : kLayouts)
        for (const Content& content : kContents) {
            const PixelLayout& layout = LayoutNamed(layoutName);
            const ClipPlan plan = DrawnPlan(setup, content, layout, kFullSize);
            if (!quick)
                PlanFrames(setup, "frames", plan, kSingleThreadTasks);
            else if (layout.horizontal == 2 || layout.bitCount == 24)
                PlanFrames(setup, "frames", plan, kChiefTasks);
        }
}

/// Two threads, and two instances of one thread.
void PlanTwoThreads(BenchSetup& setup)
{
    for (const char* layoutName : {"I420", "YUY2", "RGB24"})
        for (const Content& content : kContents)
            PlanFrames(setup, "threads", DrawnPlan(setup, content, LayoutNamed(layoutName), kFullSize),
                       kTwoThreadTasks);
}

void PlanSmallFrames(BenchSetup& setup)
{
    constexpr FrameTask kTasks[] = {kEncodeDynamic, kDecodeMedian, {false, PredictMethod::Gradient}};
    for (const PictureSize& size : {PictureSize{720, 480}, PictureSize{352, 288}})
        for (const char* layoutName : {"I420", "YUY2", "RGB24"})
            for (const Content& content : kContents)
                PlanFrames(setup, "small", DrawnPlan(setup, content, LayoutNamed(layoutName), size), kTasks);
}

/// Hands on every readable clip of the folder ORVANE_CLIPS, the first pictures of it.
void ForEachClip(size_t maxPictures, const std::function<void(const ClipPlan& plan)>& handle)
{
    const auto folder = platform::PathFromEnvironment("ORVANE_CLIPS");
    if (!folder) {
        std::printf("no clips: ORVANE_CLIPS is not set\n");
        return;
    }
    for (const std::filesystem::path& path : ListClips(*folder))
        try {
            const BenchClip first = ReadClip(path, 1);
            handle({first.name, first.layout, first.width, first.height,
                    [&path, maxPictures] { return ReadClip(path, maxPictures); }});
        } catch (const ToolError& error) {
            std::printf("%s: left out: %s\n", path.filename().string().c_str(), error.what.c_str());
        }
}

void PlanClips(BenchSetup& setup)
{
    constexpr FrameTask kTasks[] = {kEncodeDynamic, kDecodeMedian, {false, PredictMethod::Gradient}};
    ForEachClip(10, [&](const ClipPlan& plan) { PlanFrames(setup, "clips", plan, kTasks); });
}

/// Drawn pictures, and the large clips of the layouts that peers take.
void PlanAllPeers(BenchSetup& setup)
{
    constexpr int kManyPixels = 900000;
    for (const Content& content : kContents)
        PlanPeers(setup, DrawnPlan(setup, content, LayoutNamed("I420"), kFullSize));
    ForEachClip(2, [&](const ClipPlan& plan) {
        const bool isTaken = plan.layout == &LayoutNamed("I420") ||
                             (plan.layout == &LayoutNamed("RGB24") && plan.width % 4 == 0);
        if (isTaken && plan.width * plan.height >= kManyPixels)
            PlanPeers(setup, plan);
    });
}

void PlanSizes(BenchSetup& setup)
{
    constexpr FrameTask kTasks[] = {
        kEncodeDynamic, {true, PredictMethod::Dynamic, 2}, kDecodeMedian, {false, PredictMethod::Median, 2}};
    for (const PictureSize& size : kSweepSizes)
        PlanFrames(setup, "sizes", DrawnPlan(setup, kContents[0], LayoutNamed("I420"), size), kTasks);
}

std::vector<LoadedDriver> LoadDrivers(const std::vector<std::string>& arguments)
{
    std::vector<LoadedDriver> drivers;
    for (const std::string& argument : arguments) {
        const size_t sign = argument.find('=');
        if (sign == std::string::npos)
            drivers.push_back(LoadDriver("driver " + std::to_string(drivers.size() + 1), argument));
        else
            drivers.push_back(LoadDriver(argument.substr(0, sign), argument.substr(sign + 1)));
    }
    if (drivers.empty())
        drivers.push_back(LoadDriver("orvane", BuiltDriverPath()));
    return drivers;
}

void WriteJson(const BenchSetup& setup, nlohmann::json file, const std::string& path)
{
    for (const Result& result : setup.results)
        file["results"].push_back(ToJson(result));
    std::ofstream stream(path);
    stream << file.dump(1) << '\n';
    if (!stream.flush())
        throw std::runtime_error("cannot write " + path);
}

void Measure(const Options& options)
{
    BenchSetup setup;
    setup.drivers = LoadDrivers(options.drivers);
    setup.rounds.rounds = options.rounds;
    if (options.quick)
        setup.rounds.batchSeconds = 0.008;
    const std::regex only(options.only);
    setup.isWanted = [&](const std::string& name) { return std::regex_search(name, only); };
    std::printf("core %.2f GHz, copy of %zu bytes %.0f MB/s\n", CoreHertz() * 1e-9, kCopyBytes,
                CopySpeed() * 1e-6);

    nlohmann::json start, memory, stages;
    const std::map<std::string, std::function<void()>> sections = {
        {"frames", [&] { PlanDrawnFrames(setup, options.quick); }},
        {"threads", [&] { PlanTwoThreads(setup); }},
        {"small", [&] { PlanSmallFrames(setup); }},
        {"clips", [&] { PlanClips(setup); }},
        {"peers", [&] { PlanAllPeers(setup); }},
        {"sizes", [&] { PlanSizes(setup); }},
        {"start", [&] { start = MeasureFirstFrames(setup); }},
        {"memory", [&] { memory = MeasureMemory(setup); }},
        {"stages", [&] {
             stages = MeasureStages(setup.rounds, [&](const std::string& name, const PixelLayout& layout) {
                 const Content& content = kContents[name == "soft" ? 0 : 1];
                 return DrawnPlan(setup, content, layout, kFullSize).make();
             });
         }}};
    for (const std::string& section : options.sections) {
        sections.at(section)();
        RunPlannedFrames(setup);
    }
    if (!options.json.empty())
        WriteJson(setup,
                  {{"core_ghz", CoreHertz() * 1e-9},
                   {"copy_mb_per_s", CopySpeed() * 1e-6},
                   {"start", start},
                   {"memory", memory},
                   {"stages", stages}},
                  options.json);
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    CLI::App app("Measures the driver through DriverProc, as a host drives it. Rows are named\n"
                 "CONTENT/WIDTHxHEIGHT/LAYOUT/TASK/THREADS, as in soft/1920x1080/I420/encode-Dynamic/1t;\n"
                 "2x1t is two instances of one thread side by side.");
    app.add_option(
        "--driver", options.drivers,
        "[NAME=]PATH of a driver instead of the built one; several take turns, and the later ones\n"
        "show their speed over the first: median and middle half over the rounds");
    app.add_option("--only", options.only, "rows whose name has a match of this regular expression");
    app.add_option("--rounds", options.rounds, "rounds of each row")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    app.add_option("--sections", options.sections,
                   "what is measured: frames, threads, small, clips, peers, sizes, start, memory, stages")
        ->delimiter(',')
        ->check(CLI::IsMember(std::vector<std::string>(std::begin(kSections), std::end(kSections))))
        ->capture_default_str();
    app.add_option("--json", options.json, "file for the results");
    app.add_flag("--quick", options.quick, "1920x1080, the chief tasks and short batches only");
    CLI11_PARSE(app, argc, argv);
    try {
        Measure(options);
    } catch (const ToolError& error) {
        std::fputs(ErrorLine(error).c_str(), stderr);
        return 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvane_codec_bench: error: %s\n", error.what());
        return 1;
    }
    return 0;
}
