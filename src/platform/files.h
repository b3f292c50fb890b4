// Files under names that any language may have: paths are wide on Windows, bytes elsewhere.
#pragma once

#include <cstdio>
#include <filesystem>

namespace platform {

/// Only a path: nothing here uses the rest of the file system library.
using Path = std::filesystem::path;

/// Makes one folder; its parent must exist. True when it was made, false also where it stands already.
bool MakeFolder(const Path& folder) noexcept;

/// Opens a file in text mode, for reading, or for writing with nothing in it. Null when that cannot be done.
std::FILE* OpenTextForReading(const Path& file) noexcept;
std::FILE* OpenTextForWriting(const Path& file) noexcept;

} // namespace platform
