#pragma once

#include "source_folder.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

using Bytes = std::vector<uint8_t>;

inline std::filesystem::path GoldenFolder()
{
    return std::filesystem::path(kSourceFolder) / "tests" / "golden" / "data";
}

/// All bytes of a golden file. Throws when it is not there.
inline Bytes ReadGolden(const std::string& name)
{
    std::ifstream file(GoldenFolder() / name, std::ios::binary);
    if (!file)
        throw std::runtime_error("no golden file " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}
