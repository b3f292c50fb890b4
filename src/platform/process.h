// What a program of ours needs of the process it runs in; the driver uses none of it.
#pragma once

#include "platform/files.h"

#include <optional>
#include <string>
#include <vector>

namespace platform {

/// The arguments behind the program's name as UTF-8, whatever code page main was given them in.
std::vector<std::string> ProgramArguments(int argc, const char* const* argv);

/// From now on bytes pass standard input and output as they are. A stream that the process was started
/// without is empty or fails, and never becomes a file that is opened later.
void PrepareStandardStreams();

enum class StandardStream { Input, Output, Error };
/// Whether a person sits at the other end.
bool IsTerminal(StandardStream stream);

/// Sets a variable of this process to a path, or removes it. The driver in the same process sees it. Not
/// while other threads look at the environment.
void SetPathInEnvironment(const char* name, const std::optional<Path>& path);

} // namespace platform
