// The tool as a process of its own, with an input that the test feeds, and limits and signals as it wants
// them.
#pragma once

#include "support/test_folder.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

struct ToolEnd {
    int code = -1;  ///< exit code; -1 when a signal ended it
    int signal = 0; ///< that ended it
    std::string err;
    double peakMiB = 0; ///< most memory that was resident
    double seconds = 0; ///< of the processor
};

struct ToolSetup {
    std::optional<size_t>
        largestFile{}; ///< bytes that no file of the process may exceed, as if the disk were full
    std::string output = "/dev/null";  ///< what standard output leads to; empty: it is closed
    int ignored = 0;                   ///< a signal that the process is started to ignore
    std::optional<size_t> memory{};    ///< bytes of its address space
    std::optional<size_t> openFiles{}; ///< descriptors that it may have
    bool keepsToPermissions = false;   ///< those of files hold for it, even if not for the user who tests
};

/// Exit code of a process whose limits or permissions could not be set here.
inline constexpr int kCannotLimit = 126;

class ToolProcess
{
  public:
    /// Starts at once, in `folder`, with standard input from this object and a settings store and temporary
    /// files in the folder.
    ToolProcess(const TestFolder& folder, const std::vector<std::string>& arguments,
                const ToolSetup& setup = {});
    ~ToolProcess();
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    /// Hands bytes to its standard input; false when it reads no more.
    bool Feed(const std::string& bytes) const;
    void EndInput();
    void Signal(int number) const;
    /// Whether the process handles a signal itself at this moment.
    bool Catches(int signal) const;
    /// Whether it has ended by itself.
    bool HasEnded() const;
    /// Waits for its end.
    /// endInput  the input is at its end, too
    ToolEnd Wait(bool endInput = true);

  private:
    pid_t process = -1;
    int input = -1;
    int errors = -1;
};

/// Runs it from start to end.
ToolEnd RunToolProcess(const TestFolder& folder, const std::vector<std::string>& arguments,
                       const std::string& input = {}, const ToolSetup& setup = {});
