#include "codec/frame_rows.h"

#include "codec/codec_runs.h"

#include <map>
#include <stdexcept>

namespace {

const char* NameOf(PredictMethod method)
{
    switch (method) {
    case PredictMethod::Left:
        return "Left";
    case PredictMethod::Gradient:
        return "Gradient";
    case PredictMethod::Median:
        return "Median";
    default:
        return "Dynamic";
    }
}

Result RowOf(const std::string& section, const ClipPlan& plan, const FrameTask& task,
             const LoadedDriver& driver)
{
    Result row;
    row.section = section;
    row.contestant = driver.name;
    row.content = plan.content;
    row.width = plan.width;
    row.height = plan.height;
    row.layout = plan.layout->name;
    row.task = std::string(task.encode ? "encode " : "decode ") + NameOf(task.method);
    row.threads = task.threads;
    row.sideBySide = task.sideBySide;
    return row;
}

/// All drivers work from and into the same memory, so that none has the better place.
struct ClipMemory {
    ClipMemory(BenchSetup& setup, BenchClip& clip_) : clip(clip_)
    {
        for (size_t i = 0; i < 2; ++i) {
            frames.emplace_back(FrameRoom(setup.drivers[0], clip));
            backs.emplace_back(*clip.layout, clip.width, clip.height);
        }
    }

    BenchClip& clip;
    std::vector<AlignedBuffer> frames; ///< two: for instances side by side
    std::vector<HostPicture> backs;
    std::map<PredictMethod, CodedClip> coded; ///< by the first driver
};

const CodedClip& CodedBy(BenchSetup& setup, ClipMemory& memory, PredictMethod method)
{
    const auto found = memory.coded.find(method);
    if (found != memory.coded.end())
        return found->second;
    EncodeRun run(setup.drivers[0], setup.settings, memory.clip, method, 1, memory.frames[0]);
    return memory.coded.emplace(method, run.EncodeAll()).first->second;
}

std::unique_ptr<ClipRun> OpenRun(BenchSetup& setup, const LoadedDriver& driver, ClipMemory& memory,
                                 const FrameTask& task, size_t place = 0)
{
    if (task.sideBySide) {
        const FrameTask single{task.encode, task.method};
        return std::make_unique<PairedRuns>(OpenRun(setup, driver, memory, single, 0),
                                            OpenRun(setup, driver, memory, single, 1));
    }
    if (task.encode)
        return std::make_unique<EncodeRun>(driver, setup.settings, memory.clip, task.method, task.threads,
                                           memory.frames[place]);
    return std::make_unique<DecodeRun>(driver, setup.settings, memory.clip,
                                       CodedBy(setup, memory, task.method), task.threads,
                                       memory.backs[place]);
}

/// Encodes and decodes every picture with the task's method and threads.
void CheckLossless(BenchSetup& setup, const LoadedDriver& driver, ClipMemory& memory, const FrameTask& task,
                   const std::string& name)
{
    EncodeRun encoder(driver, setup.settings, memory.clip, task.method, task.threads, memory.frames[0]);
    const CodedClip coded = encoder.EncodeAll();
    DecodeRun decoder(driver, setup.settings, memory.clip, coded, task.threads, memory.backs[0]);
    if (!decoder.IsLossless())
        throw std::runtime_error(name + " by " + driver.name + ": a picture does not come back bit for bit");
}

void Append(RoundTimes& times, const RoundTimes& more)
{
    const auto append = [](std::vector<double>& to, const std::vector<double>& from) {
        to.insert(to.end(), from.begin(), from.end());
    };
    append(times.secondsPerByte, more.secondsPerByte);
    append(times.ofCopy, more.ofCopy);
    append(times.cyclesPerByte, more.cyclesPerByte);
}

} // namespace

