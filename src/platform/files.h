// Files under names that any language may have: paths are wide on Windows, bytes elsewhere.
#pragma once

#include <cstdio>
#include <filesystem>
#include <optional>

namespace platform {

/// Only a path: nothing here uses the rest of the file system library.
using Path = std::filesystem::path;

/// Makes one folder; its parent must exist. True when it was made, false also where it stands already.
bool MakeFolder(const Path& folder) noexcept;

/// Makes a folder of an unused name in `parent`, for this user alone; the name begins with `prefix`. Nothing
/// when that cannot be done.
std::optional<Path> MakePrivateFolder(const Path& parent, const char* prefix);

/// Makes a file and opens it for writing in text mode. Null when that cannot be done, and where anything has
/// the name: a file, a pipe, also a link that leads nowhere.
std::FILE* CreateText(const Path& file) noexcept;

} // namespace platform
