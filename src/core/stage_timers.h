// Timing of the pipeline's stages. Timers are disabled when they are made and nothing in the product enables
// them; a timing point then costs one test. Developers enable them to see where a frame's time goes.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

enum class Stage : size_t {
    TablesCompress,
    TablesDecompress,
    Finalize,
    Split,
    Convert,
    Scores,
    Predict,
    CountFrequencies,
    Encode,
    Decode,
    Unpredict,
    Join,
};

inline constexpr const char* kStageNames[] = {
    "hufftables init comp",
    "hufftables init decomp",
    "compress finalize",
    "decorrsplit",
    "convert",
    "calc predict scores",
    "predict",
    "calc freq",
    "huffencode",
    "huffdecode",
    "unpredict",
    "undecorrjoin",
};
inline constexpr size_t kStageCount = std::size(kStageNames);

/// Where the timers of a stage are in a table of all stages.
constexpr size_t IndexOf(Stage stage)
{
    return static_cast<size_t>(stage);
}
static_assert(kStageCount == 12 && IndexOf(Stage::Join) == kStageCount - 1);

/// Times of one stage on one thread; records of different threads stand on different cache lines.
struct alignas(512) StageTimer {
    int64_t frequency = std::chrono::steady_clock::period::den / std::chrono::steady_clock::period::num;
    int64_t start = 0; ///< ticks
    int64_t stop = 0;
    int64_t minimum = 0; ///< microseconds
    int64_t maximum = 0;
    int64_t total = 0;
    uint64_t count = 0;
    bool disabled = true;

    static int64_t Now() { return std::chrono::steady_clock::now().time_since_epoch().count(); }

    void Begin()
    {
        if (!disabled)
            start = Now();
    }
    void End()
    {
        if (disabled)
            return;
        stop = Now();
        const int64_t elapsed = (stop - start) * 1'000'000 / frequency;
        minimum = minimum == 0 ? elapsed : std::min(minimum, elapsed);
        maximum = std::max(maximum, elapsed);
        total += elapsed;
        ++count;
    }
};

struct StageTimers {
    const char* name = nullptr;
    std::vector<StageTimer> perThread;
};

/// Times a scope on behalf of one thread.
class StageScope
{
  public:
    explicit StageScope(StageTimer& stageTimer) : timer(stageTimer) { timer.Begin(); }
    StageScope(const StageScope&) = delete;
    StageScope& operator=(const StageScope&) = delete;
    ~StageScope() { timer.End(); }

  private:
    StageTimer& timer;
};
