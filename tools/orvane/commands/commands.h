// The commands of the tool: what each is given, and the function that runs it. command_line.h makes the one
// from the arguments and calls the other. All of them throw ToolError.
#pragma once

#include "host/private_settings.h"
#include "run_tool.h"
#include "tool_error.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct EncodeOptions {
    std::string input;
    std::string output;
    std::string format = "auto";
    std::string method; ///< empty, or an option of kPredictMethods
    std::string matrix; ///< empty, or a name of kMatrices
    CodecOptions codec;
    std::string rate;
    std::string raw;
    bool verify = false;
    bool lossless = false;
};
ExitCode RunEncode(const EncodeOptions& options, ToolContext& context);

struct DecodeOptions {
    std::string input;
    std::string output;
    std::string layout;
    std::string frames;
    std::optional<uint32_t> threads;
    bool noCheck = false;
    bool hold = false;
};
ExitCode RunDecode(const DecodeOptions& options, ToolContext& context);

struct InfoOptions {
    std::string input;
    bool frames = false;
    bool json = false;
};
ExitCode RunInfo(const InfoOptions& options, ToolContext& context);

struct VerifyOptions {
    std::string input;
    std::string against;
    std::string raw;
    bool afterConversion = false;
    bool strict = false;
};
ExitCode RunVerify(const VerifyOptions& options, ToolContext& context);

struct InspectOptions {
    std::string input;
    std::string output;
    std::string frame;
};
ExitCode RunInspect(const InspectOptions& options, ToolContext& context);

struct PlotOptions {
    std::string input;
    std::string output;
};
ExitCode RunPlot(const PlotOptions& options, ToolContext& context);

struct RepairOptions {
    std::string input;
    std::string output;
    std::string fps;
    bool addChecksums = false;
};
ExitCode RunRepair(const RepairOptions& options, ToolContext& context);

/// Names that EncodeOptions::method takes.
std::vector<std::string> MethodNames();
/// Names that EncodeOptions::matrix takes.
std::vector<std::string> MatrixNames();

ExitCode ListSettings(ToolContext& context);
ExitCode GetSetting(const std::string& key, ToolContext& context);
ExitCode SetSetting(const std::string& key, const std::string& text, ToolContext& context);
/// key  empty: all settings
ExitCode ResetSettings(const std::string& key);
