// Drivers by file name: several of them, of one revision or of more, can be loaded side by side.
#pragma once

#include "host/codec_host.h"

#include <filesystem>
#include <string>

struct LoadedDriver {
    std::string name; ///< in tables
    DriverEntry entry;
};

/// The driver of this build: liborvane.so or orvane.dll in the folder above the program's.
std::filesystem::path BuiltDriverPath();

/// Loads a driver for the life of the program. Throws std::runtime_error when there is none at this path.
LoadedDriver LoadDriver(std::string name, const std::filesystem::path& path);
