#pragma once

#include "platform/files.h"
#include "platform/settings_store.h"

#include <memory>

namespace platform {

enum class MissingFolders { Stay, AreMade };

/// Opens a settings file in the text form of a registry. The file is read now; a missing or unreadable one
/// is an empty store. Edits are made when a key is closed: under a lock (the file's name
/// with ".lock") the file is read anew, changed, written under another name (".tmp") and renamed, so that
/// nobody sees half a file and no edit of another process is lost. A file that exists but cannot be read, or
/// one that stays locked, is left alone.
///
/// file     an empty path has no values and keeps none
/// folders  whether the file's folder and the one above it are made with the first edit
std::unique_ptr<SettingsStore> OpenSettingsFile(const Path& file,
                                                MissingFolders folders = MissingFolders::Stay);

} // namespace platform
