// Contestants take turns, round after round, so that whatever else the machine does meets all of them alike.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

struct Contestant {
    std::function<void(int frames)> run;
    double bytesPerFrame; ///< raw
};

struct RoundOptions {
    int rounds = 9;
    double batchSeconds = 0.02; ///< of one contestant in one round, about
};

/// What one contestant did, an entry for each round.
struct RoundTimes {
    std::vector<double> secondsPerByte;
    std::vector<double> ofCopy;        ///< the time of copying as many bytes, divided by its time
    std::vector<double> cyclesPerByte; ///< of the core at the speed it had in this round

    double MegabytesPerSecond() const;
};

double Median(std::vector<double> values);
/// The middle half of the values, as a share of their median.
double Spread(const std::vector<double>& values);

/// Bytes of the copy beside which all is measured: a 1920x1080 picture in 4:2:0.
inline constexpr size_t kCopyBytes = 3110400;

/// Every round runs each contestant in turn, the first one another in every round, between a warm copy by
/// memcpy and a count of core cycles. A frame that is not counted goes before each batch, if frames are
/// short.
std::vector<RoundTimes> RunRounds(std::span<const Contestant> contestants, const RoundOptions& options);

double SecondsNow();
/// Cycles of this core in a second, by a chain of steps whose cycles are known.
double CoreHertz();
/// Speed of the warm copy in bytes a second.
double CopySpeed();
