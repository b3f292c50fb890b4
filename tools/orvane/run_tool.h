// The tool as a function, so that tests run commands in their own process.
#pragma once

#include "files/output_file.h"
#include "host/codec_host.h"

#include <iosfwd>
#include <string>
#include <vector>

/// What a command works with.
struct ToolContext {
    DriverEntry driver;
    std::istream& in;  ///< binary
    std::ostream& out; ///< results; binary
    std::ostream& err; ///< the error line, and progress
    bool errIsTerminal = false;
    bool quiet = false;
    OutputRules outputs{};

    std::ostream* ProgressStream() const { return errIsTerminal && !quiet ? &err : nullptr; }
};

inline constexpr char kToolVersion[] = "orvane 2.4.1";

/// Runs one command line, without the program's name, and gives the exit code. Results that could not be
/// written to `context.out` are an error of every command. Nothing is thrown.
int RunTool(const std::vector<std::string>& arguments, ToolContext& context);
