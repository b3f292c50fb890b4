#include "report/performance_tables.h"

#include "report/kernel_table.h"
#include "report/machine.h"
#include "report/markdown_table.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>
#include <stdexcept>

namespace {

constexpr char kNothing[] = "-";

std::string Format(const char* format, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

/// "1140 (0.087, 2.57)": MB/s, of the copy, cycles per byte.
std::string SpeedCell(const Measurement& row)
{
    return Format("%.0f (", row.megabytesPerSecond) + Format("%.3f, ", row.ofCopy) +
           Format("%.2f)", row.cyclesPerByte);
}

std::string ContentName(const Measurement& row)
{
    return row.content + Format(" (%.2f)", row.bitsPerSample);
}

using RowTest = std::function<bool(const Measurement&)>;

const Measurement* Find(const std::vector<Measurement>& rows, const RowTest& test)
{
    const auto found = std::ranges::find_if(rows, test);
    return found == rows.end() ? nullptr : &*found;
}

/// The rows of a section grouped by content, size and layout, in the order in which they were measured.
std::vector<std::vector<Measurement>> Groups(const std::vector<Measurement>& rows)
{
    std::vector<std::vector<Measurement>> groups;
    for (const Measurement& row : rows) {
        const auto same = std::ranges::find_if(groups, [&](const std::vector<Measurement>& group) {
            return group[0].content == row.content && group[0].Size() == row.Size() &&
                   group[0].layout == row.layout;
        });
        if (same == groups.end())
            groups.push_back({row});
        else
            same->push_back(row);
    }
    return groups;
}

/// A row for each group, a column of speeds for each task.
std::string TaskTable(const std::vector<Measurement>& rows, const std::vector<std::string>& tasks,
                      bool withSize, bool withRatio)
{
    std::vector<std::string> head;
    if (withSize)
        head.push_back("size");
    head.insert(head.end(), {"layout", "content (bits/sample)"});
    if (withRatio)
        head.push_back("ratio");
    head.insert(head.end(), tasks.begin(), tasks.end());
    MarkdownTable table(head);
    for (const std::vector<Measurement>& group : Groups(rows)) {
        std::vector<std::string> cells;
        if (withSize)
            cells.push_back(group[0].Size());
        cells.insert(cells.end(), {group[0].layout, ContentName(group[0])});
        if (withRatio)
            cells.push_back(Format("%.2f", group[0].ratio));
        for (const std::string& task : tasks) {
            const Measurement* const row = Find(group, [&](const Measurement& m) { return m.task == task; });
            cells.push_back(row ? SpeedCell(*row) : kNothing);
        }
        table.Add(cells);
    }
    return table.Text();
}

/// What is aimed at, as a share of the copy.
struct Aim {
    const char* text;
    const char* section;
    const char* size;
    const char* layout;
    const char* task;
    double soft; ///< 0: none
    double hard;
};
constexpr Aim kAims[] = {
    {"encode 4:2:0, Dynamic", "frames", "1920x1080", "I420", "encode Dynamic", 0.14, 0.115},
    {"encode 4:2:2, Dynamic", "frames", "1920x1080", "YUY2", "encode Dynamic", 0.14, 0.115},
    {"encode RGB24, Dynamic", "frames", "1920x1080", "RGB24", "encode Dynamic", 0.12, 0.11},
    {"decode 4:2:0, Median", "frames", "1920x1080", "I420", "decode Median", 0.17, 0.115},
    {"decode 4:2:2, Median", "frames", "1920x1080", "YUY2", "decode Median", 0.17, 0.115},
    {"decode 4:2:0, Gradient", "frames", "1920x1080", "I420", "decode Gradient", 0.21, 0.13},
    {"decode 4:2:2, Gradient", "frames", "1920x1080", "YUY2", "decode Gradient", 0.21, 0.13},
    {"decode RGB24, Median", "frames", "1920x1080", "RGB24", "decode Median", 0.15, 0.11},
    {"720x480 4:2:0, encode Dynamic", "small", "720x480", "I420", "encode Dynamic", 0, 0.09},
    {"720x480 4:2:0, decode Median", "small", "720x480", "I420", "decode Median", 0, 0.09},
    {"352x288 4:2:0, encode Dynamic", "small", "352x288", "I420", "encode Dynamic", 0, 0.06},
    {"352x288 4:2:0, decode Median", "small", "352x288", "I420", "decode Median", 0, 0.065},
};

std::string AimCell(const Measurements& all, const Aim& aim, const char* content, double wanted)
{
    const Measurement* const row = Find(all.rows, [&](const Measurement& m) {
        return m.section == aim.section && m.content == content && m.Size() == aim.size &&
               m.layout == aim.layout && m.task == aim.task && m.threads == 1;
    });
    if (!row || wanted == 0)
        return kNothing;
    return Format("%.3f of ", row->ofCopy) + Format("%g", wanted) +
           Format(" (%.0f %%)", 100 * row->ofCopy / wanted);
}

std::string AimTable(const Measurements& all)
{
    MarkdownTable table({"one thread", "soft: reached of aim", "hard: reached of aim"});
    for (const Aim& aim : kAims)
        table.Add({aim.text, AimCell(all, aim, "soft", aim.soft), AimCell(all, aim, "hard", aim.hard)});
    return table.Text();
}

std::string ThreadTable(const std::vector<Measurement>& rows)
{
    MarkdownTable table({"layout", "content (bits/sample)", "task", "two threads, MB/s",
                         "two instances, MB/s", "threads over instances"});
    for (const Measurement& row : rows) {
        if (row.sideBySide)
            continue;
        const Measurement* const pair = Find(rows, [&](const Measurement& m) {
            return m.sideBySide && m.content == row.content && m.layout == row.layout && m.task == row.task;
        });
        if (pair)
            table.Add({row.layout, ContentName(row), row.task, Format("%.0f", row.megabytesPerSecond),
                       Format("%.0f", pair->megabytesPerSecond), Format("%.2f", SpeedOver(row, *pair))});
    }
    return table.Text();
}

std::string ClipTable(const std::vector<Measurement>& rows)
{
    MarkdownTable table(
        {"clip", "layout", "bits/sample", "ratio", "encode Dynamic", "decode Median", "decode Gradient"});
    for (const std::vector<Measurement>& group : Groups(rows)) {
        std::vector<std::string> cells{group[0].content, group[0].layout,
                                       Format("%.2f", group[0].bitsPerSample),
                                       Format("%.2f", group[0].ratio)};
        for (const char* task : {"encode Dynamic", "decode Median", "decode Gradient"}) {
            const Measurement* const row = Find(group, [&](const Measurement& m) { return m.task == task; });
            cells.push_back(row ? SpeedCell(*row) : kNothing);
        }
        table.Add(cells);
    }
    return table.Text();
}

/// Our methods, then the peers, one row each; a column of "ratio: encode / decode" for each content.
std::string PeerTable(const std::vector<Measurement>& rows)
{
    std::vector<std::string> head{"ratio: encode / decode MB/s"};
    const std::vector<std::vector<Measurement>> groups = Groups(rows);
    for (const std::vector<Measurement>& group : groups)
        head.push_back(group[0].content + (group[0].content.size() > 4 ? "" : ' ' + group[0].layout));
    MarkdownTable table(head);
    const auto add = [&](const std::string& name, const std::string& contestant, const std::string& method) {
        std::vector<std::string> cells{name};
        for (const std::vector<Measurement>& group : groups) {
            const auto speed = [&](const std::string& task) {
                const Measurement* const row = Find(group, [&](const Measurement& m) {
                    return m.contestant == contestant && m.task == task + method;
                });
                return row ? row : nullptr;
            };
            const Measurement* const encode = speed("encode");
            const Measurement* const decode = speed("decode");
            if (!encode) {
                cells.emplace_back(kNothing);
                continue;
            }
            cells.push_back(Format("%.2f: ", encode->ratio) + Format("%.0f / ", encode->megabytesPerSecond) +
                            (decode ? Format("%.0f", decode->megabytesPerSecond) : kNothing));
        }
        table.Add(cells);
    };
    for (const char* method : {"Dynamic", "Median", "Gradient"})
        add(rows[0].contestant + ' ' + method, rows[0].contestant, std::string(" ") + method);
    std::vector<std::string> shown{rows[0].contestant, "memcpy"};
    for (const Measurement& row : rows)
        if (std::ranges::find(shown, row.contestant) == shown.end()) {
            shown.push_back(row.contestant);
            add(row.contestant, row.contestant, "");
        }
    std::vector<std::string> copies{"memcpy"};
    for (const std::vector<Measurement>& group : groups) {
        const Measurement* const copy = Find(group, [](const Measurement& m) { return m.task == "copy"; });
        copies.push_back(copy ? Format("%.0f", copy->megabytesPerSecond) : kNothing);
    }
    table.Add(copies);
    return table.Text();
}

std::string SizeTable(const std::vector<Measurement>& rows)
{
    MarkdownTable table(
        {"size", "encode, 1 thread", "encode, 2 threads", "decode, 1 thread", "decode, 2 threads"});
    for (const std::vector<Measurement>& group : Groups(rows)) {
        std::vector<std::string> cells{group[0].Size()};
        for (const char* direction : {"encode", "decode"})
            for (const int threads : {1, 2}) {
                const Measurement* const row = Find(group, [&](const Measurement& m) {
                    return m.task.starts_with(direction) && m.threads == threads;
                });
                cells.push_back(row ? Format("%.0f", row->megabytesPerSecond) : kNothing);
            }
        table.Add(cells);
    }
    return table.Text();
}

std::string StartTable(const nlohmann::json& start)
{
    MarkdownTable table({"layout", "task", "threads", "ms, median", "ms, longest"});
    for (const nlohmann::json& row : start)
        table.Add({row.at("layout"), row.at("task"), std::to_string(row.at("threads").get<int>()),
                   Format("%.1f", row.at("ms")), Format("%.1f", row.at("max_ms"))});
    return table.Text();
}

std::string MemoryTable(const nlohmann::json& memory)
{
    MarkdownTable table({"format", "size", "one picture", "encode, 1 thread", "encode, 2 threads",
                         "decode, 1 thread", "decode, 2 threads"});
    for (const nlohmann::json& row : memory) {
        std::vector<std::string> cells{row.at("format"), std::to_string(row.at("width").get<int>()) + 'x' +
                                                             std::to_string(row.at("height").get<int>())};
        for (const char* key : {"picture", "encode_1", "encode_2", "decode_1", "decode_2"})
            cells.push_back(Format("%.1f", row.at(key).get<double>() / 1048576));
        table.Add(cells);
    }
    return table.Text();
}

/// One table for each direction: a row of cycles for each format and content.
std::string StageTable(const nlohmann::json& stages, const std::string& direction)
{
    std::string text;
    std::vector<std::string> head;
    for (const nlohmann::json& row : stages) {
        if (!row.at("task").get<std::string>().starts_with(direction))
            continue;
        std::vector<std::string> names{row.at("task"), "content"}, cells{row.at("layout"), row.at("content")};
        double sum = 0;
        for (const nlohmann::json& stage : row.at("stages")) {
            names.push_back(stage.at("stage"));
            cells.push_back(Format("%.2f", std::max(0.0, stage.at("cycles_per_byte").get<double>())));
            sum += stage.at("cycles_per_byte").get<double>();
        }
        names.emplace_back("sum");
        cells.push_back(Format("%.2f", sum));
        MarkdownTable table(names);
        table.Add(cells);
        const size_t body = table.Text().find('\n', table.Text().find('\n') + 1) + 1;
        text += head == names ? table.Text().substr(body) : table.Text();
        head = names;
    }
    return text;
}

std::string SystemTable(const Measurements& all)
{
    MarkdownTable table({"1920x1080, one thread", "content", "Linux, MB/s (cycles per byte)",
                         "Windows, MB/s (cycles per byte)", "Windows over Linux, by cycles"});
    const auto cell = [](const Measurement& row) {
        return Format("%.0f", row.megabytesPerSecond) + Format(" (%.2f)", row.cyclesPerByte);
    };
    for (const Measurement& native : all.nativeRows) {
        const Measurement* const windows = Find(all.windowsRows, [&](const Measurement& m) {
            return m.content == native.content && m.layout == native.layout && m.task == native.task;
        });
        if (windows)
            table.Add({native.task + ", " + native.layout, native.content, cell(native), cell(*windows),
                       Format("%.2f", native.cyclesPerByte / windows->cyclesPerByte)});
    }
    return table.Text();
}

} // namespace

std::map<std::string, std::string> MakeTables(const Measurements& all)
{
    std::map<std::string, std::string> tables;
    const std::vector<std::string> allTasks{"encode Dynamic", "encode Median", "encode Gradient",
                                            "decode Dynamic", "decode Median", "decode Gradient"};
    const std::vector<std::string> chiefTasks{"encode Dynamic", "decode Median", "decode Gradient"};
    const auto addSection = [&](const char* section,
                                const std::function<std::string(std::vector<Measurement>)>& make) {
        const std::vector<Measurement> rows = all.Section(section);
        if (!rows.empty())
            tables[section] = make(rows);
    };
    tables["machine"] = MachineTable(all.coreGhz, all.copyMegabytesPerSecond);
    if (!all.Section("frames").empty())
        tables["aims"] = AimTable(all);
    addSection("frames", [&](const auto& rows) { return TaskTable(rows, allTasks, false, false); });
    addSection("small", [&](const auto& rows) { return TaskTable(rows, chiefTasks, true, true); });
    addSection("threads", ThreadTable);
    addSection("clips", ClipTable);
    addSection("peers", PeerTable);
    addSection("sizes", SizeTable);
    if (all.start.is_array() && !all.start.empty())
        tables["start"] = StartTable(all.start);
    if (all.memory.is_array() && !all.memory.empty())
        tables["memory"] = MemoryTable(all.memory);
    if (all.stages.is_array() && !all.stages.empty()) {
        tables["stages-encode"] = StageTable(all.stages, "encode");
        tables["stages-decode"] = StageTable(all.stages, "decode");
    }
    if (!all.kernels.empty())
        tables["kernels"] = KernelTable(all.kernels, all.coreGhz);
    if (!all.windowsRows.empty())
        tables["systems"] = SystemTable(all);
    return tables;
}

void WriteTables(const std::filesystem::path& page, const std::map<std::string, std::string>& tables)
{
    std::ifstream input(page);
    std::stringstream whole;
    whole << input.rdbuf();
    std::string text = whole.str();
    for (const auto& [name, table] : tables) {
        const std::string begin = "<!-- table " + name + " -->\n";
        const size_t start = text.find(begin);
        const size_t end = start == std::string::npos ? start : text.find("<!-- end -->", start);
        if (end == std::string::npos)
            throw std::runtime_error(page.string() + " has no place for the table " + name);
        text.replace(start + begin.size(), end - start - begin.size(), '\n' + table + '\n');
    }
    std::ofstream output(page);
    output << text;
    if (!output.flush())
        throw std::runtime_error("cannot write " + page.string());
}
