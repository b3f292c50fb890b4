#pragma once

#include "common/compiler.h"

#include <cstdint>
#include <cstdio>
#include <string>

namespace surroundings {

/// The text log of one driver instance: one file in the folder "orvane" of the user's profile, made by the
/// first line that is logged, and taking lines until it is closed. No failure is visible: a line that cannot
/// be written is lost, and the next one tries again. Used by one thread at a time.
class CodecLog
{
  public:
    /// Fixes the file's name by the local time: it says when the instance was opened.
    /// variantDescription  names the variant in the opening lines
    explicit CodecLog(std::string variantDescription);
    ~CodecLog() { Close(); }
    CodecLog(const CodecLog&) = delete;
    CodecLog& operator=(const CodecLog&) = delete;

    /// Writes one line with the local time before it, in the manner of printf.
    /// enable  the setting EnableCodecLog as it stands now; 0: nothing happens
    /// format  carries its own line end
    ORVANE_PRINTF(3, 4) void LogLine(uint32_t enable, const char* format, ...) noexcept;

    /// Writes the closing lines and closes the file, if there is one. A later line opens another.
    void Close() noexcept;

  private:
    bool Open(const char* now) noexcept;

    char logStem[64];
    std::string description;
    std::FILE* logFile = nullptr;
};

} // namespace surroundings
