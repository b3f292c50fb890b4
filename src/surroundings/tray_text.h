// The words of icon and balloon, made apart from any shell.
#pragma once

#include "surroundings/tray_notifier.h"

#include <string>

namespace surroundings {

struct TrayTexts {
    std::string title; ///< of the balloon
    std::string info;  ///< of the balloon
    std::string tip;   ///< of the icon: as much of `info` as the shell takes, 127 bytes
};

/// The name under which the host appears: the file name of `path` behind its last separator, 20 bytes at
/// most.
std::string ShortHostName(const std::string& path);

TrayTexts BuildTrayTexts(const TrayStatus& status, const std::string& hostName);

} // namespace surroundings
