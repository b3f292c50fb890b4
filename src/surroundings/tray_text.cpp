#include "surroundings/tray_text.h"

#include <filesystem>

namespace surroundings {

namespace {

std::string InfoOf(const TrayStatus& status, const std::string& hostName)
{
    if (status.Mode != TrayMode::Compressing && status.Mode != TrayMode::Decompressing)
        return "App: " + hostName + "\nIdle...";
    const std::string uncompressed = status.FormatText + std::string(status.BottomUp ? " (bottom-up)" : "");
    const std::string compressed = status.CompressedText;
    const std::string formats = status.Mode == TrayMode::Compressing
                                    ? "\nIn: " + uncompressed + "\nComp: " + compressed
                                    : "\nComp: " + compressed + "\nOut: " + uncompressed;
    return "App: " + hostName + " (64 bit)" + formats + "\nRes: " + std::to_string(status.Width) + " x " +
           std::to_string(status.Height);
}

const char* TitleOf(TrayMode mode)
{
    switch (mode) {
    case TrayMode::Compressing:
        return "Orvane (64 bit) compressing...";
    case TrayMode::Decompressing:
        return "Orvane (64 bit) decompressing...";
    default:
        return "Orvane (64 bit) idle...";
    }
}

} // namespace

std::string ShortHostName(const std::string& path)
{
    constexpr char separator = static_cast<char>(std::filesystem::path::preferred_separator);
    constexpr size_t maxLength = 20;
    return path.substr(path.find_last_of(separator) + 1,
                       maxLength); // npos + 1 is 0: no separator, the whole path
}

TrayTexts BuildTrayTexts(const TrayStatus& status, const std::string& hostName)
{
    constexpr size_t maxTip = 127;
    const std::string info = InfoOf(status, hostName);
    return {TitleOf(status.Mode), info, info.substr(0, maxTip)};
}

} // namespace surroundings
