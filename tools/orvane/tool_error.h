// The one way in which the tool gives up: an exception that carries the three parts of the error line.
#pragma once

#include <stdexcept>
#include <string>

enum class ExitCode : int {
    Done = 0,
    Failed = 1, ///< an error, damage found or a difference
    WrongUsage = 2,
    DonePartly = 3, ///< done as far as a damaged input allowed
};

/// Prints as "orvane: error: what, where, remedy"; empty parts are left out. Texts are UTF-8.
struct ToolError : std::runtime_error {
    /// what    what went wrong
    /// where   file, frame or option that it concerns
    /// remedy  what the user can do
    ToolError(std::string what_, std::string where_, std::string remedy_,
              ExitCode exitCode_ = ExitCode::Failed)
        : std::runtime_error(what_), what(std::move(what_)), where(std::move(where_)),
          remedy(std::move(remedy_)), exitCode(exitCode_)
    {}

    std::string what;
    std::string where;
    std::string remedy;
    ExitCode exitCode;
};

/// An error of the command line itself.
struct UsageError : ToolError {
    UsageError(std::string what_, std::string where_, std::string remedy_)
        : ToolError(std::move(what_), std::move(where_), std::move(remedy_), ExitCode::WrongUsage)
    {}
};

/// The error line with its line end. Control characters of any part become '?', so that it is always one
/// line.
std::string ErrorLine(const ToolError& error);

/// Something that is lost without harm to the rest. Prints as "orvane: warning: what, where, remedy".
struct ToolWarning {
    std::string what;
    std::string where;
    std::string remedy; ///< what is done about it, or what the user can do
};
std::string WarningLine(const ToolWarning& warning);

/// Why the last call of the system failed, in its own words. Set errno to 0 before a call that may leave it
/// alone.
std::string SystemReason();
