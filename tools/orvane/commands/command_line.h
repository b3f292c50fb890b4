// The command line: every command with its options, checks and help. No other file knows the library that
// reads arguments.
#pragma once

#include "run_tool.h"
#include "tool_error.h"

#include <functional>
#include <string>
#include <vector>

/// What a command line asks for, to be run afterwards. Throws ToolError.
using Action = std::function<ExitCode(ToolContext&)>;

/// Reads the arguments, without the program's name. Options that hold for all commands go to `context`; help
/// and the version are actions too. Throws UsageError.
Action ParseCommandLine(const std::vector<std::string>& arguments, ToolContext& context);
