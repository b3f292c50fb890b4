// The entropy stage over one plane of 1920 by 1080 residuals in blocks of 28 rows: soft and hard content as
// two-sided geometric distributions. MB/s are those of residuals.
#include "entropy/count_symbols.h"
#include "entropy/huff_coder_8.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

using namespace entropy;

namespace {

constexpr int kWidth = 1920;
constexpr int kRows = 28;
constexpr int kBlocks = 39;
constexpr uint32_t kBlockSymbols = kWidth * kRows;
constexpr size_t kBlockRoom = kBlockSymbols * 12 / 8 + 8;

using SingleSymbolCoder = HuffCoderT<unsigned char, unsigned short, 8, 12, 12>;

/// Bits a residual that the content is to have, in tenths.
enum Content : int64_t { kSoft = 24, kHard = 43 };

std::vector<double> TwoSidedGeometric(double ratio)
{
    std::vector<double> weights(256);
    for (int value = -128; value < 128; ++value)
        weights[static_cast<uint8_t>(value)] = std::pow(ratio, std::abs(value));
    return weights;
}

double Entropy(const std::vector<double>& weights)
{
    double sum = 0;
    for (const double weight : weights)
        sum += weight;
    double bits = 0;
    for (const double weight : weights)
        bits -= weight / sum * std::log2(weight / sum);
    return bits;
}

struct Plane {
    std::vector<uint8_t> residuals = std::vector<uint8_t>(size_t{kBlockSymbols} * kBlocks);
    std::array<uint64_t, 256> frequencies{};

    explicit Plane(int64_t content)
    {
        double low = 0.01;
        double high = 0.99;
        while (high - low > 1e-6) {
            const double middle = (low + high) / 2;
            (Entropy(TwoSidedGeometric(middle)) * 10 < static_cast<double>(content) ? low : high) = middle;
        }
        const std::vector<double> weights = TwoSidedGeometric(low);
        std::discrete_distribution<int> symbols(weights.begin(), weights.end());
        std::mt19937 random(1);
        for (uint8_t& residual : residuals)
            residual = static_cast<uint8_t>(symbols(random));
        CountSymbols(residuals.data(), kWidth, kRows * kBlocks, kWidth, frequencies.data());
    }

    const uint8_t* Block(int block) const
    {
        return residuals.data() + size_t{kBlockSymbols} * static_cast<size_t>(block);
    }
};

struct CodedPlane {
    std::vector<uint8_t> room = std::vector<uint8_t>(kBlockRoom * kBlocks);
    std::array<size_t, kBlocks> sizes{};

    uint8_t* Block(int block) { return room.data() + kBlockRoom * static_cast<size_t>(block); }
    void Encode(const HuffCoder& coder, const Plane& plane)
    {
        for (int block = 0; block < kBlocks; ++block) {
            OutBitStream stream;
            BitStreamInit(stream, Block(block), kBlockRoom);
            coder.Encode(stream, plane.Block(block), kBlockSymbols);
            sizes[static_cast<size_t>(block)] = BitStreamFinish(stream);
        }
    }
};

void CountBytes(benchmark::State& state)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kBlockSymbols * kBlocks);
}

template <class Coder>
void EncodePlane(benchmark::State& state)
{
    const Plane plane(state.range(0));
    Coder coder;
    coder.BuildFromFrequencies(256, plane.frequencies.data(), true);
    CodedPlane coded;
    for (auto _ : state)
        coded.Encode(coder, plane);
    CountBytes(state);
    uint64_t total = 0;
    for (const uint64_t size : coded.sizes)
        total += size;
    state.counters["bits_per_symbol"] = static_cast<double>(total) * 8 / (double{kBlockSymbols} * kBlocks);
}
BENCHMARK(EncodePlane<HuffCoder8>)->Name("Entropy/Encode/Pairs")->ArgName("bits_x10")->Arg(kSoft)->Arg(kHard);
BENCHMARK(EncodePlane<SingleSymbolCoder>)
    ->Name("Entropy/Encode/Single")
    ->ArgName("bits_x10")
    ->Arg(kSoft)
    ->Arg(kHard);

/// One block over and over, with the whole pair table.
void EncodeGroups(benchmark::State& state, const GroupEncoderForm& form, Content content)
{
    const Plane plane(content);
    HuffCoder8 coder;
    coder.BuildFromFrequencies(256, plane.frequencies.data(), true);
    std::vector<CodeRecord> records(kSymbols);
    BuildCanonicalCodes(kSymbols, coder.GetCodeLengths().data(), kMaxCodeLength, records.data());
    std::vector<CodeEntry> codes(kSymbols);
    for (const CodeRecord& record : records)
        codes[record.symbol] = {static_cast<uint16_t>(record.code), static_cast<uint16_t>(record.length)};
    std::vector<PairEntry> pairs(kPairRows);
    FillPairTable(codes.data(), pairs.data(), PairRange::All);
    std::vector<uint8_t> room(kBlockRoom);
    for (auto _ : state) {
        OutBitStream stream;
        BitStreamInit(stream, room.data(), room.size());
        BitWriter writer(stream);
        benchmark::DoNotOptimize(
            form.run(writer, plane.Block(0), kBlockSymbols, {codes.data(), pairs.data()}));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kBlockSymbols);
}
const bool groupEncodersRegistered = [] {
    for (const GroupEncoderForm& form : kGroupEncoderForms)
        for (const Content content : {kSoft, kHard})
            benchmark::RegisterBenchmark(
                (std::string("Entropy/EncodeGroups/") + form.name + "/bits_x10:" + std::to_string(content))
                    .c_str(),
                [&form, content](benchmark::State& state) { EncodeGroups(state, form, content); });
    return true;
}();

