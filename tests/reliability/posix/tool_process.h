// The tool as a process of its own, with an input that the test feeds, and limits and signals as it wants them.
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
};

class ToolProcess
{
  public:
    /// Starts at once, in `folder`, with standard input from this object and a settings store and temporary files in
    /// the folder.
    /// largestFile  bytes that no file of the process may exceed, as if the disk were full behind them
    ToolProcess(const TestFolder& folder, const std::vector<std::string>& arguments,
                std::optional<size_t> largestFile = std::nullopt);
    ~ToolProcess();
    ToolProcess(const ToolProcess&) = delete;
    ToolProcess& operator=(const ToolProcess&) = delete;

    /// Hands bytes to its standard input; false when it reads no more.
    bool Feed(const std::string& bytes) const;
    void EndInput();
    void Signal(int number) const;
    /// Waits for its end, with the input at its end too.
    ToolEnd Wait();

  private:
    pid_t process = -1;
    int input = -1;
    int errors = -1;
};

/// Runs it from start to end.
ToolEnd RunToolProcess(const TestFolder& folder, const std::vector<std::string>& arguments,
                       const std::string& input = {}, std::optional<size_t> largestFile = std::nullopt);
