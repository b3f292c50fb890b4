// What a program of ours needs of the process it runs in; the driver uses none of it.
#pragma once

#include "platform/files.h"

#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The arguments behind the program's name as UTF-8, whatever code page main was given them in.
std::vector<std::string> ProgramArguments(int argc, const char* const* argv);

/// From now on bytes pass standard input and output as they are.
void MakeStandardStreamsBinary();

/// Whether standard error is a terminal, which a person looks at.
bool IsErrorTerminal();

/// Sets a variable of this process to a path, or removes it. The driver in the same process sees it. Not
/// while other threads look at the environment.
void SetPathInEnvironment(const char* name, const std::optional<Path>& path);

} // namespace platform
