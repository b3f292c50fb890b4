// The commands of the tool. Each file of this folder adds one to the command line.
#pragma once

#include "run_tool.h"
#include "tool_error.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <optional>

/// What the command line asks for; set while it is parsed, run afterwards. Throws ToolError.
using Action = std::function<ExitCode(ToolContext&)>;

void AddEncodeCommand(CLI::App& app, Action& action);
void AddDecodeCommand(CLI::App& app, Action& action);
void AddInfoCommand(CLI::App& app, Action& action);
void AddVerifyCommand(CLI::App& app, Action& action);
void AddInspectCommand(CLI::App& app, Action& action);
void AddPlotCommand(CLI::App& app, Action& action);
void AddRepairCommand(CLI::App& app, Action& action);
void AddConfigCommand(CLI::App& app, Action& action);

/// Adds --threads, 0 to 64.
void AddThreadsOption(CLI::App& command, std::optional<uint32_t>& threads);
