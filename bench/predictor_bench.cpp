// The predictor kernels on blocks of 28 rows, in MB/s of samples (10^6 bytes).
#include "imgproc/backend/predictors.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

using namespace imgproc;

namespace {

constexpr int kRows = 28;
constexpr int kPitch = 1920;

/// A block of smooth content with noise, whose rows start on 64-byte boundaries.
class Block
{
  public:
    Block() : bytes_(static_cast<size_t>(kPitch) * kRows + 64)
    {
        std::mt19937 random(1);
        for (size_t i = 0; i < bytes_.size(); ++i)
            bytes_[i] = static_cast<uint8_t>(i / 7 + random() % 8);
        view_ = {bytes_.data() + (64 - reinterpret_cast<uintptr_t>(bytes_.data()) % 64) % 64, kPitch};
    }
    const PlaneInfo& View() const { return view_; }

  private:
    std::vector<uint8_t> bytes_;
    PlaneInfo view_;
};

void Measure(benchmark::State& state, int width, int rows, const std::function<void()>& work)
{
    for (auto _ : state) {
        work();
        benchmark::ClobberMemory();
    }
    state.counters["MB/s"] = benchmark::Counter(static_cast<double>(width) * rows * 1e-6,
                                                benchmark::Counter::kIsIterationInvariantRate);
}

void Register(const std::string& name, int width, int rows,
              std::function<void(const Block&, const Block&)> work)
{
    benchmark::RegisterBenchmark(
        ("Predictor/" + name + "/" + std::to_string(width) + "x" + std::to_string(rows)).c_str(),
        [=](benchmark::State& state) {
            const Block source;
            const Block target;
            Measure(state, width, rows, [&] { work(source, target); });
        });
}

void RegisterForm(const PredictorKernels& form, int width, int rows)
{
    constexpr struct {
        const char* name;
        PredictMethod method;
    } methods[] = {{"Left", PredictMethod::Left},
                   {"Gradient", PredictMethod::Gradient},
                   {"Median", PredictMethod::Median}};
    for (const auto& row : methods) {
        const PredictMethod method = row.method;
        const std::string suffix = std::string("/") + row.name + "/" + form.name;
        Register("Predict" + suffix, width, rows, [=, &form](const Block& source, const Block& target) {
            std::array<uint64_t, 256> counts{};
            form.predict(source.View(), target.View(), width, rows, method, counts.data(), {});
            benchmark::DoNotOptimize(counts);
        });
        Register("PredictInPlace" + suffix, width, rows, [=, &form](const Block& source, const Block&) {
            form.predictInPlace(source.View(), width, rows, method);
        });
        Register("Unpredict" + suffix, width, rows, [=, &form](const Block& source, const Block&) {
            form.UnpredictOne(source.View(), width, rows, method);
        });
    }
    const std::string suffix = std::string("/") + form.name;
    Register("ScorePredictors" + suffix, width, rows, [=, &form](const Block& source, const Block&) {
        benchmark::DoNotOptimize(form.scorePredictors(source.View(), width, rows));
    });
    Register("ScoreAndPredict" + suffix, width, rows, [=, &form](const Block& source, const Block& target) {
        std::array<uint64_t, 256> counts{};
        benchmark::DoNotOptimize(form.scoreAndPredict(source.View(), target.View(), width, rows,
                                                      PredictMethod::Median, counts.data(), {}));
        benchmark::DoNotOptimize(counts);
    });
}

const bool kRegistered = [] {
    for (const PredictorKernels& form : kPredictorImplementations)
        for (const auto& [width, rows] :
             {std::pair(1920, kRows), std::pair(960, kRows), std::pair(960, kRows / 2)})
            RegisterForm(form, width, rows);
    Register("memcpy", kPitch, kRows, [](const Block& source, const Block& target) {
        std::memcpy(target.View().data, source.View().data, kPitch * kRows);
    });
    return true;
}();

} // namespace
