// The results of a run of the benchmarks, read back from their JSON files.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>
#include <vector>

/// A row of orvane_codec_bench.
struct Measurement {
    std::string section, contestant, content, layout, task;
    int width = 0;
    int height = 0;
    int threads = 1;
    bool sideBySide = false;
    double ratio = 0;
    double bitsPerSample = 0;
    double megabytesPerSecond = 0;
    double ofCopy = 0;
    double cyclesPerByte = 0;
    std::vector<double> secondsPerByte; ///< by round

    std::string Size() const { return std::to_string(width) + "x" + std::to_string(height); }
};

/// A row of the stage benchmarks.
struct KernelTime {
    std::string name;
    double seconds = 0; ///< of one iteration
};

struct Measurements {
    std::vector<Measurement> rows;
    nlohmann::json start, memory, stages; ///< arrays as orvane_codec_bench writes them
    double coreGhz = 0;                   ///< medians over the files
    double copyMegabytesPerSecond = 0;
    std::vector<KernelTime> kernels;
    std::vector<Measurement> nativeRows, windowsRows; ///< medians over alternating runs

    /// Rows of a section in the order in which they were measured.
    std::vector<Measurement> Section(const std::string& section) const;
};

/// Reads FOLDER/*.json (orvane_codec_bench), FOLDER/kernels.json (Google Benchmark), and the alternating runs
/// FOLDER/systems/{native,windows}-*.json. What is not there stays empty.
Measurements ReadMeasurements(const std::filesystem::path& folder);

double MedianOf(std::vector<double> values);
/// How much faster `row` is than `base`: the median over the rounds that both shared.
double SpeedOver(const Measurement& row, const Measurement& base);
