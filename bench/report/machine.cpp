#include "report/machine.h"

#include "report/markdown_table.h"

#include <cstdio>
#include <ctime>
#include <fstream>
#include <thread>

namespace {

/// The value of the first line "KEY ...: VALUE" of a file.
std::string LineValue(const char* path, const std::string& key)
{
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line);)
        if (line.starts_with(key)) {
            const size_t sign = line.find_first_of(":=");
            const size_t value = line.find_first_not_of(" \t\"", sign + 1);
            if (value == std::string::npos)
                break;
            return line.substr(value, line.find_last_not_of(" \t\"") - value + 1);
        }
    return "unknown";
}

std::string FirstLine(const std::string& path)
{
    std::ifstream stream(path);
    std::string line;
    std::getline(stream, line);
    return line;
}

/// "48K data, 2048K, 107520K".
std::string Caches()
{
    std::string text;
    for (int index = 0; index < 8; ++index) {
        const std::string folder = "/sys/devices/system/cpu/cpu0/cache/index" + std::to_string(index) + '/';
        const std::string size = FirstLine(folder + "size");
        if (!size.empty() && FirstLine(folder + "type") != "Instruction")
            text += (text.empty() ? "" : ", ") + ("L" + FirstLine(folder + "level")) + ' ' + size;
    }
    return text.empty() ? "unknown" : text;
}

std::string Format(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

} // namespace

std::string MachineTable(double coreGhz, double copyMegabytesPerSecond)
{
    const std::time_t now = std::time(nullptr);
    char date[32];
    std::strftime(date, sizeof date, "%Y-%m-%d", std::localtime(&now));
    MarkdownTable table({"machine", ""});
    table.Add({"processor", LineValue("/proc/cpuinfo", "model name") + ", model " +
                                LineValue("/proc/cpuinfo", "model\t") + ", " +
                                std::to_string(std::thread::hardware_concurrency()) + " threads"});
    table.Add({"core clock while measuring", Format("%.2f GHz (median)", coreGhz)});
    table.Add({"caches", Caches()});
    table.Add({"warm copy of 3,110,400 bytes", Format("%.0f MB/s (median)", copyMegabytesPerSecond)});
    table.Add({"system", LineValue("/etc/os-release", "PRETTY_NAME")});
    table.Add({"compiler", ORVANE_BENCH_COMPILER});
    table.Add({"date", date});
    return table.Text();
}
