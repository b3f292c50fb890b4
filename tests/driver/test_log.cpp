#include "driver/test_log.h"

#include "platform/profile_folder.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

std::set<std::filesystem::path> LogFiles()
{
    std::set<std::filesystem::path> files;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(TestUser::LogFolder(), ignored))
        if (entry.path().extension() == ".log")
            files.insert(entry.path());
    return files;
}

/// Other test programs of the same user may log at the same time.
bool IsOurs(const std::filesystem::path& file)
{
    const std::vector<std::string> lines = TestUser::ReadLog(file);
    return lines.size() < 3 || lines[2].find("driver_tests") != std::string::npos;
}

/// Whether a line begins with a time as "[2024-11-03 14:22:07] ".
bool HasStamp(const std::string& line)
{
    constexpr std::string_view kForm = "[####-##-## ##:##:##] ";
    return line.size() >= kForm.size() &&
           std::equal(kForm.begin(), kForm.end(), line.begin(), [](char form, char c) {
               return form == '#' ? std::isdigit(static_cast<unsigned char>(c)) != 0 : form == c;
           });
}

} // namespace

TestUser::TestUser()
{
    if (const char* home = std::getenv("HOME"))
        oldHome = home;
    SetEnvironment("HOME", folder.Path().string());
    before = LogFiles();
    Set("NotificationSettings", 0); // a desktop is not what most tests are about
}

TestUser::~TestUser()
{
    std::error_code ignored;
    for (const auto& file : NewLogs())
        std::filesystem::remove(file, ignored);
    SetEnvironment("HOME", oldHome);
}

std::filesystem::path TestUser::LogFolder()
{
    return platform::ProfileFolder().value() / "orvane";
}

std::vector<std::filesystem::path> TestUser::NewLogs() const
{
    std::vector<std::filesystem::path> files;
    for (const auto& file : LogFiles())
        if (!before.contains(file) && IsOurs(file))
            files.push_back(file);
    return files;
}

std::vector<std::string> TestUser::Lines() const
{
    const auto files = NewLogs();
    if (files.size() != 1)
        throw std::runtime_error(std::to_string(files.size()) + " log files where one was expected");
    std::vector<std::string> lines = ReadLog(files[0]);
    lines.erase(lines.begin(), lines.begin() + 3);
    return lines;
}

std::vector<std::string> TestUser::NewLines()
{
    std::vector<std::string> lines = Lines();
    const size_t from = std::min(seen == 0 ? kSettingsBlockLines : seen, lines.size());
    seen = lines.size();
    lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(from));
    return lines;
}

std::vector<std::string> TestUser::ReadLog(const std::filesystem::path& file)
{
    std::ifstream stream(file); // in text mode: line ends are the system's
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (!HasStamp(line))
            throw std::runtime_error("a line without its time: " + line);
        lines.push_back(line.substr(22));
    }
    return lines;
}
