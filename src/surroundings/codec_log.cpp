#include "surroundings/codec_log.h"

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/host_path.h"
#include "surroundings/log_folder.h"

#include <cstdarg>

namespace surroundings {

namespace {

/// Opens the first file of this stem whose name is free. Two instances that open in the same second have the
/// same stem and differ by the number. Null when there is none.
std::FILE* OpenFreeFile(const platform::Path& folder, const char* stem) noexcept
try {
    constexpr int maxFiles = 100;
    for (int n = 0; n < maxFiles; ++n) {
        char name[80];
        std::snprintf(name, sizeof name, "%s_%02d.log", stem, n);
        const platform::Path path = folder / name;
        if (std::FILE* const file = platform::CreateText(path))
            return file;
    }
    return nullptr;
} catch (...) { // out of memory for a path, or a name that no path can hold
    return nullptr;
}

} // namespace

CodecLog::CodecLog(std::string variantDescription) : description(std::move(variantDescription))
{
    char opened[32];
    platform::FormatLocalTime(opened, "%Y%m%d_%H%M%S");
    std::snprintf(logStem, sizeof logStem, "orvane_%s", opened);
}

void CodecLog::LogLine(uint32_t enable, const char* format, ...) noexcept
{
    if (!enable)
        return;
    char now[32];
    platform::FormatLocalTime(now, "%Y-%m-%d %H:%M:%S");
    if (!logFile && !Open(now))
        return;
    std::fprintf(logFile, "[%s] ", now);
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(logFile, format, arguments);
    va_end(arguments);
}

bool CodecLog::Open(const char* now) noexcept
try {
    const std::string host = platform::HostPath();
    const std::optional<platform::Path> folder = MakeLogFolder();
    logFile = folder ? OpenFreeFile(*folder, logStem) : nullptr;
    if (!logFile)
        return false;
    std::setvbuf(logFile, nullptr, _IONBF, 0); // what was logged is in the file even if the host dies
    std::fprintf(logFile, "[%s] Log opened - Orvane lossless video codec 2.4.1 (Standard) (64 bit)\n", now);
    std::fprintf(logFile, "[%s] Codec variant: %s\n", now, description.c_str());
    std::fprintf(logFile, "[%s] Application: %s\n", now, host.c_str());
    return true;
} catch (...) { // as above
    return false;
}

void CodecLog::Close() noexcept
{
    if (!logFile)
        return;
    LogLine(1, "--------------------------\n");
    LogLine(1, "Log closed\n");
    std::fclose(logFile);
    logFile = nullptr;
}

} // namespace surroundings