void DecodePlane(benchmark::State& state)
{
    const Plane plane(state.range(0));
    HuffCoder8 coder;
    coder.BuildFromFrequencies(256, plane.frequencies.data(), false);
    CodedPlane coded;
    coded.Encode(coder, plane);
    std::vector<uint8_t> decoded(plane.residuals.size());
    for (auto _ : state)
        for (int block = 0; block < kBlocks; ++block) {
            InBitStream stream;
            BitStreamInit(stream, coded.Block(block), coded.sizes[static_cast<size_t>(block)]);
            coder.Decode(stream, decoded.data() + size_t{kBlockSymbols} * static_cast<size_t>(block),
                         kBlockSymbols);
        }
    CountBytes(state);
    if (decoded != plane.residuals)
        state.SkipWithError("decoded residuals differ");
}
BENCHMARK(DecodePlane)->Name("Entropy/Decode")->ArgName("bits_x10")->Arg(kSoft)->Arg(kHard);

/// All blocks of the plane at once.
void DecodeBlocks(benchmark::State& state)
{
    const Plane plane(state.range(0));
    HuffCoder8 coder;
    coder.BuildFromFrequencies(256, plane.frequencies.data(), false);
    CodedPlane coded;
    coded.Encode(coder, plane);
    std::vector<uint8_t> decoded(plane.residuals.size());
    std::vector<DecodeJob> jobs;
    for (size_t block = 0; block < kBlocks; ++block) {
        const uint8_t* const begin = coded.Block(static_cast<int>(block));
        jobs.push_back(
            {{begin, coded.sizes[block]}, {decoded.data() + kBlockSymbols * block, kBlockSymbols}});
    }
    for (auto _ : state) {
        coder.DecodeBlocks(jobs);
        benchmark::ClobberMemory();
    }
    CountBytes(state);
    if (decoded != plane.residuals)
        state.SkipWithError("decoded residuals differ");
}
BENCHMARK(DecodeBlocks)->Name("Entropy/DecodeBlocks")->ArgName("bits_x10")->Arg(kSoft)->Arg(kHard);

void CountPlane(benchmark::State& state)
{
    const Plane plane(state.range(0));
    std::array<uint64_t, 256> frequencies{};
    for (auto _ : state)
        for (int block = 0; block < kBlocks; ++block) {
            CountSymbols(plane.Block(block), kWidth, kRows, kWidth, frequencies.data());
            benchmark::DoNotOptimize(frequencies);
        }
    CountBytes(state);
}
BENCHMARK(CountPlane)->Name("Entropy/CountSymbols")->ArgName("bits_x10")->Arg(kSoft)->Arg(kHard);

void Lengths(benchmark::State& state)
{
    const Plane plane(state.range(0));
    CodeLengthWork work;
    std::array<uint32_t, 256> lengths;
    for (auto _ : state) {
        ComputeCodeLengths(256, plane.frequencies.data(), 12, lengths.data(), work);
        benchmark::DoNotOptimize(lengths);
    }
}
BENCHMARK(Lengths)
    ->Name("Entropy/CodeLengths")
    ->ArgName("bits_x10")
    ->Arg(kSoft)
    ->Arg(kHard)
    ->Unit(benchmark::kMicrosecond);

/// Tables of one plane: with the pair table for a writer, with the decode table for a reader.
void Tables(benchmark::State& state, bool encoderOnly)
{
    const Plane plane(state.range(0));
    HuffCoder8 coder;
    coder.BuildFromFrequencies(256, plane.frequencies.data(), encoderOnly);
    const std::vector<uint32_t> lengths = coder.GetCodeLengths();
    for (auto _ : state)
        benchmark::DoNotOptimize(coder.BuildFromLengths(256, lengths.data(), encoderOnly));
}
BENCHMARK_CAPTURE(Tables, writer, true)
    ->Name("Entropy/Tables/Writer")
    ->ArgName("bits_x10")
    ->Arg(kSoft)
    ->Arg(kHard)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Tables, reader, false)
    ->Name("Entropy/Tables/Reader")
    ->ArgName("bits_x10")
    ->Arg(kSoft)
    ->Arg(kHard)
    ->Unit(benchmark::kMicrosecond);

void PairTable(benchmark::State& state, const PairTableImplementation& form, PairRange range)
{
    std::vector<CodeEntry> codes(256, CodeEntry{77, 8});
    std::vector<PairEntry> pairs(kPairRows);
    for (auto _ : state) {
        form.run(codes.data(), pairs.data(), range);
        benchmark::ClobberMemory();
    }
}
const bool pairTablesRegistered = [] {
    for (const PairTableImplementation& form : kPairTableImplementations)
        for (const PairRange range : {PairRange::All, PairRange::Core}) {
            const std::string name =
                std::string("Entropy/PairTable/") + (range == PairRange::All ? "all/" : "core/");
            benchmark::RegisterBenchmark((name + form.name).c_str(), [&form, range](benchmark::State& state) {
                PairTable(state, form, range);
            })->Unit(benchmark::kMicrosecond);
        }
    return true;
}();

} // namespace