double MedianBitsPerSample(BenchSetup& setup, BenchClip& clip)
{
    AlignedBuffer frame(FrameRoom(setup.drivers[0], clip));
    EncodeRun run(setup.drivers[0], setup.settings, clip, PredictMethod::Median, 1, frame);
    return static_cast<double>(run.Encode(0)) * 8 / clip.PictureSamples();
}

/// The tasks of one clip with all that they need.
class FrameGroup
{
  public:
    FrameGroup(BenchSetup& setup_, std::vector<FrameTask> tasks_, std::vector<Result> rows_, BenchClip clip_,
               const GuestMaker& makeGuests)
        : setup(setup_), tasks(std::move(tasks_)), rows(std::move(rows_)), clip(std::move(clip_)),
          memory(setup_, clip)
    {
        const double medianBits = MedianBitsPerSample(setup, clip);
        auto row = rows.begin();
        for (const FrameTask& task : tasks)
            for (const LoadedDriver& driver : setup.drivers) {
                CheckLossless(setup, driver, memory, task, row->Name());
                row->bitsPerSample = medianBits;
                row->ratio = clip.PictureBytes() / CodedBy(setup, memory, task.method).FrameBytes();
                ++row;
            }
        if (makeGuests)
            guests = makeGuests(clip, rows[0]);
        rows.insert(rows.end(), guests.rows.begin(), guests.rows.end());
    }

    /// Opens the driver anew for all tasks and runs some rounds.
    void Run(const RoundOptions& options)
    {
        std::vector<std::unique_ptr<ClipRun>> runs;
        std::vector<Contestant> contestants;
        for (const FrameTask& task : tasks)
            for (const LoadedDriver& driver : setup.drivers) {
                ClipRun& run = *runs.emplace_back(OpenRun(setup, driver, memory, task));
                contestants.push_back({[&run](int frames) { run.Run(frames); }, run.BytesPerFrame()});
            }
        contestants.insert(contestants.end(), guests.contestants.begin(), guests.contestants.end());
        const std::vector<RoundTimes> times = RunRounds(contestants, options);
        for (size_t i = 0; i < rows.size(); ++i)
            Append(rows[i].times, times[i]);
    }

    bool HasGuests() const { return !guests.rows.empty(); }
    const std::vector<Result>& Rows() const { return rows; }

  private:
    BenchSetup& setup;
    std::vector<FrameTask> tasks;
    std::vector<Result> rows;
    BenchClip clip;
    ClipMemory memory;
    Guests guests;
};

BenchSetup::BenchSetup() = default;
BenchSetup::~BenchSetup() = default;

void PlanFrames(BenchSetup& setup, const std::string& section, const ClipPlan& plan,
                std::span<const FrameTask> tasks, const GuestMaker& makeGuests)
{
    std::vector<FrameTask> chosen;
    std::vector<Result> rows;
    for (const FrameTask& task : tasks)
        if (setup.isWanted(RowOf(section, plan, task, setup.drivers[0]).Name())) {
            chosen.push_back(task);
            for (const LoadedDriver& driver : setup.drivers)
                rows.push_back(RowOf(section, plan, task, driver));
        }
    if (!chosen.empty())
        setup.groups.push_back(
            std::make_unique<FrameGroup>(setup, std::move(chosen), std::move(rows), plan.make(), makeGuests));
}

void RunPlannedFrames(BenchSetup& setup)
{
    constexpr int kOpenings = 3;
    for (int opening = 0; opening < kOpenings; ++opening)
        for (const auto& group : setup.groups) {
            RoundOptions options = setup.rounds;
            options.rounds = (setup.rounds.rounds + kOpenings - 1) / kOpenings;
            if (group->HasGuests())
                options.batchSeconds /= 2; // guests are many and slow
            group->Run(options);
        }
    ResultPrinter printer;
    for (const auto& group : setup.groups)
        for (const Result& row : group->Rows()) {
            printer.Print(row);
            setup.results.push_back(row);
        }
    setup.groups.clear();
}
