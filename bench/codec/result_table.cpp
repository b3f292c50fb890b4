#include "codec/result_table.h"

#include <algorithm>
#include <cstdio>

std::string Result::Name() const
{
    std::string name = content + '/' + std::to_string(width) + 'x' + std::to_string(height) + '/' + layout +
                       '/' + task + '/' +
                       (sideBySide ? std::to_string(threads) + "x1t" : std::to_string(threads) + 't');
    std::ranges::replace(name, ' ', '-');
    return name;
}

nlohmann::json ToJson(const Result& result)
{
    return {{"section", result.section},
            {"contestant", result.contestant},
            {"content", result.content},
            {"width", result.width},
            {"height", result.height},
            {"layout", result.layout},
            {"task", result.task},
            {"threads", result.threads},
            {"side_by_side", result.sideBySide},
            {"ratio", result.ratio},
            {"bits_per_sample", result.bitsPerSample},
            {"mb_per_s", result.times.MegabytesPerSecond()},
            {"of_copy", Median(result.times.ofCopy)},
            {"cycles_per_byte", Median(result.times.cyclesPerByte)},
            {"seconds_per_byte", result.times.secondsPerByte}};
}

void ResultPrinter::Print(const Result& result)
{
    if (last.section != result.section)
        std::printf("%-46s %-12s %8s %8s %8s %6s %6s %7s\n", ("[" + result.section + "]").c_str(), "", "MB/s",
                    "of copy", "cyc/B", "ratio", "bits", "+-");
    std::printf("%-46s %-12s %8.0f %8.3f %8.2f %6.2f %6.2f %6.1f%%", result.Name().c_str(),
                result.contestant.c_str(), result.times.MegabytesPerSecond(), Median(result.times.ofCopy),
                Median(result.times.cyclesPerByte), result.ratio, result.bitsPerSample,
                50 * Spread(result.times.secondsPerByte));
    const bool pair = result.Name() == first.Name() && result.section == first.section;
    if (pair) {
        std::vector<double> faster = first.times.secondsPerByte;
        for (size_t round = 0; round < faster.size(); ++round)
            faster[round] /= result.times.secondsPerByte[round];
        std::ranges::sort(faster);
        const size_t quarter = faster.size() / 4;
        std::printf("  x%.3f (%.3f to %.3f)", Median(faster), faster[quarter],
                    faster[faster.size() - 1 - quarter]);
    } else {
        first = result;
    }
    std::printf("\n");
    std::fflush(stdout);
    last = result;
}
