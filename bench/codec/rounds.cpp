#include "codec/rounds.h"

#include "host/codec_host.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

namespace {

/// A result that the compiler must take for used.
volatile uint64_t usedResult;

struct Batch {
    int warmFrames; ///< before the ones that count: none when one frame is longer than a batch is to be
    int frames;
};

/// Frames that take about the wanted time, found with ever longer runs.
Batch FindBatch(const Contestant& contestant, double wanted)
{
    for (int frames = 1;; frames *= 4) {
        const double start = SecondsNow();
        contestant.run(frames);
        const double seconds = SecondsNow() - start;
        if (seconds > (frames == 1 ? wanted : wanted / 8)) // the first frame warms up
            return {seconds / frames < wanted ? 1 : 0,
                    std::max(1, static_cast<int>(std::lround(frames * wanted / seconds)))};
    }
}

/// Who is at place `i` of a round: another one begins in each round, and every other round goes backwards.
size_t TurnOf(size_t i, size_t round, size_t count)
{
    const size_t turn = (i + round / 2) % count;
    return round % 2 ? count - 1 - turn : turn;
}

} // namespace

double SecondsNow()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

double CoreHertz()
{
    constexpr int kSteps = 200000;
    uint64_t value = usedResult | 1;
    const uint64_t factor = value | 3;
    const double start = SecondsNow();
    for (int i = 0; i < kSteps; ++i)
        value = value * factor ^ 1; // three cycles and one; each step needs the one before
    const double seconds = SecondsNow() - start;
    usedResult = value;
    return kSteps * 4 / seconds;
}

double CopySpeed()
{
    static const AlignedBuffer from(kCopyBytes), to(kCopyBytes);
    constexpr int kCopies = 10;
    std::memcpy(to.Data(), from.Data(), kCopyBytes);
    const double start = SecondsNow();
    for (int i = 0; i < kCopies; ++i) {
        std::memcpy(to.Data(), from.Data(), kCopyBytes);
        usedResult = to.Data()[static_cast<size_t>(i)];
    }
    return kCopies * static_cast<double>(kCopyBytes) / (SecondsNow() - start);
}

double Median(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::ranges::sort(values);
    const size_t half = values.size() / 2;
    return values.size() % 2 ? values[half] : (values[half - 1] + values[half]) / 2;
}

double Spread(const std::vector<double>& values)
{
    std::vector<double> sorted = values;
    std::ranges::sort(sorted);
    const size_t quarter = sorted.size() / 4;
    return (sorted[sorted.size() - 1 - quarter] - sorted[quarter]) / Median(values);
}

double RoundTimes::MegabytesPerSecond() const
{
    return 1e-6 / Median(secondsPerByte);
}

std::vector<RoundTimes> RunRounds(std::span<const Contestant> contestants, const RoundOptions& options)
{
    std::vector<Batch> batches;
    for (const Contestant& contestant : contestants)
        batches.push_back(FindBatch(contestant, options.batchSeconds));

    std::vector<RoundTimes> times(contestants.size());
    for (int round = 0; round < options.rounds; ++round) {
        std::vector<double> secondsPerByte(contestants.size());
        double copySpeed = CopySpeed();
        double hertz = CoreHertz();
        for (size_t i = 0; i < contestants.size(); ++i) {
            const size_t turn = TurnOf(i, static_cast<size_t>(round), contestants.size());
            const auto [warmFrames, frames] = batches[turn];
            contestants[turn].run(warmFrames);
            const double start = SecondsNow();
            contestants[turn].run(frames);
            secondsPerByte[turn] = (SecondsNow() - start) / frames / contestants[turn].bytesPerFrame;
        }
        copySpeed = (copySpeed + CopySpeed()) / 2;
        hertz = (hertz + CoreHertz()) / 2;
        for (size_t i = 0; i < contestants.size(); ++i) {
            times[i].secondsPerByte.push_back(secondsPerByte[i]);
            times[i].ofCopy.push_back(1 / secondsPerByte[i] / copySpeed);
            times[i].cyclesPerByte.push_back(secondsPerByte[i] * hertz);
        }
    }
    return times;
}
