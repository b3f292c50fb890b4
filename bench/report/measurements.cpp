#include "report/measurements.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace {

nlohmann::json ReadJson(const std::filesystem::path& path)
{
    std::ifstream stream(path);
    if (!stream)
        throw std::runtime_error("cannot read " + path.string());
    return nlohmann::json::parse(stream);
}

std::vector<std::filesystem::path> JsonFiles(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> files;
    if (std::filesystem::is_directory(folder))
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".json")
                files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

Measurement RowFrom(const nlohmann::json& json)
{
    Measurement row;
    json.at("section").get_to(row.section);
    json.at("contestant").get_to(row.contestant);
    json.at("content").get_to(row.content);
    json.at("layout").get_to(row.layout);
    json.at("task").get_to(row.task);
    json.at("width").get_to(row.width);
    json.at("height").get_to(row.height);
    json.at("threads").get_to(row.threads);
    json.at("side_by_side").get_to(row.sideBySide);
    json.at("ratio").get_to(row.ratio);
    json.at("bits_per_sample").get_to(row.bitsPerSample);
    json.at("mb_per_s").get_to(row.megabytesPerSecond);
    json.at("of_copy").get_to(row.ofCopy);
    json.at("cycles_per_byte").get_to(row.cyclesPerByte);
    json.at("seconds_per_byte").get_to(row.secondsPerByte);
    return row;
}

void TakeIfThere(nlohmann::json& to, const nlohmann::json& file, const char* key)
{
    if (file.contains(key) && !file[key].is_null())
        to = file[key];
}

std::vector<KernelTime> KernelsFrom(const nlohmann::json& file)
{
    std::vector<KernelTime> kernels;
    for (const nlohmann::json& run : file.at("benchmarks")) {
        if (run.value("aggregate_name", "median") != "median" || run.value("error_occurred", false))
            continue;
        const std::string unit = run.at("time_unit");
        const double scale = unit == "ns" ? 1e-9 : unit == "us" ? 1e-6 : unit == "ms" ? 1e-3 : 1;
        kernels.push_back({run.at("run_name"), run.at("real_time").get<double>() * scale});
    }
    return kernels;
}

/// One row for each name, with the medians over the files that begin with the prefix.
std::vector<Measurement> MedianRows(const std::filesystem::path& folder, const std::string& prefix)
{
    std::vector<std::vector<Measurement>> runs;
    for (const std::filesystem::path& path : JsonFiles(folder))
        if (path.filename().string().starts_with(prefix)) {
            const nlohmann::json file = ReadJson(path);
            runs.emplace_back();
            for (const nlohmann::json& row : file.at("results"))
                runs.back().push_back(RowFrom(row));
        }
    if (runs.empty())
        return {};
    std::vector<Measurement> rows = runs[0];
    for (size_t i = 0; i < rows.size(); ++i) {
        std::vector<double> speeds, cycles;
        for (const std::vector<Measurement>& run : runs)
            if (i < run.size()) {
                speeds.push_back(run[i].megabytesPerSecond);
                cycles.push_back(run[i].cyclesPerByte);
            }
        rows[i].megabytesPerSecond = MedianOf(speeds);
        rows[i].cyclesPerByte = MedianOf(cycles);
    }
    return rows;
}

} // namespace

double MedianOf(std::vector<double> values)
{
    if (values.empty())
        return 0;
    std::ranges::sort(values);
    return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
}

double SpeedOver(const Measurement& row, const Measurement& base)
{
    std::vector<double> ratios;
    for (size_t i = 0; i < std::min(row.secondsPerByte.size(), base.secondsPerByte.size()); ++i)
        ratios.push_back(base.secondsPerByte[i] / row.secondsPerByte[i]);
    return MedianOf(ratios);
}

std::vector<Measurement> Measurements::Section(const std::string& section) const
{
    std::vector<Measurement> found;
    std::ranges::copy_if(rows, std::back_inserter(found),
                         [&](const Measurement& row) { return row.section == section; });
    return found;
}

Measurements ReadMeasurements(const std::filesystem::path& folder)
{
    Measurements all;
    std::vector<double> ghz, copies;
    for (const std::filesystem::path& path : JsonFiles(folder)) {
        const nlohmann::json file = ReadJson(path);
        if (path.filename() == "kernels.json") {
            all.kernels = KernelsFrom(file);
            continue;
        }
        if (file.contains("results"))
            for (const nlohmann::json& row : file["results"])
                all.rows.push_back(RowFrom(row));
        TakeIfThere(all.start, file, "start");
        TakeIfThere(all.memory, file, "memory");
        TakeIfThere(all.stages, file, "stages");
        ghz.push_back(file.at("core_ghz"));
        copies.push_back(file.at("copy_mb_per_s"));
    }
    all.coreGhz = MedianOf(ghz);
    all.copyMegabytesPerSecond = MedianOf(copies);
    all.nativeRows = MedianRows(folder / "systems", "native");
    all.windowsRows = MedianRows(folder / "systems", "windows");
    return all;
}
