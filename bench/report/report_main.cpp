// The program orvane_bench_report: the page of figures and its plots from the results of the benchmarks.
#include "report/measurements.h"
#include "report/performance_plots.h"
#include "report/performance_tables.h"

#include <cstdio>

namespace {

void Write(const std::filesystem::path& results, const std::filesystem::path& page)
{
    const Measurements all = ReadMeasurements(results);
    WriteTables(page, MakeTables(all));
    const std::filesystem::path pictures = page.parent_path() / "pictures";
    if (const auto plot = PlotSizes(all))
        plot->Save(pictures / "performance-sizes.svg");
    if (const auto plot = PlotPeers(all))
        plot->Save(pictures / "performance-peers.svg");
    if (const auto plot = PlotStages(all))
        plot->Save(pictures / "performance-stages.svg");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr,
                     "Usage: orvane_bench_report RESULTS PAGE\n"
                     "Writes the tables of the page and the plots in the folder pictures beside it, as\n"
                     "far as the folder RESULTS has figures for them.\n");
        return 2;
    }
    try {
        Write(argv[1], argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "orvane_bench_report: error: %s\n", error.what());
        return 1;
    }
    return 0;
}
