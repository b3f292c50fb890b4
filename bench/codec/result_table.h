// What was measured, as lines for people and as JSON for the report.
#pragma once

#include "codec/rounds.h"

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

/// One measured row.
struct Result {
    std::string section;    ///< "frames", "clips", "sizes", "peers"
    std::string contestant; ///< driver or peer
    std::string content;
    int width = 0;
    int height = 0;
    std::string layout;
    std::string task; ///< "encode Dynamic" and so on
    int threads = 1;
    bool sideBySide = false; ///< as many instances with one thread each
    double ratio = 0;        ///< raw bytes by compressed bytes
    double bitsPerSample = 0;
    RoundTimes times;

    /// Without the contestant, for --only: "soft/1920x1080/I420/encode-Dynamic/1t".
    std::string Name() const;
};

nlohmann::json ToJson(const Result& result);

/// Prints rows as they come: a head line before the first row and whenever the section changes. Of rows that
/// differ in the contestant only, the later ones show their speed over the first, round by round.
class ResultPrinter
{
  public:
    void Print(const Result& result);

  private:
    Result last;
    Result first; ///< of those with the same name
};
