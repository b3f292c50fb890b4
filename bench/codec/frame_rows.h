// Whole frames through the driver: which tasks are measured on a clip, and how.
#pragma once

#include "codec/bench_clip.h"
#include "codec/load_driver.h"
#include "codec/result_table.h"
#include "codec/rounds.h"
#include "common/settings_records.h"
#include "host/private_settings.h"

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

/// One thing that a driver does with a clip.
struct FrameTask {
    bool encode;
    PredictMethod method;
    int threads = 1;
    bool sideBySide = false; ///< `threads` instances of one thread each; two of them
};

inline constexpr FrameTask kEncodeDynamic{true, PredictMethod::Dynamic};
inline constexpr FrameTask kDecodeMedian{false, PredictMethod::Median};
inline constexpr FrameTask kSingleThreadTasks[] = {kEncodeDynamic,
                                                   {true, PredictMethod::Median},
                                                   {true, PredictMethod::Gradient},
                                                   {false, PredictMethod::Dynamic},
                                                   kDecodeMedian,
                                                   {false, PredictMethod::Gradient}};
inline constexpr FrameTask kTwoThreadTasks[] = {{true, PredictMethod::Dynamic, 2},
                                                {true, PredictMethod::Dynamic, 2, true},
                                                {false, PredictMethod::Median, 2},
                                                {false, PredictMethod::Median, 2, true}};

/// A clip that need not be there before one of its rows is wanted.
struct ClipPlan {
    std::string content;
    const PixelLayout* layout;
    int width;
    int height;
    std::function<BenchClip()> make;
};

class FrameGroup;

/// What all measurements of a program share.
struct BenchSetup {
    BenchSetup();
    ~BenchSetup();

    std::vector<LoadedDriver> drivers; ///< one or more
    PrivateSettings settings;
    RoundOptions rounds;
    std::function<bool(const std::string& name)> isWanted;
    std::vector<std::unique_ptr<FrameGroup>> groups; ///< planned, not measured yet
    std::vector<Result> results;
};

/// Bits a sample of the first picture's Median frame.
double MedianBitsPerSample(BenchSetup& setup, BenchClip& clip);

/// Contestants that are no drivers, with the rows that they fill, one each.
struct Guests {
    std::vector<Contestant> contestants;
    std::vector<Result> rows;
};
/// model  a row with section, content, size and layout
using GuestMaker = std::function<Guests(BenchClip& clip, const Result& model)>;

/// Plans the wanted tasks of a clip: all drivers, and guests if there are any, will share their rounds. Each
/// picture of each task is decoded and compared at once. Throws std::runtime_error when one does not come
/// back bit for bit.
void PlanFrames(BenchSetup& setup, const std::string& section, const ClipPlan& plan,
                std::span<const FrameTask> tasks, const GuestMaker& makeGuests = nullptr);

/// Measures what was planned and prints it. The rounds are shared out to three openings of the driver; all
/// clips have their first part before one has its second, so that a while in which the machine is busy spoils
/// a part of many rows and no row as a whole.
void RunPlannedFrames(BenchSetup& setup);
